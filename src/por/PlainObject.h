// Por::PlainObject: the abstract root of typed objects whose data lives in a unit tree. Its one
// operation makes an independent deep copy of the object's data.
#pragma once

#include "por/Forward.h"

namespace Por
{

class PlainObject
{
public:
    virtual ~PlainObject() = default;
    // A new tree, owned by the caller, with a copy of the object's data made by `factory`.
    virtual UnitPtr Copy(const Construction::UnitFactory& factory) const = 0;

protected:
    PlainObject() = default;
    PlainObject(const PlainObject&) = default;
    PlainObject& operator=(const PlainObject&) = default;
};

} // namespace Por
