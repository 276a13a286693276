// Dml::ViewSpec: what a read asks for, a pattern and an options unit, both shared constant units and
// both possibly empty. A value: copied freely; writers replace the options handle in a copy.
#pragma once

#include "por/Forward.h"

namespace Dml
{

struct ViewSpec
{
    Por::ConstUnitPtr Pattern;
    Por::ConstUnitPtr Options;
};

} // namespace Dml
