// AccessManagement::ProfileVault: the host's store of secrets. It keeps the credential entries of each
// profile, addressed by type key and entry name, together with their secrets. Implementations are
// shared by every thread of the process and must be thread-safe; failures are thrown as Common::Error.
#pragma once

#include "access/contract/CredentialRecord.h"
#include "common/Guid.h"
#include "common/NonCopyable.h"
#include "common/WideString.h"

#include <cstdint>
#include <string_view>

namespace AccessManagement
{

class ProfileVault : Common::NonCopyable
{
public:
    virtual ~ProfileVault();

    // Stores `record` as the entry `record.Name` of `typeKey` in `profile`, replacing an entry of that
    // name, with `secret` (an empty secret stores none). The vault sets the stored secret reference.
    virtual void Write(const Common::Guid& profile, std::string_view typeKey, const CredentialRecord& record,
                       Common::WideStringView secret) = 0;

    // The entry `name` of `typeKey` in `profile`; false, with `record` and `secret` untouched, when there
    // is none. `secret` is filled only when `accessMode` has AccessMode::Reveal.
    virtual bool Read(const Common::Guid& profile, std::string_view typeKey, Common::WideStringView name,
                      std::uint32_t accessMode, CredentialRecord& record, Common::WideString& secret) = 0;

    // Removes the entry and its secret; an absent entry is no failure.
    virtual void Delete(const Common::Guid& profile, std::string_view typeKey,
                        Common::WideStringView name) = 0;
};

} // namespace AccessManagement
