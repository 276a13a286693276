// Alerts::Detail::ActivityTimeoutInfo: what a not-responding watchdog alerts with when it fires. The
// watchdog's map holds it; its timer only watches it, so a timer dropped from the map finds it gone. A
// busy agent keeps one per running process, so it is kept small: the partial meta waits in its blob
// form, a fraction of the unit's size, and becomes a unit again only when the timer fires; the type is
// one of the module's constants; the tenant, empty for every inspector here, costs a null pointer.
#pragma once

#include "common/Guid.h"
#include "common/WideString.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Alerts::Detail
{

struct ActivityTimeoutInfo
{
    Common::Guid SubjectID;
    const char* Type = "";                              // lives as long as the process
    std::vector<std::uint8_t> PartialMeta;              // blob form
    std::unique_ptr<const Common::WideString> TenantID; // null for the empty tenant

    Common::WideString GetTenantID() const { return TenantID != nullptr ? *TenantID : Common::WideString(); }
};

} // namespace Alerts::Detail
