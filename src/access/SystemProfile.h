// AccessManagement::Facade::SystemProfile: the profile of the machine itself, under the constant
// SystemProfileId. This is the profile that keeps the machine's encryption password.
#pragma once

#include "access/ProfileBase.h"

namespace AccessManagement::Facade
{

class SystemProfile : public ProfileBase
{
public:
    // Takes the vault and the view from `holder` (0x02760003 when one is missing).
    explicit SystemProfile(const Runtime::ServiceHolder& holder);

    Common::Guid GetId() const override;
    using ProfileBase::ReadCredential;
    bool ReadCredential(std::string_view typeKey, Common::WideStringView name, CredentialRecord& record,
                        Common::WideString& secret, std::uint32_t accessMode) const override;
    void StoreCredential(std::string_view typeKey, const CredentialRecord& record,
                         Common::WideStringView secret) override;
    void ChangeCredential(std::string_view typeKey, Common::WideStringView name,
                          const Common::Guid& id) override;
    void DeleteCredential(std::string_view typeKey, Common::WideStringView name) override;
    bool GetPassword(std::string_view typeKey, std::uint32_t accessMode,
                     Common::WideString& password) const override;
    std::vector<std::string> ListKinds() const override;
    std::vector<CredentialRecord> ListCredentials(std::string_view typeKey) const override;
    Common::WideString GetUserName() const override;
};

} // namespace AccessManagement::Facade
