#include "access/TolUserProfile.h"

#include "access/ProfileErrors.h"

namespace AccessManagement::Facade
{

TolUserProfile::TolUserProfile(const Runtime::ServiceHolder& holder, Common::WideStringView line)
    : UserProfile(holder,
                  ParseUserId(line, ErrorCodes::InvalidTolUser,
                              COMMON_LOCATION("AccessManagement::Facade::TolUserProfile::TolUserProfile")))
{
}

} // namespace AccessManagement::Facade
