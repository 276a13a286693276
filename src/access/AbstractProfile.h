// AccessManagement::Facade::AbstractProfile: the identity on whose behalf work runs (the system, a user,
// a tenant or a temporary identity) and the credentials kept for it. A profile's credentials are
// entries addressed by type key (CredentialScopes) and entry name; the empty name is a type key's
// default entry. Reads fail with 0x02760003, changes with 0x02760002, each carrying the host service's
// error as sub-error. A profile is used by one thread at a time; the services behind it are shared.
#pragma once

#include "access/contract/CredentialRecord.h"
#include "common/Guid.h"
#include "common/NonCopyable.h"
#include "common/WideString.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace AccessManagement::Facade
{

class AbstractProfile : Common::NonCopyable
{
public:
    virtual ~AbstractProfile();

    // The profile's id; all zero means none.
    virtual Common::Guid GetId() const = 0;

    // Reads the entry `name` of `typeKey` under `accessMode` (AccessMode bits); false when there is
    // none. `secret` receives the secret only under AccessMode::Reveal.
    virtual bool ReadCredential(std::string_view typeKey, Common::WideStringView name,
                                CredentialRecord& record, Common::WideString& secret,
                                std::uint32_t accessMode) const = 0;
    // The same under AccessMode::Read, without the secret.
    virtual bool ReadCredential(std::string_view typeKey, Common::WideStringView name,
                                CredentialRecord& record) const = 0;

    // Stores `record` as the entry `record.Name` of `typeKey` with `secret`.
    virtual void StoreCredential(std::string_view typeKey, const CredentialRecord& record,
                                 Common::WideStringView secret) = 0;

    // Points the entry `name` of `typeKey` at the credential `id`, keeping the rest of an existing entry;
    // an all-zero id removes the entry.
    virtual void ChangeCredential(std::string_view typeKey, Common::WideStringView name,
                                  const Common::Guid& id) = 0;

    // Removes the entry `name` of `typeKey` and its secret.
    virtual void DeleteCredential(std::string_view typeKey, Common::WideStringView name) = 0;

    // Whether `typeKey`'s default entry holds a password, and under AccessMode::Reveal the password.
    virtual bool GetPassword(std::string_view typeKey, std::uint32_t accessMode,
                             Common::WideString& password) const = 0;

    // The type keys that have entries.
    virtual std::vector<std::string> ListKinds() const = 0;

    // The entries of `typeKey`, without secrets.
    virtual std::vector<CredentialRecord> ListCredentials(std::string_view typeKey) const = 0;

    // The name of the profile's user.
    virtual Common::WideString GetUserName() const = 0;

    // Whether the entry `name` of `typeKey` exists.
    virtual bool HasCredential(std::string_view typeKey, Common::WideStringView name) const = 0;
};

} // namespace AccessManagement::Facade
