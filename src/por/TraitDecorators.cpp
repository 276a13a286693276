#include "por/TraitDecorators.h"

#include "por/Compare.h"

#include <cstring>

namespace Por
{
namespace
{

// Set order: by name (strcmp), then by value.
int CompareTraits(const View::Trait& left, const View::Trait& right)
{
    const int byName = std::strcmp(left.GetName().c_str(), right.GetName().c_str());
    if (byName != 0)
    {
        return byName;
    }
    return Compare(left.GetValue(), right.GetValue());
}

class HidingDecoration final : public RecursiveDecoration::Decoration
{
public:
    const View::Traits& DecorateTraits(const View::Unit&, std::unique_ptr<View::Traits>&) const override
    {
        return Detail::EmptyTraits();
    }
};

const HidingDecoration& Hiding()
{
    static const HidingDecoration hiding;
    return hiding;
}

} // namespace

void SieveTraits::ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const
{
    FilteringTraitProcessor filter(processor, *this);
    Inner.ForEachNamed(name, filter);
}

void SieveTraits::ForEach(ItemProcessor<const View::Trait>& processor) const
{
    FilteringTraitProcessor filter(processor, *this);
    Inner.ForEach(filter);
}

void ExcludingTraits::ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const
{
    if (name != Name)
    {
        Inner.ForEachNamed(name, processor);
    }
}

void EnablingTraits::ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const
{
    if (name == Name)
    {
        Inner.ForEachNamed(name, processor);
    }
}

void EnablingTraits::ForEach(ItemProcessor<const View::Trait>& processor) const
{
    Inner.ForEachNamed(Name, processor);
}

bool AddingTraitProcessor::Process(const View::Trait& trait)
{
    if (!Placed)
    {
        const int order = CompareTraits(trait, Extra);
        if (order >= 0)
        {
            Placed = true;
            if (order > 0 && Next.Process(Extra))
            {
                Stopped = true;
                return true;
            }
        }
    }
    Stopped = Next.Process(trait);
    return Stopped;
}

void AddingTraitProcessor::Finish()
{
    if (!Placed && !Stopped)
    {
        Placed = true;
        Stopped = Next.Process(Extra);
    }
}

void ExpandingTraits::ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const
{
    if (name != Extra.GetName())
    {
        Inner.ForEachNamed(name, processor);
        return;
    }
    AddingTraitProcessor adding(processor, Extra);
    Inner.ForEachNamed(name, adding);
    adding.Finish();
}

void ExpandingTraits::ForEach(ItemProcessor<const View::Trait>& processor) const
{
    AddingTraitProcessor adding(processor, Extra);
    Inner.ForEach(adding);
    adding.Finish();
}

HideTraitsUnit::HideTraitsUnit(const View::Unit& unit) : UnitDecorator(unit, Hiding()) {}

} // namespace Por
