#include "por/DataAccessor.h"

#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/Trace.h"
#include "por/Compare.h"
#include "por/Errors.h"
#include "por/Path.h"
#include "por/Unit.h"
#include "por/UnitPrinter.h"

#include <string>

namespace Por::Util
{
namespace
{

constexpr int TraceLevel = 2;

// A cursor may point past what exists; only the steps that cannot be missing by accident throw.
const View::Unit* FindNode(const View::Unit* root, Common::WideStringView path)
{
    if (root == nullptr)
    {
        return nullptr;
    }
    try
    {
        return ResolvePath(path, *root);
    }
    catch (const Common::Error& error)
    {
        if (error.GetCode() == ErrorCodes::TraitMissing || error.GetCode() == ErrorCodes::OutOfRange)
        {
            return nullptr;
        }
        throw;
    }
}

} // namespace

ConstDataAccessor::ConstDataAccessor(const View::Unit* root, Common::WideString path)
    : Root(root), Path(std::move(path))
{
}

ConstDataAccessor ConstDataAccessor::operator[](std::string_view name) const
{
    return ConstDataAccessor(Root, MakePropertyPath(Path, name));
}

ConstDataAccessor ConstDataAccessor::operator[](std::size_t index) const
{
    return ConstDataAccessor(Root, MakeElementPath(Path, index));
}

ConstDataAccessor ConstDataAccessor::Trait(std::string_view name) const
{
    return ConstDataAccessor(Root, MakeTraitPath(Path, name));
}

const View::Unit* ConstDataAccessor::Find() const
{
    return FindNode(Root, Path);
}

void ConstDataAccessor::EnsureUnitIsValid() const
{
    if (Find() != nullptr)
    {
        return;
    }
    Common::Error error = MakeError(COMMON_LOCATION("Por::Util::ConstDataAccessor::EnsureUnitIsValid"),
                                    ErrorCodes::ElementMissing, Common::Texts::PorElementNotFound, {Path});
    if (Root != nullptr && (TraceLevel >= Common::GetTraceThreshold() || Common::Detail::HasTraceComposite()))
    {
        // The log shows what was there instead of the missing element.
        const Common::WideString tree = UnitToWideString(Root);
        Common::TraceText(
            TraceLevel, 0x00FA, 0x0020,
            error.GetMessage() + u'\n' +
                Common::FormatText(Common::GetText(Common::Texts::PorElementNotFoundUnit), {tree}));
    }
    throw error;
}

const View::Unit& ConstDataAccessor::Get() const
{
    const View::Unit* found = Find();
    if (found == nullptr)
    {
        EnsureUnitIsValid();
    }
    return *found;
}

bool operator==(const ConstDataAccessor& left, const ConstDataAccessor& right)
{
    const View::Unit* leftUnit = left.Find();
    const View::Unit* rightUnit = right.Find();
    if (leftUnit == nullptr || rightUnit == nullptr)
    {
        return leftUnit == rightUnit;
    }
    return UnitEqual(*leftUnit, *rightUnit);
}

DataAccessor::DataAccessor(Construction::Unit* root, Common::WideString path)
    : Root(root), Path(std::move(path))
{
}

DataAccessor DataAccessor::operator[](std::string_view name) const
{
    return DataAccessor(Root, MakePropertyPath(Path, name));
}

DataAccessor DataAccessor::operator[](std::size_t index) const
{
    return DataAccessor(Root, MakeElementPath(Path, index));
}

DataAccessor DataAccessor::Trait(std::string_view name) const
{
    return DataAccessor(Root, MakeTraitPath(Path, name));
}

Construction::Unit* DataAccessor::Find() const
{
    if (FindNode(Root, Path) == nullptr)
    {
        return nullptr;
    }
    return &ResolveBranch(Path, *Root);
}

void DataAccessor::EnsureUnitIsValid() const
{
    if (Find() == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::Util::DataAccessor::EnsureUnitIsValid"),
                        ErrorCodes::ArrayElementMissing, Common::Texts::PorArrayElementNotFound);
    }
}

Construction::Unit& DataAccessor::Get() const
{
    Construction::Unit* found = Find();
    if (found == nullptr)
    {
        EnsureUnitIsValid();
    }
    return *found;
}

} // namespace Por::Util
