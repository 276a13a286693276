#include "access/PersistentProfile.h"

#include "access/ProfileErrors.h"

namespace AccessManagement::Facade
{

PersistentProfile::PersistentProfile(const Runtime::ServiceHolder& holder,
                                     Common::WideStringView clientSession)
    : UserProfile(holder, ParseUserId(clientSession, ErrorCodes::InvalidClientSession,
                                      COMMON_LOCATION(
                                          "AccessManagement::Facade::PersistentProfile::PersistentProfile")))
{
}

PersistentProfile::PersistentProfile(const Runtime::ServiceHolder& holder, const Common::Guid& id)
    : UserProfile(holder, id)
{
}

} // namespace AccessManagement::Facade
