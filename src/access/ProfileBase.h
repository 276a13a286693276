// AccessManagement::Facade::ProfileBase: what every profile shares: the host's view and vault, taken
// from the component registry, and the profile's id. It implements the plain read and the existence
// check; the credential operations that SystemProfile and UserProfile expose run through its protected
// members, which wrap the services' failures in the profile's errors.
#pragma once

#include "access/AbstractProfile.h"

namespace Runtime
{
class ServiceHolder;
}

namespace AccessManagement
{
class ProfileVault;
class ProfileView;
} // namespace AccessManagement

namespace AccessManagement::Facade
{

class ProfileBase : public AbstractProfile
{
public:
    using AbstractProfile::ReadCredential;
    bool ReadCredential(std::string_view typeKey, Common::WideStringView name,
                        CredentialRecord& record) const override;

    // Tries the read: absence answers false, a failure of the vault is thrown (0x02760003).
    bool HasCredential(std::string_view typeKey, Common::WideStringView name) const override;

protected:
    // Takes the view (component ProfileViewId) and the vault (ProfileVaultId) from `holder`; a missing
    // one throws 0x02760003 with the registry's error as sub-error. The services must outlive the
    // profile.
    ProfileBase(const Runtime::ServiceHolder& holder, const Common::Guid& id);

    const Common::Guid& ProfileId() const { return Id; }

    bool Read(std::string_view typeKey, Common::WideStringView name, CredentialRecord& record,
              Common::WideString& secret, std::uint32_t accessMode) const;
    void Store(std::string_view typeKey, const CredentialRecord& record, Common::WideStringView secret);
    void Change(std::string_view typeKey, Common::WideStringView name, const Common::Guid& id);
    void Delete(std::string_view typeKey, Common::WideStringView name);
    bool ReadPassword(std::string_view typeKey, std::uint32_t accessMode, Common::WideString& password) const;
    std::vector<std::string> ReadKinds() const;
    std::vector<CredentialRecord> ReadEntries(std::string_view typeKey) const;
    Common::WideString ReadUserName() const;

private:
    ProfileView* View;
    ProfileVault* Vault;
    Common::Guid Id;
};

} // namespace AccessManagement::Facade
