#include "components/ProfileView.h"

#include "components/ProfileVault.h"

namespace Host
{

ProfileView::ProfileView(ProfileVault& vault) : Vault(vault)
{
    RegisterInterface<AccessManagement::ProfileView>(this);
}

void ProfileView::ThrowIfFailing() const
{
    std::lock_guard lock(Mutex);
    if (Failure.GetCode() != 0)
    {
        throw Failure;
    }
}

std::vector<std::string> ProfileView::ListKinds(const Common::Guid& profile)
{
    ThrowIfFailing();
    return Vault.ListKinds(profile);
}

std::vector<AccessManagement::CredentialRecord> ProfileView::ListEntries(const Common::Guid& profile,
                                                                         std::string_view typeKey)
{
    ThrowIfFailing();
    return Vault.ListEntries(profile, typeKey);
}

Common::WideString ProfileView::GetUserName(const Common::Guid& profile)
{
    ThrowIfFailing();
    std::lock_guard lock(Mutex);
    const auto found = UserNames.find(profile);
    return found != UserNames.end() ? found->second : Common::WideString();
}

void ProfileView::DeleteEntry(const Common::Guid& profile, std::string_view typeKey,
                              Common::WideStringView name)
{
    ThrowIfFailing();
    // The entry and its secret go together: the host keeps no entry without its vault record.
    Vault.Erase(profile, typeKey, name);
}

void ProfileView::SetUserName(const Common::Guid& profile, Common::WideStringView name)
{
    std::lock_guard lock(Mutex);
    UserNames.insert_or_assign(profile, Common::WideString(name));
}

void ProfileView::SetFailure(Common::Error error)
{
    std::lock_guard lock(Mutex);
    Failure = std::move(error);
}

} // namespace Host
