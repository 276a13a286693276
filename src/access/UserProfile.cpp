#include "access/UserProfile.h"

#include "access/ProfileErrors.h"
#include "access/contract/SystemProfileId.h"
#include "common/Guid.h"

namespace AccessManagement::Facade
{
namespace
{

const Common::Guid& ValidUserId(const Common::Guid& id)
{
    if (id == Common::NullGuid || id == SystemProfileId)
    {
        throw Errors::InvalidInput(COMMON_LOCATION("AccessManagement::Facade::UserProfile::UserProfile"),
                                   ErrorCodes::InvalidUser, Common::GuidToWideString(id));
    }
    return id;
}

} // namespace

UserProfile::UserProfile(const Runtime::ServiceHolder& holder, const Common::Guid& id)
    : ProfileBase(holder, ValidUserId(id))
{
}

bool UserProfile::IsUserId(const Common::Guid& id)
{
    return id != Common::NullGuid && id != SystemProfileId;
}

Common::Guid UserProfile::ParseUserId(Common::WideStringView text, std::uint32_t code,
                                      const Common::ErrorLocation& location)
{
    Common::Guid id;
    try
    {
        id = Core::ToGuid(Common::WideString(text));
    }
    catch (const Common::Error&)
    {
        throw Errors::InvalidInput(location, code, text);
    }
    if (!IsUserId(id))
    {
        throw Errors::InvalidInput(location, code, text);
    }
    return id;
}

Common::Guid UserProfile::GetId() const
{
    return ProfileId();
}

bool UserProfile::ReadCredential(std::string_view typeKey, Common::WideStringView name,
                                 CredentialRecord& record, Common::WideString& secret,
                                 std::uint32_t accessMode) const
{
    return Read(typeKey, name, record, secret, accessMode);
}

void UserProfile::StoreCredential(std::string_view typeKey, const CredentialRecord& record,
                                  Common::WideStringView secret)
{
    Store(typeKey, record, secret);
}

void UserProfile::ChangeCredential(std::string_view typeKey, Common::WideStringView name,
                                   const Common::Guid& id)
{
    Change(typeKey, name, id);
}

void UserProfile::DeleteCredential(std::string_view typeKey, Common::WideStringView name)
{
    Delete(typeKey, name);
}

bool UserProfile::GetPassword(std::string_view typeKey, std::uint32_t accessMode,
                              Common::WideString& password) const
{
    return ReadPassword(typeKey, accessMode, password);
}

std::vector<std::string> UserProfile::ListKinds() const
{
    return ReadKinds();
}

std::vector<CredentialRecord> UserProfile::ListCredentials(std::string_view typeKey) const
{
    return ReadEntries(typeKey);
}

Common::WideString UserProfile::GetUserName() const
{
    return ReadUserName();
}

} // namespace AccessManagement::Facade
