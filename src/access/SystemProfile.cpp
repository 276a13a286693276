#include "access/SystemProfile.h"

#include "access/contract/SystemProfileId.h"

namespace AccessManagement::Facade
{

SystemProfile::SystemProfile(const Runtime::ServiceHolder& holder) : ProfileBase(holder, SystemProfileId) {}

Common::Guid SystemProfile::GetId() const
{
    return SystemProfileId;
}

bool SystemProfile::ReadCredential(std::string_view typeKey, Common::WideStringView name,
                                   CredentialRecord& record, Common::WideString& secret,
                                   std::uint32_t accessMode) const
{
    return Read(typeKey, name, record, secret, accessMode);
}

void SystemProfile::StoreCredential(std::string_view typeKey, const CredentialRecord& record,
                                    Common::WideStringView secret)
{
    Store(typeKey, record, secret);
}

void SystemProfile::ChangeCredential(std::string_view typeKey, Common::WideStringView name,
                                     const Common::Guid& id)
{
    Change(typeKey, name, id);
}

void SystemProfile::DeleteCredential(std::string_view typeKey, Common::WideStringView name)
{
    Delete(typeKey, name);
}

bool SystemProfile::GetPassword(std::string_view typeKey, std::uint32_t accessMode,
                                Common::WideString& password) const
{
    return ReadPassword(typeKey, accessMode, password);
}

std::vector<std::string> SystemProfile::ListKinds() const
{
    return ReadKinds();
}

std::vector<CredentialRecord> SystemProfile::ListCredentials(std::string_view typeKey) const
{
    return ReadEntries(typeKey);
}

Common::WideString SystemProfile::GetUserName() const
{
    return ReadUserName();
}

} // namespace AccessManagement::Facade
