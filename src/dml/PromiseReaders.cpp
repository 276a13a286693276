#include "dml/PromiseReaders.h"

#include "por/UnitAccess.h"

namespace Dml::PromiseFacadeImpl
{

void PorPromiseReader::OnSubject(const Por::View::Unit& object)
{
    Destination = Por::Util::Copy(object, Factory);
}

void UnitArrayPromiseReader::OnSubject(const Por::View::Unit& object)
{
    Destination.push_back(Por::Util::Copy(object, Factory));
}

void SnapshotReader::OnSubject(const Por::View::Unit& object)
{
    Destination.push_back(Por::Util::Copy(object, Factory));
}

void CreatedObjectsReader::OnCreated(const Por::View::Unit& object)
{
    Destination.push_back(Por::Util::Copy(object, Factory));
}

} // namespace Dml::PromiseFacadeImpl
