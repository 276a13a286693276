#include "components/StoreComponent.h"

#include "store/MemoryStore.h"

namespace Host
{

StoreComponent::StoreComponent(Store::MemoryStore& store) : TheStore(store)
{
    RegisterInterface<Dml::PostOffice>(&store);
    RegisterInterface<Dml::ObjectRegistry>(&store);
}

} // namespace Host
