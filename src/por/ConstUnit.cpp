#include "por/ConstUnit.h"

#include "common/StringConversion.h"
#include "por/DataAccessor.h"
#include "por/Errors.h"
#include "por/Path.h"
#include "por/TraitUtil.h"
#include "por/UnitPrinter.h"

#include <ostream>

namespace Por
{
namespace
{

template <typename Char>
bool IsPathText(std::basic_string_view<Char> text)
{
    return !text.empty() && (text.front() == Char('.') || text.front() == Char('^'));
}

} // namespace

struct ConstUnit::Iterator::IteratorState
{
    ConstUnit Parent;
    // Keeps the tree alive under the cursor even if the holder is given another root.
    ConstUnitPtr Root;
    std::unique_ptr<View::CompositeIterator> Cursor;
};

ConstUnit::ConstUnit() : ConstUnit(nullptr, {}, nullptr) {}

ConstUnit::ConstUnit(ConstUnitPtr root, const Construction::UnitFactory* factory)
    : ConstUnit(std::make_shared<const View::SafeUnitHolder>(std::move(root)), {}, factory)
{
}

ConstUnit::ConstUnit(std::shared_ptr<const View::SafeUnitHolder> holder, Common::WideString path,
                     const Construction::UnitFactory* factory)
    : Holder(std::move(holder)), Path(std::move(path)),
      Factory(factory != nullptr ? factory : &GetUnitFactory())
{
}

ConstUnit ConstUnit::operator[](std::string_view nameOrPath) const
{
    if (IsPathText(nameOrPath))
    {
        return ConstUnit(Holder, Path + Widen(nameOrPath), Factory);
    }
    return ConstUnit(Holder, Util::MakePropertyPath(Path, nameOrPath), Factory);
}

ConstUnit ConstUnit::operator[](Common::WideStringView nameOrPath) const
{
    if (IsPathText(nameOrPath))
    {
        return ConstUnit(Holder, Path + Common::WideString(nameOrPath), Factory);
    }
    return ConstUnit(Holder, Util::MakePropertyPath(Path, Core::ConvertToUtf8(nameOrPath)), Factory);
}

ConstUnit ConstUnit::At(std::size_t index) const
{
    const View::ArrayValue* array = Util::FindArray(Get());
    if (array == nullptr)
    {
        throw Errors::UnitArrayExpected(Path);
    }
    if (index >= array->Size())
    {
        throw Errors::ArrayUnitIndexAccess(Path, index);
    }
    return ConstUnit(Holder, Util::MakeElementPath(Path, index), Factory);
}

ConstUnit ConstUnit::Trait(std::string_view name) const
{
    const View::Unit* unit = Find();
    if (unit == nullptr)
    {
        throw Errors::EmptyUnitTraitAccess(name, Path);
    }
    if (Util::FindUniqueTraitByName(*unit, name) == nullptr) // two of the name throw 0xfa001c
    {
        throw Errors::UnitMissingTraitAccess(name, Path);
    }
    return ConstUnit(Holder, Util::MakeTraitPath(Path, name), Factory);
}

const View::Unit* ConstUnit::Find() const
{
    if (Holder == nullptr || Holder->IsEmpty())
    {
        return nullptr;
    }
    return Util::ConstDataAccessor(Holder->GetPointer().get(), Path).Find();
}

const View::Unit& ConstUnit::Get() const
{
    if (Holder == nullptr || Holder->IsEmpty())
    {
        throw Errors::EmptyUnitHolder(Path);
    }
    const View::Unit* unit = Find();
    if (unit == nullptr)
    {
        throw Errors::MissingUnitAccess(Path);
    }
    return *unit;
}

bool ConstUnit::HasTrait(std::string_view name) const
{
    return Util::HasTrait(Get(), name);
}

std::size_t ConstUnit::Size() const
{
    const View::Unit& unit = Get();
    if (const View::CompositeValue* composite = Util::FindComposite(unit))
    {
        return composite->Size();
    }
    if (const View::ArrayValue* array = Util::FindArray(unit))
    {
        return array->Size();
    }
    throw Errors::UnitCompositeExpected(Path);
}

UnitPtr ConstUnit::Copy() const
{
    return Util::Copy(Get(), *Factory);
}

ConstUnit::Iterator ConstUnit::begin() const
{
    const View::CompositeValue* composite = Util::FindComposite(Get());
    if (composite == nullptr)
    {
        throw Errors::UnitCompositeExpected(Path);
    }
    return Iterator(std::make_shared<Iterator::IteratorState>(
        Iterator::IteratorState{*this, Holder->GetPointer(), composite->GetIterator()}));
}

ConstUnit::Iterator ConstUnit::end() const
{
    return Iterator();
}

std::ostream& operator<<(std::ostream& stream, const ConstUnit& unit)
{
    const View::Unit* found = unit.Find();
    if (found == nullptr)
    {
        return stream << "empty";
    }
    Util::PrintUnit(*found, stream);
    return stream;
}

bool ConstUnit::Iterator::AtEnd() const
{
    return State == nullptr || !State->Cursor->IsValid();
}

ConstUnit ConstUnit::Iterator::operator*() const
{
    const std::string& name = GetName();
    const ConstUnit& parent = State->Parent;
    return ConstUnit(parent.Holder, Util::MakePropertyPath(parent.Path, name), parent.Factory);
}

const std::string& ConstUnit::Iterator::GetName() const
{
    if (AtEnd())
    {
        throw Errors::InvalidIteratorAccessAttempt();
    }
    return State->Cursor->Current().GetName();
}

ConstUnit::Iterator& ConstUnit::Iterator::operator++()
{
    if (AtEnd())
    {
        throw Errors::InvalidIteratorAccessAttempt();
    }
    State->Cursor->Next();
    return *this;
}

bool operator==(const ConstUnit::Iterator& left, const ConstUnit::Iterator& right)
{
    if (left.AtEnd() || right.AtEnd())
    {
        return left.AtEnd() && right.AtEnd();
    }
    return left.State == right.State;
}

} // namespace Por
