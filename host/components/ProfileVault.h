// Host::ProfileVault: the reference host's vault of secrets, in memory. Entries are kept per profile,
// type key and name, exactly as written (names compare exactly). Tests and scenarios set the passwords of
// a scope directly and may make an operation fail. Registered as component ProfileVaultId, it answers
// its cast table for AccessManagement::ProfileVault. Thread-safe.
#pragma once

#include "access/contract/ProfileVault.h"
#include "common/DynamicCaster.h"
#include "common/Error.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

namespace Host
{

class ProfileVault final : public AccessManagement::ProfileVault, public Common::DynamicCasterImpl
{
public:
    enum class Operation
    {
        Write,
        Read,
        Delete,
    };

    ProfileVault();

    void Write(const Common::Guid& profile, std::string_view typeKey,
               const AccessManagement::CredentialRecord& record, Common::WideStringView secret) override;
    bool Read(const Common::Guid& profile, std::string_view typeKey, Common::WideStringView name,
              std::uint32_t accessMode, AccessManagement::CredentialRecord& record,
              Common::WideString& secret) override;
    void Delete(const Common::Guid& profile, std::string_view typeKey, Common::WideStringView name) override;

    // The password of `scope` in `profile`: the scope's default entry (the empty name) with `password` as
    // its secret; an empty password removes the entry.
    void SetPassword(const Common::Guid& profile, std::string_view scope, Common::WideStringView password);

    // Every later call of `operation` throws `error` (success clears it) and changes nothing.
    void SetFailure(Operation operation, Common::Error error);

    // How many reads were asked for, failed ones included.
    std::size_t GetReadCount() const;

    // For the host's ProfileView: the same data without secrets.
    std::vector<std::string> ListKinds(const Common::Guid& profile) const;
    std::vector<AccessManagement::CredentialRecord> ListEntries(const Common::Guid& profile,
                                                                std::string_view typeKey) const;
    // Removes an entry as Delete does, but never fails: the view's failures are its own.
    void Erase(const Common::Guid& profile, std::string_view typeKey, Common::WideStringView name);

private:
    using Key = std::tuple<Common::Guid, std::string, Common::WideString>;
    struct Entry
    {
        AccessManagement::CredentialRecord Record;
        Common::WideString Secret;
    };

    void ThrowIfFailing(Operation operation) const;
    void Store(Key key, AccessManagement::CredentialRecord record, Common::WideStringView secret);

    mutable std::mutex Mutex;
    std::map<Key, Entry> Entries;
    std::map<Operation, Common::Error> Failures;
    std::size_t Reads = 0;
    std::size_t NextReference = 1;
};

} // namespace Host
