// The store-side shape of a counter: a composite of class "CounterObject" whose qword "CounterValue"
// bears the trait "Count" holding what is counted. (Counting reads ask through the "Counter" option.)
#pragma once

#include "por/Forward.h"
#include "por/UnitFactory.h"

namespace Dml
{

// {"CounterValue": qword 0 ^Count = copy of `counted`} ^Is = "CounterObject".
Por::ConstUnitPtr MakeCounterPattern(const Por::View::Unit& counted,
                                     const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());

} // namespace Dml
