#include "por/MatchingPatternFinalizer.h"

#include "por/PatternOperators.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <string>
#include <vector>

namespace Por
{
namespace Detail
{
namespace
{

std::vector<std::string> TraitNames(const View::Unit& unit)
{
    std::vector<std::string> names;
    auto collect = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            if (names.empty() || names.back() != trait.GetName())
            {
                names.push_back(trait.GetName());
            }
        });
    unit.GetTraits().ForEach(collect);
    return names;
}

// Gives a node "EqualValue" with a bare copy of its value, unless one of its operators already
// constrains the value. Non-operator traits go, since Match refuses names it doesn't know.
class EqualityTagSetter
{
public:
    explicit EqualityTagSetter(const Construction::UnitFactory& factory) : Factory(factory) {}

    void Apply(Construction::Unit& unit, bool composite) const
    {
        bool constrained = composite;
        for (const std::string& name : TraitNames(unit))
        {
            if (FindPatternByName(name) == nullptr)
            {
                unit.GetTraits().Remove(name);
            }
            else
            {
                constrained = constrained || !IsTraitTestingPattern(name);
            }
        }
        if (!constrained)
        {
            UnitPtr value = Util::Copy(unit, Factory);
            for (const std::string& name : TraitNames(*value))
            {
                value->GetTraits().Remove(name);
            }
            unit.GetTraits().Add(Factory.CreateTrait("EqualValue", std::move(value)));
        }
    }

private:
    const Construction::UnitFactory& Factory;
};

// The nodes below a unit, trait values aside (the explorer of this face doesn't enter them).
class NodeCounter final : public Construction::BaseUnitExplorer
{
public:
    std::size_t Count = 0;

protected:
    bool OnUnit(Construction::Unit&) override
    {
        ++Count;
        return false;
    }
};

void RemoveNilProperties(Construction::CompositeValue& composite)
{
    std::vector<std::string> unset;
    auto collect = MakeProcessor<Construction::Property>(
        [&](Construction::Property& property)
        {
            if (Util::HasTrait(property.GetValue(), "Nil"))
            {
                unset.push_back(property.GetName());
            }
        });
    composite.ForEach(collect);
    for (const std::string& name : unset)
    {
        composite.Remove(name);
    }
}

} // namespace
} // namespace Detail

void MatchingPatternFinalizer::Finalize(Construction::Unit& unit)
{
    Skipped = 0;
    Explore(unit);
}

bool MatchingPatternFinalizer::OnUnit(Construction::Unit& unit)
{
    if (Skipped != 0)
    {
        --Skipped;
        return false;
    }
    Construction::CompositeValue* composite = Util::FindComposite(unit);
    if (composite != nullptr)
    {
        Detail::RemoveNilProperties(*composite);
    }
    Detail::EqualityTagSetter(Factory).Apply(unit, composite != nullptr);
    if (Util::IsArray(unit))
    {
        Detail::NodeCounter below;
        below.Explore(unit);
        Skipped = below.Count - 1;
    }
    return false;
}

} // namespace Por
