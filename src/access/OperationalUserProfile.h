// AccessManagement::Facade::OperationalUserProfile: the profile of the user that an operation runs for, as a
// store line holds the user's id.
#pragma once

#include "access/UserProfile.h"

namespace AccessManagement::Facade
{

class OperationalUserProfile : public UserProfile
{
public:
    // `line` is the user id as the line holds it (GUID text); throws 0x02760004 naming it when it spells no
    // user.
    OperationalUserProfile(const Runtime::ServiceHolder& holder, Common::WideStringView line);
};

} // namespace AccessManagement::Facade
