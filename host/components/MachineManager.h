// Host::MachineManager: the reference host's component 145. It answers GetMachineId with the id it was
// given; tests may make the call fail. Answers its cast table for MachineManagement::MachineManager.
// Thread-safe.
#pragma once

#include "common/DynamicCaster.h"
#include "runtime/MachineManager.h"

#include <mutex>

namespace Host
{

class MachineManager final : public MachineManagement::MachineManager, public Common::DynamicCasterImpl
{
public:
    explicit MachineManager(const Common::Guid& machineId = Common::NullGuid);

    // The id, or the failure set; `id` is left alone on failure.
    Common::Error GetMachineId(Common::Guid& id) override;

    void SetMachineId(const Common::Guid& machineId);
    // Every later GetMachineId returns `error`; success makes it answer the id again.
    void SetFailure(Common::Error error);

private:
    mutable std::mutex Lock;
    Common::Guid MachineId;
    Common::Error Failure;
};

} // namespace Host
