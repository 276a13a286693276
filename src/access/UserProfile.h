// AccessManagement::Facade::UserProfile: the profile of a user, and the base of the profiles made from a
// store line, a client session, a tenant or a temporary identity, which differ only in construction.
#pragma once

#include "access/ProfileBase.h"
#include "common/ErrorLocation.h"

namespace AccessManagement::Facade
{

class UserProfile : public ProfileBase
{
public:
    // Throws 0x02760006 naming `id` when it is none or the system's; 0x02760003 when the vault or the
    // view is missing from `holder`.
    UserProfile(const Runtime::ServiceHolder& holder, const Common::Guid& id);

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

protected:
    // Whether `id` may identify a user: neither none nor the system.
    static bool IsUserId(const Common::Guid& id);
    // The user id that `text` spells; throws input error `code` naming `text` when it spells none.
    static Common::Guid ParseUserId(Common::WideStringView text, std::uint32_t code,
                                    const Common::ErrorLocation& location);
};

} // namespace AccessManagement::Facade
