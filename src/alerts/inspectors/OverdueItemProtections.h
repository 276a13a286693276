// Alerts::Detail::OverdueItemProtections: the visitor of the table of backups found overdue while the
// service was down. Each record whose instance can be named raises "BackupDidNotStart" at once under
// XorGuids(plan, instance), with the plan meta merged in. A bad record is logged and the visit goes on.
#pragma once

#include "alerts/contract/Listener.h"
#include "common/Guid.h"
#include "dml/SynchronousDataStore.h"
#include "por/ItemProcessor.h"

#include <memory>
#include <string>

namespace Alerts::Detail
{

class OverdueItemProtections final : public Por::ItemProcessor<const Por::View::Unit>
{
public:
    OverdueItemProtections(std::shared_ptr<Listener> listener, Dml::SynchronousDataStore store,
                           const Common::Guid& machineId, std::string addon);

    // Never stops the visit.
    bool Process(const Por::View::Unit& record) override;

private:
    void Raise(const Por::View::Unit& record);

    const std::shared_ptr<Listener> Next;
    const Dml::SynchronousDataStore Store;
    const Common::Guid MachineID;
    const std::string Addon;
};

} // namespace Alerts::Detail
