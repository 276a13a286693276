// The store look-ups behind an alert's meta: plans, instances and activities read by id, and the meta
// fields made of them. Each takes the add-on name to sign its log lines. Missing data is no failure:
// a read that fails or finds nothing is logged and gives false or an empty unit. Each call blocks on the
// store (no time limit). Thread-safe: no state of their own.
#pragma once

#include "common/Guid.h"
#include "common/WideString.h"
#include "dml/SynchronousDataStore.h"
#include "dml/ViewSpec.h"
#include "por/Forward.h"
#include "por/PorUnit.h"
#include "runtime/EntryPoint.h"

#include <string_view>

namespace Dml
{
class PostOffice;
}

namespace Alerts::Util
{

// Names of location kinds and source kinds of the plans' schema; declared, read by nothing here.
namespace LocationKinds
{
inline constexpr const char* LocalFolder = "local_folder";
inline constexpr const char* NetworkShare = "network_share";
inline constexpr const char* NfsShare = "nfs_share";
inline constexpr const char* MicrosoftAzure = "microsoft_azure";
inline constexpr const char* Cloud = "cloud";
inline constexpr const char* Tape = "tape";
inline constexpr const char* StorageNode = "storage_node";
inline constexpr const char* AStorage2 = "astorage2";
inline constexpr const char* Script = "script";
inline constexpr const char* Unknown = "unknown";
} // namespace LocationKinds
namespace SourceKinds
{
inline constexpr const char* Share = "share";
inline constexpr const char* MsExchange = "ms_exchange";
inline constexpr const char* MsSql = "ms_sql";
inline constexpr const char* Location = "location";
inline constexpr const char* Update = "update";
inline constexpr const char* Archive = "archive";
} // namespace SourceKinds

namespace Detail
{
// ReadSingle of `spec` into `out`. Any Common::Error, "nothing matches" included, is logged as a read
// failure (0x011A0012) and gives false.
bool TryReadSingle(const Dml::SynchronousDataStore& store, const Core::EntryPoint& entryPoint,
                   const Dml::ViewSpec& spec, Por::UnitPtr& out, std::string_view addon);
} // namespace Detail

// Meta "StartTime" and "FinishTime" from the activity's "Period" (strict reads; a miss leaves the field
// out).
void FillTimePeriod(Por::Unit meta, const Por::View::Unit& activity, std::string_view addon);
// FillTimePeriod from the stored activity of that id; nothing when it cannot be read.
void FillMetaByActivityID(Por::Unit meta, const Common::Guid& activityId,
                          const Dml::SynchronousDataStore& store, std::string_view addon);

// The protection plan of that id, masked to what the meta needs; null when it cannot be read.
Por::UnitPtr GetPlanByID(const Common::Guid& planId, const Dml::SynchronousDataStore& store,
                         std::string_view addon);
// "PlanID", "PlanName", "BackupSourcesType", "BackupSources" and "BackupLocations" of the plan, as far
// as the plan has them; a unit without a value when the plan cannot be read. Cached sources are kept
// only if their local id begins with the instance id's text or ends with the machine id's text.
Por::Unit GetPlanMeta(const Common::Guid& planId, const Common::Guid& instanceId,
                      const Common::Guid& machineId, const Dml::SynchronousDataStore& store,
                      std::string_view addon);

// The instance whose "Type" is the signed 32-bit 1 (this machine): its "ID" and "FullPath". False when there
// is none or the read fails (then logged); the outputs are then untouched.
bool TryGetInstance(Dml::PostOffice& postOffice, std::string_view addon, Common::Guid& id,
                    Common::WideString& name);
// The display name of an instance, chosen by its "Type": "Parameters"."DisplayName" for 6, 22, 23 and 24,
// "Parameters"."SqlDisplayName" for 14, 19, 20, 21 and 26, "FullPath" for any other. False when the
// instance, its "Type" or the chosen field is missing or nil; there is no falling back to another field.
bool TryGetInstanceName(const Common::Guid& instanceId, Common::WideString& name,
                        const Dml::SynchronousDataStore& store, std::string_view addon);
// Follows "Environment"."BusinessParent" up from the activity of that id to the first activity without
// one, read with its "ID" and "Period". False when an activity on the way cannot be read. The chain is
// trusted: there is no depth limit and no cycle test.
bool TryGetRootBusinessActivityObject(const Common::Guid& activityId, Por::UnitPtr& root,
                                      const Dml::SynchronousDataStore& store, std::string_view addon);

// The meta of an overdue record: a copy of the record, with the plan meta merged in when the record has
// "InstanceID", "PlanID" and "MachineID".
Por::Unit GetOverdueMeta(const Por::View::Unit& record, const Dml::SynchronousDataStore& store,
                         std::string_view addon);
// The full meta of a progress timer from its partial meta: "MachineName" of its "InstanceID"; the plan
// meta when it has "PlanID" and "MachineID" (the meta's own machine id is the one used, so `machineId` of
// the caller only names the machine the timer runs on); and "ActivityID" moved up to the root business
// activity, with that activity's period.
Por::Unit GetProgressMeta(const Por::View::Unit& partialMeta, const Dml::SynchronousDataStore& store,
                          const Common::Guid& machineId, std::string_view addon);

} // namespace Alerts::Util
