// Host::Scenario unit notation: units written as JSON, in scenarios and in the host's output. Plain JSON
// null, true/false, strings, arrays and objects are nil, boolean, string, array and composite; every
// other kind is an object of one "$kind" key ({"$dword": 5}, {"$guid": "…"}, {"$time": "…Z"} for a
// sqword of seconds since 1970), "$traits" adds traits to any unit, and {"$class": name, ...} is the
// default object of a schema class with the given properties laid over it. The README's "Scenario
// notation: units" has every rule.
#pragma once

#include "por/Forward.h"
#include "por/UnitFactory.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace Host::Scenario
{

// The unit that `value` writes, made with `factory`. `where` is the JSON pointer of `value` in its
// document; messages give the pointer of the faulty value below it. Throws 0x03000012 to 0x03000018;
// units nest at most Por::Util::MaximumBlobDepth levels, as in a blob.
Por::UnitPtr ReadUnit(const nlohmann::json& value, const std::string& where = {},
                      const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

// The notation of `unit`, which ReadUnit turns back into an equal unit: properties in the unit's order,
// traits in their order, a kind written only where JSON cannot tell it. The same unit always gives the
// same JSON.
nlohmann::ordered_json WriteUnit(const Por::View::Unit& unit);

// WriteUnit as one line of compact JSON, UTF-8 (text that isn't valid UTF-16 gets U+FFFD).
std::string PrintUnit(const Por::View::Unit& unit);

} // namespace Host::Scenario
