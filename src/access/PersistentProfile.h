// AccessManagement::Facade::PersistentProfile: the profile kept for a client session, whose id is the
// session's; the base of the tenant's profile.
#pragma once

#include "access/UserProfile.h"

namespace AccessManagement::Facade
{

class PersistentProfile : public UserProfile
{
public:
    // `clientSession` is the session's id (GUID text); throws 0x02760008 naming it when it spells none.
    PersistentProfile(const Runtime::ServiceHolder& holder, Common::WideStringView clientSession);

protected:
    // For kinds that validated their own input into `id`.
    PersistentProfile(const Runtime::ServiceHolder& holder, const Common::Guid& id);
};

} // namespace AccessManagement::Facade
