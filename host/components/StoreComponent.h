// Host::StoreComponent: the store service as a component. Its cast table lists the store under both of
// its interfaces, so one component serves as the post office (272) and as the object registry (273).
#pragma once

#include "common/DynamicCaster.h"

namespace Host
{
namespace Store
{
class MemoryStore;
}

class StoreComponent final : public Common::DynamicCasterImpl
{
public:
    // `store` must outlive the component.
    explicit StoreComponent(Store::MemoryStore& store);

    Store::MemoryStore& GetStore() const { return TheStore; }

private:
    Store::MemoryStore& TheStore;
};

} // namespace Host
