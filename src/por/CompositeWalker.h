// Util::CompositeWalker: the side-by-side walk of two composites in name order (strcmp), one event for a
// name in both, in the left only or in the right only; every event returns true to stop the walk.
// WalkComposites drives it. The kin do nothing, forward, forward some names, or turn the walk into
// UnitWalker events.
#pragma once

#include "por/UnitWalker.h"

#include <functional>
#include <string_view>

namespace Por::Util
{

class CompositeWalker
{
public:
    virtual ~CompositeWalker() = default;
    virtual bool OnBoth(const View::Property& left, const View::Property& right) = 0;
    virtual bool OnLeftOnly(const View::Property& left) = 0;
    virtual bool OnRightOnly(const View::Property& right) = 0;
};

class NullCompositeWalker : public CompositeWalker
{
public:
    bool OnBoth(const View::Property&, const View::Property&) override { return false; }
    bool OnLeftOnly(const View::Property&) override { return false; }
    bool OnRightOnly(const View::Property&) override { return false; }
};

// Forwards every event; filters override what they change.
class DelegatingCompositeWalker : public CompositeWalker
{
public:
    explicit DelegatingCompositeWalker(CompositeWalker& next) : Next(next) {}
    bool OnBoth(const View::Property& left, const View::Property& right) override
    {
        return Next.OnBoth(left, right);
    }
    bool OnLeftOnly(const View::Property& left) override { return Next.OnLeftOnly(left); }
    bool OnRightOnly(const View::Property& right) override { return Next.OnRightOnly(right); }

protected:
    CompositeWalker& Next;
};

// Forwards the events of the names that `passes` accepts; the others are dropped and the walk goes on.
class FilteringCompositeWalker : public DelegatingCompositeWalker
{
public:
    FilteringCompositeWalker(CompositeWalker& next, std::function<bool(std::string_view name)> passes)
        : DelegatingCompositeWalker(next), Passes(std::move(passes))
    {
    }
    bool OnBoth(const View::Property& left, const View::Property& right) override;
    bool OnLeftOnly(const View::Property& left) override;
    bool OnRightOnly(const View::Property& right) override;

private:
    std::function<bool(std::string_view)> Passes;
};

// Gives each property as OnProperty(name) and its unit's events (in the guide's order): the right one of
// a name in both, so the walk of two composites yields their union with the right side winning. Put it
// between OnComposite and OnEnd of the composite being described. Never stops the walk.
class CompositeWalker2UnitWalker : public CompositeWalker
{
public:
    explicit CompositeWalker2UnitWalker(UnitWalker& walker);
    CompositeWalker2UnitWalker(UnitWalker& walker, const TraitValueGuide& guide)
        : Walker(walker), Guide(guide)
    {
    }
    bool OnBoth(const View::Property& left, const View::Property& right) override;
    bool OnLeftOnly(const View::Property& left) override;
    bool OnRightOnly(const View::Property& right) override;

protected:
    // OnProperty and the property's unit.
    void Emit(const View::Property& property);

private:
    UnitWalker& Walker;
    const TraitValueGuide& Guide;
};

// Walks two composites side by side; true when the walker stopped the walk.
bool WalkComposites(const View::CompositeValue& left, const View::CompositeValue& right,
                    CompositeWalker& walker);
// The same over the values of two units; either not a composite throws the type mismatch (0xfa000a).
bool WalkComposites(const View::Unit& left, const View::Unit& right, CompositeWalker& walker);

} // namespace Por::Util
