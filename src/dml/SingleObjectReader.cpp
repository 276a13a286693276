#include "dml/SingleObjectReader.h"

#include "dml/CounterOptions.h"
#include "por/UnitAccess.h"

namespace Dml
{

void SingleObjectReader::OnSubject(const Por::View::Unit& object)
{
    if (Count++ == 0)
    {
        Destination = Por::Util::Copy(object, Factory);
    }
}

void CounterReader::OnSubject(const Por::View::Unit& object)
{
    Destination = Query::GetCounterValue(object);
}

} // namespace Dml
