#include "access/OperationalUserProfile.h"

#include "access/ProfileErrors.h"

namespace AccessManagement::Facade
{

OperationalUserProfile::OperationalUserProfile(const Runtime::ServiceHolder& holder,
                                               Common::WideStringView line)
    : UserProfile(
          holder,
          ParseUserId(
              line, ErrorCodes::InvalidOperationalUser,
              COMMON_LOCATION("AccessManagement::Facade::OperationalUserProfile::OperationalUserProfile")))
{
}

} // namespace AccessManagement::Facade
