#include "access/TenantProfile.h"

#include "access/ProfileErrors.h"

namespace AccessManagement::Facade
{

TenantProfile::TenantProfile(const Runtime::ServiceHolder& holder, Common::WideStringView tenant)
    : PersistentProfile(
          holder, ParseUserId(tenant, ErrorCodes::InvalidTenant,
                              COMMON_LOCATION("AccessManagement::Facade::TenantProfile::TenantProfile")))
{
}

} // namespace AccessManagement::Facade
