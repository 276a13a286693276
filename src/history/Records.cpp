#include "history/Records.h"

#include "por/serialize/Serialize.h"

namespace Tol
{

void ActivityOrigin::Serialize(Serialization::Serializer& serializer) const
{
    serializer.WriteTrait(u"Is", TypeName);
    Serialization::Write(serializer, u"ParentProcess", ParentProcess);
    Serialization::Write(serializer, u"ParentActivity", ParentActivity);
}

void ActivityOrigin::Deserialize(Serialization::Deserializer& deserializer)
{
    Serialization::TryRead(deserializer, u"ParentProcess", ParentProcess);
    Serialization::TryRead(deserializer, u"ParentActivity", ParentActivity);
}

void ActivityTimePeriod::Serialize(Serialization::Serializer& serializer) const
{
    serializer.WriteTrait(u"Is", TypeName);
    Serialization::Write(serializer, u"CreationTime", CreationTime);
    Serialization::Write(serializer, u"StartTime", StartTime);
    Serialization::Write(serializer, u"FinishTime", FinishTime);
}

void ActivityTimePeriod::Deserialize(Serialization::Deserializer& deserializer)
{
    Serialization::TryRead(deserializer, u"CreationTime", CreationTime);
    Serialization::TryRead(deserializer, u"StartTime", StartTime);
    Serialization::TryRead(deserializer, u"FinishTime", FinishTime);
}

} // namespace Tol

namespace Core
{

void User::Serialize(Serialization::Serializer& serializer) const
{
    serializer.WriteTrait(u"Is", TypeName);
    Serialization::Write(serializer, u"Name", Name);
    Serialization::Write(serializer, u"UID", UID);
    Serialization::Write(serializer, u"HasAdminPrivileges", HasAdminPrivileges);
    Serialization::Write(serializer, u"ProfileID", ProfileID);
}

void User::Deserialize(Serialization::Deserializer& deserializer)
{
    Serialization::TryRead(deserializer, u"Name", Name);
    Serialization::TryRead(deserializer, u"UID", UID);
    Serialization::TryRead(deserializer, u"HasAdminPrivileges", HasAdminPrivileges);
    Serialization::TryRead(deserializer, u"ProfileID", ProfileID);
}

} // namespace Core
