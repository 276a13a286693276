// Lookups over the whole activity schema: the default object of a class by its name, and the class test
// on a unit, which holds for every class of the unit's "Is" traits (a derived class answers to its
// bases too). Thread-safe.
#pragma once

#include "por/Forward.h"

#include <string_view>

namespace Tol::History::Plain
{

// The schema unit of the class named `className` ("Tol::History::Plain::Activity", ...), or null.
const Por::View::Unit* FindSchema(std::string_view className);

// The unit carries an "Is" trait with `className`.
bool IsInstanceOf(const Por::View::Unit& unit, std::string_view className);

} // namespace Tol::History::Plain
