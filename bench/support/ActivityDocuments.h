// Documents shaped like activity records of the task history, for benchmarks that compare the object
// model with other libraries on the same data: the values of a record, and builders of the same record
// as a unit tree and as a nlohmann::json document ("Is" traits become an extra member there).
#pragma once

#include "common/Guid.h"
#include "por/Forward.h"
#include "por/ValueKind.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Bench
{

using Por::String;

// The values of one record, made once so that both builders copy the same data.
struct Activity
{
    Common::Guid Id, ProfileId, ParentProcess, ParentActivity, InstanceId, PlanId, CommandId;
    std::string IdText, ProfileIdText, ParentProcessText, ParentActivityText, InstanceIdText, PlanIdText,
        CommandIdText;
    std::string UserName, Uid, Name, Description, Message, InstanceName, Specific, MessageId, MachineName,
        Tag1, Tag2;
    String WideUserName, WideUid, WideName, WideDescription, WideMessage, WideInstanceName, WideSpecific,
        WideMessageId, WideMachineName, WideTag1, WideTag2;
    std::uint32_t Status, State, Total, Current, PlanType, ProcessId, Code;
    std::uint64_t Created, Started, Finished, DmlTimeStamp, SourceMs, EncodingMs, DestinationMs;
    std::int64_t Timestamp, IssueTime;
    std::uint16_t SourcePercent, EncodingPercent, DestinationPercent;
};

std::vector<Activity> MakeActivities(std::size_t count);
Por::UnitPtr BuildActivity(const Activity& activity);
nlohmann::json BuildJsonActivity(const Activity& activity);

} // namespace Bench
