// Counting reads: the "Counter" option asks the store for a count instead of objects. It holds
// "CounterObjectTemplate", a composite whose "ID" (the zero guid) bears "PrimaryKey"; the store answers
// with one object made from it that carries the count as the dword "CounterValue".
#pragma once

#include "por/Forward.h"
#include "por/UnitFactory.h"

#include <cstdint>

namespace Dml::Query
{

// Writes "Counter" > "CounterObjectTemplate", replacing an earlier template.
void SetCounter(Por::Modification::Unit& options,
                const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// The template, or null when the options ask for no count.
const Por::View::Unit* GetCounterTemplate(const Por::View::Unit& options);
// "CounterValue" of a counter object; 0 when absent.
std::uint32_t GetCounterValue(const Por::View::Unit& object);
// A copy of the template with "CounterValue" set.
Por::UnitPtr MakeCounterObject(std::uint32_t value, const Por::View::Unit& counterTemplate,
                               const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

} // namespace Dml::Query
