#include "por/TraitUtil.h"

#include "common/CatalogIds.h"
#include "por/Compare.h"
#include "por/Errors.h"
#include "por/Unit.h"

#include <span>

namespace Por::Util
{
namespace
{

class TraitFinder final : public View::BaseUnitExplorer
{
public:
    explicit TraitFinder(std::string_view name) : Name(name) {}

protected:
    bool OnUnit(const View::Unit& unit) override { return HasTrait(unit, Name); }

private:
    std::string_view Name;
};

class TraitWithValueFinder final : public View::BaseUnitExplorer
{
public:
    TraitWithValueFinder(std::string_view name, const View::Unit& value) : Name(name), Value(value) {}

protected:
    bool OnUnit(const View::Unit& unit) override { return HasTraitWithValue(unit, Name, Value); }

private:
    std::string_view Name;
    const View::Unit& Value;
};

constexpr std::string_view ShortIdentity[] = {"Is"};
constexpr std::string_view LongIdentity[] = {"Is", "Type", "PrimaryKey", "ObjectID"};

} // namespace

bool HasTraitProcessor::Process(const View::Trait& trait)
{
    if (trait.GetName() != Name)
    {
        return false;
    }
    Hit = &trait;
    return true;
}

bool HasTraitWithValueProcessor::Process(const View::Trait& trait)
{
    if (trait.GetName() != Name || !UnitEqual(trait.GetValue(), Value))
    {
        return false;
    }
    Hit = &trait;
    return true;
}

bool UniqueTraitProcessor::Process(const View::Trait& trait)
{
    if (Value != nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::Util::UniqueTraitProcessor::Process"),
                        ErrorCodes::TraitNotUnique, Common::Texts::PorTraitNotUnique,
                        {Widen(trait.GetName())});
    }
    Value = &trait.GetValue();
    return false;
}

bool HasTraits(const View::Unit& unit)
{
    bool found = false;
    auto any = MakeProcessor<const View::Trait>([&](const View::Trait&) { return found = true; });
    unit.GetTraits().ForEach(any);
    return found;
}

bool HasTrait(const View::Unit& unit, std::string_view name)
{
    HasTraitProcessor processor(name);
    unit.GetTraits().ForEachNamed(name, processor);
    return processor.GetHit() != nullptr;
}

bool HasTraitWithValue(const View::Unit& unit, std::string_view name, const View::Unit& value)
{
    HasTraitWithValueProcessor processor(name, value);
    unit.GetTraits().ForEachNamed(name, processor);
    return processor.GetHit() != nullptr;
}

const View::Unit* FindUniqueTraitByName(const View::Unit& unit, std::string_view name)
{
    UniqueTraitProcessor processor;
    unit.GetTraits().ForEachNamed(name, processor);
    return processor.GetValue();
}

const View::Unit& GetUniqueTraitByName(const View::Unit& unit, std::string_view name)
{
    const View::Unit* value = FindUniqueTraitByName(unit, name);
    if (value == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::Util::GetUniqueTraitByName"), ErrorCodes::TraitMissing,
                        Common::Texts::PorTraitNotFound, {Widen(name)});
    }
    return *value;
}

void AddTrait(Construction::Unit& unit, std::string_view name, const View::Unit& value,
              const Construction::UnitFactory& factory)
{
    AddTrait(unit, name, Copy(value, factory), factory);
}

void AddTrait(Construction::Unit& unit, std::string_view name, UnitPtr value,
              const Construction::UnitFactory& factory)
{
    if (value == nullptr)
    {
        throw MakeNullUnitError(COMMON_LOCATION("Por::Util::AddTrait"));
    }
    unit.GetTraits().Add(factory.CreateTrait(std::string(name), std::move(value)));
}

void AddTrait(Construction::Unit& unit, std::string_view name, const Construction::UnitFactory& factory)
{
    AddTrait(unit, name, factory.CreateNil(), factory);
}

void AddTraitToProperty(Construction::Unit& unit, std::string_view propertyName, std::string_view traitName,
                        const View::Unit& value, const Construction::UnitFactory& factory)
{
    AddTrait(GetPropertyValue(unit, propertyName), traitName, value, factory);
}

std::size_t RemoveTrait(Construction::Unit& unit, std::string_view name)
{
    return unit.GetTraits().Remove(name);
}

bool TraitRemover::OnUnit(Construction::Unit& unit)
{
    Count += RemoveTrait(unit, Name);
    return false;
}

std::size_t RemoveTraitEverywhere(Construction::Unit& unit, std::string_view name)
{
    TraitRemover remover(name);
    remover.Explore(unit);
    return remover.GetCount();
}

bool HasTraitAnywhere(const View::Unit& unit, std::string_view name)
{
    TraitFinder finder(name);
    return finder.Explore(unit);
}

bool HasTraitWithValueAnywhere(const View::Unit& unit, std::string_view name, const View::Unit& value)
{
    TraitWithValueFinder finder(name, value);
    return finder.Explore(unit);
}

bool TraitsCollection::Process(const View::Trait& trait)
{
    Copies.push_back(Factory.CreateTrait(trait.GetName(), Copy(trait.GetValue(), Factory)));
    return false;
}

void TraitsCollection::Apply(Construction::Unit& target)
{
    Construction::Traits& traits = target.GetTraits();
    for (TraitPtr& copy : Copies)
    {
        traits.Add(std::move(copy));
    }
    Copies.clear();
}

void CopyIdentityTraits(const View::Unit& from, Construction::Unit& to,
                        const Construction::UnitFactory& factory, bool longForm)
{
    TraitsCollection collection(factory);
    const std::span<const std::string_view> names = longForm
                                                        ? std::span<const std::string_view>(LongIdentity)
                                                        : std::span<const std::string_view>(ShortIdentity);
    for (std::string_view name : names)
    {
        from.GetTraits().ForEachNamed(name, collection);
    }
    collection.Apply(to);
}

bool IsTraitFilter::Process(const View::Trait& trait)
{
    if (trait.GetName() == "Is" && GetValueTypeIndex(trait.GetValue()) == ValueKind::String &&
        GetValue<String>(trait.GetValue()) == Text)
    {
        return false;
    }
    return Next.Process(trait);
}

bool TraitsComposition::Process(const View::Trait& trait)
{
    const View::Unit& value = trait.GetValue();
    const String tag =
        GetValueTypeIndex(value) == ValueKind::String ? GetValue<String>(value) : Widen(trait.GetName());
    return Consumer.Process(tag);
}

bool SourceTraitsApplier::Process(const View::Trait& trait)
{
    if (!KeepExisting || !HasTraitWithValue(Target, trait.GetName(), trait.GetValue()))
    {
        AddTrait(Target, trait.GetName(), trait.GetValue(), Factory);
    }
    return false;
}

void SourceTraitsApplier::Apply(const View::Unit& source)
{
    source.GetTraits().ForEach(*this);
}

} // namespace Por::Util
