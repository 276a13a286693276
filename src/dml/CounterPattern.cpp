#include "dml/CounterPattern.h"

#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

#include <cstdint>

namespace Dml
{

Por::ConstUnitPtr MakeCounterPattern(const Por::View::Unit& counted,
                                     const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr counter = factory.CreateComposite();
    Por::Util::AddTrait(*counter, "Is", factory.CreateString(u"CounterObject"), factory);
    Por::Construction::Unit& value =
        Por::Util::AddProperty(*counter, "CounterValue", factory.CreateQWord(std::uint64_t{0}), factory);
    Por::Util::AddTrait(value, "Count", counted, factory);
    return counter;
}

} // namespace Dml
