// AccessManagement::Facade::TolUserProfile: the profile of the user that a task-operation line holds, by the
// user's id.
#pragma once

#include "access/UserProfile.h"

namespace AccessManagement::Facade
{

class TolUserProfile : public UserProfile
{
public:
    // `line` is the user id as the line holds it (GUID text); throws 0x02760005 naming it when it spells no
    // user.
    TolUserProfile(const Runtime::ServiceHolder& holder, Common::WideStringView line);
};

} // namespace AccessManagement::Facade
