// Depth-first walks of a whole unit tree with a hook per node: the base of every "anywhere" search and
// of the tree-wide editors. A node's traits come first (and their values are explored too, on the View
// face), then the value: array elements in order, composite properties in name order.
#pragma once

#include "por/Unit.h"

namespace Por
{
namespace View
{

class BaseUnitExplorer
{
public:
    virtual ~BaseUnitExplorer() = default;
    // True if a hook stopped the walk.
    bool Explore(const Unit& unit);

protected:
    // Called for each node before anything below it; true stops.
    virtual bool OnUnit(const Unit& unit) = 0;
    // Called before a trait's value is explored; true stops. Exploring trait values can be switched off.
    virtual bool OnTrait(const Trait& trait);
    virtual bool ExploresTraitValues() const { return true; }
};

} // namespace View

namespace Construction
{

// The same on the Construction face. Trait values are views and are not entered.
class BaseUnitExplorer
{
public:
    virtual ~BaseUnitExplorer() = default;
    bool Explore(Unit& unit);

protected:
    virtual bool OnUnit(Unit& unit) = 0;
};

} // namespace Construction
} // namespace Por
