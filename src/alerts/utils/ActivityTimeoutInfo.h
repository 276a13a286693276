// Alerts::Detail::ActivityTimeoutInfo: what a not-responding watchdog alerts with when it fires. The
// watchdog's map holds it; its timer only watches it, so a timer dropped from the map finds it gone.
#pragma once

#include "common/Guid.h"
#include "common/WideString.h"
#include "por/Forward.h"

#include <string>

namespace Alerts::Detail
{

struct ActivityTimeoutInfo
{
    Common::Guid SubjectID;
    std::string Type;
    Por::ConstUnitPtr PartialMeta;
    Common::WideString TenantID;
};

} // namespace Alerts::Detail
