#include "access/TemporaryProfile.h"

#include "access/ProfileErrors.h"

namespace AccessManagement::Facade
{
namespace
{

Common::Guid NewId()
{
    Common::Guid id;
    Common::GenerateGuid(id);
    return id;
}

} // namespace

TemporaryProfile::TemporaryProfile(const Runtime::ServiceHolder& holder) : UserProfile(holder, NewId()) {}

TemporaryProfile::TemporaryProfile(const Runtime::ServiceHolder& holder, const Common::Guid& id)
    : UserProfile(holder,
                  IsUserId(id)
                      ? id
                      : throw Errors::InvalidInput(
                            COMMON_LOCATION("AccessManagement::Facade::TemporaryProfile::TemporaryProfile"),
                            ErrorCodes::UnsupportedCase))
{
}

} // namespace AccessManagement::Facade
