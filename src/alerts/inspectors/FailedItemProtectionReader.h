// Alerts::Detail::FailedItemProtectionReader: the report reader of the activity failing inspector's first
// start. With no mark stored there is no history to replay, so the last finish that each
// "Gtob::Dto::ItemProtection" keeps stands in for it: a failed, canceled or warning one raises its backup
// alert. The alert's id is the plan id alone (a random one without it), not the instance ^ plan of a later
// run, so the next run of the plan does not clear it. Each object's Common::Error is caught and logged.
#pragma once

#include "common/Guid.h"
#include "dml/ReportReader.h"
#include "dml/SynchronousDataStore.h"
#include "por/Forward.h"
#include "por/PorUnit.h"

#include <memory>

namespace Alerts
{

class Listener;

namespace Detail
{

class FailedItemProtectionReader final : public Dml::ReportReader
{
public:
    // Alerts go to `listener`; the meta's look-ups go to `store`.
    FailedItemProtectionReader(std::shared_ptr<Listener> listener, Dml::SynchronousDataStore store,
                               const Common::Guid& machineId);

    using Dml::ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& item) override;

private:
    void Inspect(const Por::View::Unit& item);
    // Instance, plan meta (with `plan`, the item's "Local"."PlanID" when it has one), machine name and the
    // root business activity of the last finish with its period.
    Por::Unit GetItemProtectionMeta(const Por::View::Unit& item, const Common::Guid* plan);

    const std::shared_ptr<Listener> Next;
    const Dml::SynchronousDataStore Store;
    const Common::Guid MachineID;
};

} // namespace Detail
} // namespace Alerts
