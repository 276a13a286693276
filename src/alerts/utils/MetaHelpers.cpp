#include "alerts/utils/MetaHelpers.h"

#include "alerts/MetaKeys.h"
#include "alerts/utils/LogHelpers.h"
#include "alerts/utils/MetaReaders.h"
#include "dml/QueryOptionNames.h"
#include "dml/ServiceHolder.h"
#include "por/Unit.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace Alerts::Util
{
namespace
{

constexpr const char16_t* ActivityClass = u"Tol::History::Plain::Activity";
constexpr const char16_t* PlanClass = u"Gtob::Dto::ProtectionPlan";
constexpr const char16_t* InstanceClass = u"InstanceManagement::Instance";

// The instance of this machine. A pattern matches its own kind only: instance types are signed 32-bit.
constexpr std::int32_t ThisMachineInstanceType = 1;

// Objects of the class with any further properties given by the caller.
Por::Unit ClassPattern(const char16_t* className)
{
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(className).Get());
    return pattern;
}

// The object of the class with that "ID", reduced to the mask's paths (the store keeps the key).
Dml::ViewSpec ByIdSpec(const char16_t* className, const Common::Guid& id,
                       std::initializer_list<std::string_view> mask)
{
    Por::Unit pattern = ClassPattern(className);
    pattern["ID"] = id;
    Por::Unit options = Por::Unit::Composite();
    const Por::Unit maskUnit = options[Dml::Query::Names::Mask];
    for (std::string_view path : mask)
    {
        maskUnit[path] = true;
    }
    return Dml::ViewSpec{pattern.Result(), options.Result()};
}

// The field that names an instance of the type; the numbers belong to the instances' schema.
const char* InstanceNamePath(std::int32_t type)
{
    switch (type)
    {
    case 6:
    case 22:
    case 23:
    case 24:
        return ".Parameters.DisplayName";
    case 14:
    case 19:
    case 20:
    case 21:
    case 26:
        return ".Parameters.SqlDisplayName";
    default:
        return ".FullPath";
    }
}

bool BeginsWith(Common::WideStringView text, Common::WideStringView prefix)
{
    return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

bool EndsWith(Common::WideStringView text, Common::WideStringView suffix)
{
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// Source types 1 and 2 name their sources; any other names none.
bool HasNamedSources(std::int32_t sourceType)
{
    return sourceType == 1 || sourceType == 2;
}

// The display names of the plan's cached sources that belong to this instance or machine.
std::vector<Common::WideString> FilterCachedSources(const Por::View::Unit& plan,
                                                    const Common::Guid& instanceId,
                                                    const Common::Guid& machineId, std::string_view addon)
{
    std::vector<Common::WideString> kept;
    std::vector<const Por::View::Unit*> sources;
    if (!TryReadList(plan, ".__cache.Sources", sources, addon, false))
    {
        return kept;
    }
    const Common::WideString instanceText = Common::GuidToWideString(instanceId);
    const Common::WideString machineText = Common::GuidToWideString(machineId);
    for (const Por::View::Unit* source : sources)
    {
        Common::WideString name;
        Common::WideString localId;
        if (!TryReadString(*source, ".DisplayName", name, addon, true))
        {
            continue;
        }
        if (!TryReadString(*source, ".MachineID.LocalID", localId, addon, false) &&
            !TryReadString(*source, ".ID.LocalID", localId, addon, true))
        {
            continue;
        }
        if (BeginsWith(localId, instanceText) || EndsWith(localId, machineText))
        {
            kept.push_back(std::move(name));
        }
    }
    return kept;
}

void FillSources(Por::Unit meta, const Por::View::Unit& plan, const Common::Guid& instanceId,
                 const Common::Guid& machineId, std::string_view addon)
{
    std::int32_t sourceType = 0;
    if (TryReadInt(plan, ".__cache.SourceType", sourceType, addon, false))
    {
        meta[MetaKeys::BackupSourcesType] = sourceType;
    }
    if (!HasNamedSources(sourceType))
    {
        return;
    }
    std::vector<Common::WideString> sources;
    TryReadList(plan, ".Options.SpecificParameters.InclusionRules.Rules", sources, addon, false);
    if (sources.empty())
    {
        sources = FilterCachedSources(plan, instanceId, machineId, addon);
    }
    for (const Common::WideString& source : sources)
    {
        meta[MetaKeys::BackupSources].PushBack(source);
    }
}

void FillLocations(Por::Unit meta, const Por::View::Unit& plan, std::string_view addon)
{
    std::vector<const Por::View::Unit*> locations;
    if (!TryReadList(plan, ".__cache.Locations", locations, addon, false))
    {
        return;
    }
    for (const Por::View::Unit* location : locations)
    {
        Common::WideString name;
        if (!TryReadString(*location, ".DisplayName", name, addon, true))
        {
            continue;
        }
        // The kind's words belong to the plans' schema: the value goes over as it is.
        const Por::View::Unit* type = TryReadUnit(*location, ".Type", addon, true);
        if (type == nullptr)
        {
            continue;
        }
        Por::Unit record = Por::Unit::Composite();
        record[MetaKeys::DisplayName] = name;
        record[MetaKeys::Type] = *type;
        meta[MetaKeys::BackupLocations].PushBack(record.Get());
    }
}

} // namespace

namespace Detail
{

bool TryReadSingle(const Dml::SynchronousDataStore& store, const Core::EntryPoint& entryPoint,
                   const Dml::ViewSpec& spec, Por::UnitPtr& out, std::string_view addon)
{
    try
    {
        out = store.ReadSingle(entryPoint, spec);
        return true;
    }
    catch (const Common::Error& error)
    {
        LogDmlReadFailure(COMMON_LOCATION("Alerts::Util::Detail::TryReadSingle"), addon, spec, error);
        return false;
    }
}

} // namespace Detail

void FillTimePeriod(Por::Unit meta, const Por::View::Unit& activity, std::string_view addon)
{
    std::int64_t time = 0;
    if (TryReadTime(activity, ".Period.StartTime", time, addon, true))
    {
        meta[MetaKeys::StartTime] = time;
    }
    if (TryReadTime(activity, ".Period.FinishTime", time, addon, true))
    {
        meta[MetaKeys::FinishTime] = time;
    }
}

void FillMetaByActivityID(Por::Unit meta, const Common::Guid& activityId,
                          const Dml::SynchronousDataStore& store, std::string_view addon)
{
    Por::UnitPtr activity;
    if (Detail::TryReadSingle(
            store, CORE_ENTRY_POINT(),
            ByIdSpec(ActivityClass, activityId, {".Period.StartTime", ".Period.FinishTime"}), activity,
            addon))
    {
        FillTimePeriod(meta, *activity, addon);
    }
}

Por::UnitPtr GetPlanByID(const Common::Guid& planId, const Dml::SynchronousDataStore& store,
                         std::string_view addon)
{
    Por::UnitPtr plan;
    Detail::TryReadSingle(store, CORE_ENTRY_POINT(),
                          ByIdSpec(PlanClass, planId,
                                   {".Name", ".PlanID", ".Options.SpecificParameters.InclusionRules.Rules",
                                    ".__cache.Sources", ".__cache.SourceType", ".__cache.Locations"}),
                          plan, addon);
    return plan;
}

Por::Unit GetPlanMeta(const Common::Guid& planId, const Common::Guid& instanceId,
                      const Common::Guid& machineId, const Dml::SynchronousDataStore& store,
                      std::string_view addon)
{
    const Por::UnitPtr plan = GetPlanByID(planId, store, addon);
    if (plan == nullptr)
    {
        return Por::Unit();
    }
    Por::Unit meta = Por::Unit::Composite();
    CopyGuid(meta, MetaKeys::PlanID, *plan, ".PlanID", addon, true);
    CopyString(meta, MetaKeys::PlanName, *plan, ".Name", addon, true);
    FillSources(meta, *plan, instanceId, machineId, addon);
    FillLocations(meta, *plan, addon);
    return meta;
}

bool TryGetInstance(Dml::PostOffice& postOffice, std::string_view addon, Common::Guid& id,
                    Common::WideString& name)
{
    Por::Unit pattern = ClassPattern(InstanceClass);
    pattern["Type"] = ThisMachineInstanceType;
    const Dml::ViewSpec spec{pattern.Result(), Por::Unit::Composite().Result()};
    Por::UnitPtr instance;
    try
    {
        instance = Dml::SynchronousDataStore(Dml::ServiceHolder(&postOffice))
                       .ReadSingleOrNone(CORE_ENTRY_POINT(), spec);
    }
    catch (const Common::Error& error)
    {
        LogDmlReadFailure(COMMON_LOCATION("Alerts::Util::TryGetInstance"), addon, spec, error);
        return false;
    }
    if (instance == nullptr)
    {
        return false;
    }
    Common::Guid foundId;
    Common::WideString foundName;
    if (!TryReadGuid(*instance, ".ID", foundId, addon, true) ||
        !TryReadString(*instance, ".FullPath", foundName, addon, true))
    {
        return false;
    }
    id = foundId;
    name = std::move(foundName);
    return true;
}

bool TryGetInstanceName(const Common::Guid& instanceId, Common::WideString& name,
                        const Dml::SynchronousDataStore& store, std::string_view addon)
{
    Por::UnitPtr instance;
    if (!Detail::TryReadSingle(
            store, CORE_ENTRY_POINT(),
            ByIdSpec(InstanceClass, instanceId,
                     {".FullPath", ".Parameters.DisplayName", ".Parameters.SqlDisplayName", ".Type"}),
            instance, addon))
    {
        return false;
    }
    std::int32_t type = 0;
    if (!TryReadInt(*instance, ".Type", type, addon, true))
    {
        return false;
    }
    return TryReadString(*instance, InstanceNamePath(type), name, addon, true);
}

bool TryGetRootBusinessActivityObject(const Common::Guid& activityId, Por::UnitPtr& root,
                                      const Dml::SynchronousDataStore& store, std::string_view addon)
{
    Common::Guid id = activityId;
    for (;;)
    {
        Por::UnitPtr activity;
        if (!Detail::TryReadSingle(
                store, CORE_ENTRY_POINT(),
                ByIdSpec(ActivityClass, id,
                         {".Environment.BusinessParent", ".Period.StartTime", ".Period.FinishTime"}),
                activity, addon))
        {
            return false;
        }
        if (!TryReadGuid(*activity, ".Environment.BusinessParent", id, addon, false))
        {
            root = std::move(activity);
            return true;
        }
    }
}

Por::Unit GetOverdueMeta(const Por::View::Unit& record, const Dml::SynchronousDataStore& store,
                         std::string_view addon)
{
    Por::Unit meta;
    meta = record;
    Common::Guid instanceId;
    Common::Guid planId;
    Common::Guid machineId;
    const bool hasInstance = TryReadGuid(record, ".InstanceID", instanceId, addon, false);
    const bool hasPlan = TryReadGuid(record, ".PlanID", planId, addon, false);
    const bool hasMachine = TryReadGuid(record, ".MachineID", machineId, addon, false);
    if (hasInstance && hasPlan && hasMachine)
    {
        MergeMeta(meta, GetPlanMeta(planId, instanceId, machineId, store, addon).Get());
    }
    return meta;
}

Por::Unit GetProgressMeta(const Por::View::Unit& partialMeta, const Dml::SynchronousDataStore& store,
                          const Common::Guid& /*machineId*/, std::string_view addon)
{
    Por::Unit meta;
    meta = partialMeta;

    Common::Guid instanceId;
    if (TryReadGuid(partialMeta, ".InstanceID", instanceId, addon, false))
    {
        Common::WideString name;
        if (TryGetInstanceName(instanceId, name, store, addon))
        {
            meta[MetaKeys::MachineName] = name;
        }
    }

    Common::Guid planId;
    Common::Guid machineId;
    const bool hasPlan = TryReadGuid(partialMeta, ".PlanID", planId, addon, false);
    const bool hasMachine = TryReadGuid(partialMeta, ".MachineID", machineId, addon, true);
    if (hasPlan && hasMachine)
    {
        MergeMeta(meta, GetPlanMeta(planId, instanceId, machineId, store, addon).Get());
    }

    Common::Guid activityId;
    Por::UnitPtr root;
    if (TryReadGuid(partialMeta, ".ActivityID", activityId, addon, false) &&
        TryGetRootBusinessActivityObject(activityId, root, store, addon))
    {
        CopyGuid(meta, MetaKeys::ActivityID, *root, ".ID", addon, true);
        FillTimePeriod(meta, *root, addon);
    }
    return meta;
}

} // namespace Alerts::Util
