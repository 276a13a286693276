// AccessManagement::Facade::TenantProfile: the persistent profile of a tenant, whose id is the tenant's.
#pragma once

#include "access/PersistentProfile.h"

namespace AccessManagement::Facade
{

class TenantProfile : public PersistentProfile
{
public:
    // `tenant` is the tenant's id (GUID text); throws 0x0276000B naming it when it spells none.
    TenantProfile(const Runtime::ServiceHolder& holder, Common::WideStringView tenant);
};

} // namespace AccessManagement::Facade
