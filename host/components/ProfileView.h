// Host::ProfileView: the reference host's reader of profile data, over the entries of its ProfileVault
// and the user names set here. Registered as component ProfileViewId, it answers its cast table for
// AccessManagement::ProfileView. Tests may make every call fail. Thread-safe.
#pragma once

#include "access/contract/ProfileView.h"
#include "common/DynamicCaster.h"
#include "common/Error.h"

#include <map>
#include <mutex>

namespace Host
{

class ProfileVault;

class ProfileView final : public AccessManagement::ProfileView, public Common::DynamicCasterImpl
{
public:
    // `vault` must outlive the view.
    explicit ProfileView(ProfileVault& vault);

    std::vector<std::string> ListKinds(const Common::Guid& profile) override;
    std::vector<AccessManagement::CredentialRecord> ListEntries(const Common::Guid& profile,
                                                                std::string_view typeKey) override;
    Common::WideString GetUserName(const Common::Guid& profile) override;
    void DeleteEntry(const Common::Guid& profile, std::string_view typeKey,
                     Common::WideStringView name) override;

    void SetUserName(const Common::Guid& profile, Common::WideStringView name);

    // Every later call throws `error` (success clears it) and changes nothing.
    void SetFailure(Common::Error error);

private:
    void ThrowIfFailing() const;

    ProfileVault& Vault;
    mutable std::mutex Mutex;
    std::map<Common::Guid, Common::WideString> UserNames;
    Common::Error Failure;
};

} // namespace Host
