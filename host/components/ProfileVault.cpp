#include "components/ProfileVault.h"

#include "access/contract/CredentialScopes.h"

#include <string>

namespace Host
{

ProfileVault::ProfileVault()
{
    RegisterInterface<AccessManagement::ProfileVault>(this);
}

void ProfileVault::ThrowIfFailing(Operation operation) const
{
    const auto failure = Failures.find(operation);
    if (failure != Failures.end())
    {
        throw failure->second;
    }
}

void ProfileVault::Store(Key key, AccessManagement::CredentialRecord record, Common::WideStringView secret)
{
    // A reference names the stored secret only; a rewrite gets a new one, as a new secret would.
    record.SecretReference.clear();
    if (!secret.empty())
    {
        const std::string number = std::to_string(NextReference++);
        record.SecretReference = u"vault:" + Common::WideString(number.begin(), number.end());
    }
    Entries.insert_or_assign(std::move(key), Entry{std::move(record), Common::WideString(secret)});
}

void ProfileVault::Write(const Common::Guid& profile, std::string_view typeKey,
                         const AccessManagement::CredentialRecord& record, Common::WideStringView secret)
{
    std::lock_guard lock(Mutex);
    ThrowIfFailing(Operation::Write);
    Store(Key(profile, std::string(typeKey), record.Name), record, secret);
}

bool ProfileVault::Read(const Common::Guid& profile, std::string_view typeKey, Common::WideStringView name,
                        std::uint32_t accessMode, AccessManagement::CredentialRecord& record,
                        Common::WideString& secret)
{
    std::lock_guard lock(Mutex);
    ++Reads;
    ThrowIfFailing(Operation::Read);
    const auto found = Entries.find(Key(profile, std::string(typeKey), Common::WideString(name)));
    if (found == Entries.end())
    {
        return false;
    }
    record = found->second.Record;
    if ((accessMode & AccessManagement::AccessMode::Reveal) != 0)
    {
        secret = found->second.Secret;
    }
    return true;
}

void ProfileVault::Delete(const Common::Guid& profile, std::string_view typeKey, Common::WideStringView name)
{
    std::lock_guard lock(Mutex);
    ThrowIfFailing(Operation::Delete);
    Entries.erase(Key(profile, std::string(typeKey), Common::WideString(name)));
}

void ProfileVault::Erase(const Common::Guid& profile, std::string_view typeKey, Common::WideStringView name)
{
    std::lock_guard lock(Mutex);
    Entries.erase(Key(profile, std::string(typeKey), Common::WideString(name)));
}

void ProfileVault::SetPassword(const Common::Guid& profile, std::string_view scope,
                               Common::WideStringView password)
{
    std::lock_guard lock(Mutex);
    Key key(profile, std::string(scope), Common::WideString());
    if (password.empty())
    {
        Entries.erase(key);
        return;
    }
    Store(std::move(key), AccessManagement::CredentialRecord(), password);
}

void ProfileVault::SetFailure(Operation operation, Common::Error error)
{
    std::lock_guard lock(Mutex);
    if (error.GetCode() == 0)
    {
        Failures.erase(operation);
    }
    else
    {
        Failures.insert_or_assign(operation, std::move(error));
    }
}

std::size_t ProfileVault::GetReadCount() const
{
    std::lock_guard lock(Mutex);
    return Reads;
}

std::vector<std::string> ProfileVault::ListKinds(const Common::Guid& profile) const
{
    std::lock_guard lock(Mutex);
    std::vector<std::string> kinds;
    for (const auto& [key, entry] : Entries)
    {
        if (std::get<0>(key) == profile && (kinds.empty() || kinds.back() != std::get<1>(key)))
        {
            kinds.push_back(std::get<1>(key));
        }
    }
    return kinds;
}

std::vector<AccessManagement::CredentialRecord> ProfileVault::ListEntries(const Common::Guid& profile,
                                                                          std::string_view typeKey) const
{
    std::lock_guard lock(Mutex);
    std::vector<AccessManagement::CredentialRecord> records;
    for (const auto& [key, entry] : Entries)
    {
        if (std::get<0>(key) == profile && std::get<1>(key) == typeKey)
        {
            records.push_back(entry.Record);
        }
    }
    return records;
}

} // namespace Host
