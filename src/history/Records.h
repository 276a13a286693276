// The plain records an activity holds: Tol::ActivityOrigin, Tol::ActivityTimePeriod and Core::User.
// They are not plain objects: each writes itself through the serialisation contract as a flat
// composite marked "Is" with its type name, fields in declaration order, and reads back whatever
// fields are present (older writers may lack some), so a missing field keeps its default.
#pragma once

#include "common/Guid.h"
#include "common/WideString.h"
#include "por/serialize/Deserializer.h"
#include "por/serialize/Serializer.h"

#include <cstdint>

namespace Tol
{

// The place of an activity in the tree of activities.
struct ActivityOrigin
{
    static constexpr const char16_t* TypeName = u"Tol::ActivityOrigin";

    Common::Guid ParentProcess{};
    Common::Guid ParentActivity{};

    void Serialize(Serialization::Serializer& serializer) const;
    void Deserialize(Serialization::Deserializer& deserializer);
    friend bool operator==(const ActivityOrigin&, const ActivityOrigin&) = default;
};

// The times of an activity; their epoch and unit belong to the activities' writers.
struct ActivityTimePeriod
{
    static constexpr const char16_t* TypeName = u"Tol::ActivityTimePeriod";

    std::int64_t CreationTime = 0;
    std::int64_t StartTime = 0;
    std::int64_t FinishTime = 0;

    void Serialize(Serialization::Serializer& serializer) const;
    void Deserialize(Serialization::Deserializer& deserializer);
    friend bool operator==(const ActivityTimePeriod&, const ActivityTimePeriod&) = default;
};

} // namespace Tol

namespace Core
{

// Who runs an activity.
struct User
{
    static constexpr const char16_t* TypeName = u"Core::User";

    Common::WideString Name;
    Common::WideString UID;
    bool HasAdminPrivileges = false;
    Common::Guid ProfileID{};

    void Serialize(Serialization::Serializer& serializer) const;
    void Deserialize(Serialization::Deserializer& deserializer);
    friend bool operator==(const User&, const User&) = default;
};

} // namespace Core
