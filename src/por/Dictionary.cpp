#include "por/Dictionary.h"

#include "common/CatalogIds.h"
#include "por/Errors.h"
#include "por/TraitUtil.h"
#include "por/UnitPrinter.h"
#include "por/Values.h"

namespace Por
{
namespace
{

constexpr std::string_view SearchableTrait = "Searchable";

void EnsureName(std::string_view name, const View::Unit* unit)
{
    if (name.empty())
    {
        throw MakeError(COMMON_LOCATION("Por::Dictionary::ThrowEmptyPropertyName"), ErrorCodes::General,
                        Common::Texts::PorDictionaryEmptyName, {Util::UnitToWideString(unit)});
    }
}

} // namespace

Dictionary::Dictionary(const Construction::UnitFactory& factory)
    : Composite(factory.CreateComposite()), Factory(&factory)
{
}

Dictionary::Dictionary(UnitPtr data, const Construction::UnitFactory& factory)
    : Composite(std::move(data)), Factory(&factory)
{
}

Construction::Unit& Dictionary::Data() const
{
    if (Composite == nullptr)
    {
        throw MakeNullUnitError(COMMON_LOCATION("Por::Dictionary::Data"));
    }
    return *Composite;
}

void Dictionary::Add(std::string_view name, UnitPtr unit)
{
    EnsureName(name, unit.get());
    Construction::Unit* present = Util::FindPropertyValue(Data(), name);
    if (present == nullptr)
    {
        Set(name, std::move(unit));
        return;
    }
    if (!Util::IsArray(*present))
    {
        throw Util::Detail::MakePropertyTypeMismatchError(name, ValueKind::Array,
                                                          GetValueTypeIndex(*present));
    }
    Util::GetArray(*present).PushBack(std::move(unit));
}

void Dictionary::Add(std::string_view name, const View::Unit& unit)
{
    Add(name, Util::Copy(unit, UnitFactory()));
}

void Dictionary::Add(std::string_view name, const Util::ConstDataAccessor& value)
{
    const View::Unit* unit = value.Find();
    if (unit == nullptr)
    {
        throw Util::Detail::MakeUnexpectedTypeMismatchError(ValueKind::Nil);
    }
    Add(name, *unit);
}

void Dictionary::Set(std::string_view name, UnitPtr unit)
{
    EnsureName(name, unit.get());
    Util::AddProperty(Data(), name, Util::WrapToSearchableArray(std::move(unit), UnitFactory()),
                      UnitFactory());
}

void Dictionary::Set(std::string_view name, const View::Unit& unit)
{
    Set(name, Util::Copy(unit, UnitFactory()));
}

const Construction::UnitFactory& Dictionary::UnitFactory() const
{
    Data(); // the two are set together
    return *Factory;
}

const View::Unit* Dictionary::Find(std::string_view name) const
{
    if (name.empty())
    {
        return nullptr;
    }
    return Util::FindPropertyValue(static_cast<const View::Unit&>(Data()), name);
}

namespace Util
{

UnitPtr WrapToSearchableArray(UnitPtr unit, const Construction::UnitFactory& factory)
{
    BasicOperations::EnsureNotNull(unit.get());
    if (IsArray(*unit))
    {
        if (!HasTrait(*unit, SearchableTrait))
        {
            AddTrait(*unit, SearchableTrait, factory);
        }
        return unit;
    }
    UnitPtr array = factory.CreateArray();
    GetArray(*array).PushBack(std::move(unit));
    AddTrait(*array, SearchableTrait, factory);
    return array;
}

} // namespace Util
} // namespace Por
