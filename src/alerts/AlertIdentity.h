// Alert identities. Every id is built with XorGuids from the guids of what the alert is about, so the
// same subject always gives the same id and a later event can clear the alert of an earlier one. An
// activity's id comes from its command, instance and plan; when one of them is missing a random guid
// stands in, and the id is marked incomplete: an alert under it can never be cleared automatically.
#pragma once

#include "common/Guid.h"
#include "por/Forward.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Alerts
{

// The exclusive or of two guids, field by field. Commutative, and XorGuids(XorGuids(a, b), b) == a,
// which lets a key be undone.
constexpr Common::Guid XorGuids(const Common::Guid& left, const Common::Guid& right)
{
    Common::Guid result;
    result.Data1 = left.Data1 ^ right.Data1;
    result.Data2 = static_cast<std::uint16_t>(left.Data2 ^ right.Data2);
    result.Data3 = static_cast<std::uint16_t>(left.Data3 ^ right.Data3);
    for (std::size_t i = 0; i < result.Data4.size(); ++i)
    {
        result.Data4[i] = static_cast<std::uint8_t>(left.Data4[i] ^ right.Data4[i]);
    }
    return result;
}

struct GeneratedAlertId
{
    Common::Guid Id;
    // False when a guid the id depends on was missing and a random one took its place.
    bool IsComplete = false;
};

// The id of an activity's alert from "Details"."CommandID", "Environment"."InstanceID" and
// "Environment"."ProtectionPlanID" (strict reads, misses logged under `addon`). For the two backup
// commands the id is instance ^ plan, so every run of a plan on an instance shares one alert and the
// command takes no part in completeness; for any other command it is instance ^ plan ^ command.
GeneratedAlertId GenerateAlertId(const Por::View::Unit& activity, std::string_view addon);

// The records for an incomplete id, at level 4: the alert goes out under the random-based `id`, or the
// deactivation is dropped.
void LogIncompleteIdOnActivate(const Common::Guid& id, const Por::View::Unit& activity);
void LogIncompleteIdOnDeactivate(const Por::View::Unit& activity);

} // namespace Alerts
