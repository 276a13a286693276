// AccessManagement::ProfileView: the host's reader of profile data, which never hands out secrets.
// Thread-safe in every implementation; failures are thrown as Common::Error.
#pragma once

#include "access/contract/CredentialRecord.h"
#include "common/Guid.h"
#include "common/NonCopyable.h"
#include "common/WideString.h"

#include <string>
#include <string_view>
#include <vector>

namespace AccessManagement
{

class ProfileView : Common::NonCopyable
{
public:
    virtual ~ProfileView();

    // The type keys under which `profile` has entries, in ascending order.
    virtual std::vector<std::string> ListKinds(const Common::Guid& profile) = 0;

    // The entries of `typeKey` in `profile`, by name, with their secret references but no secrets.
    virtual std::vector<CredentialRecord> ListEntries(const Common::Guid& profile,
                                                      std::string_view typeKey) = 0;

    // The name of the user the profile belongs to; empty when the host knows none.
    virtual Common::WideString GetUserName(const Common::Guid& profile) = 0;

    // Removes the entry `name` of `typeKey` from `profile`; an absent entry is no failure.
    virtual void DeleteEntry(const Common::Guid& profile, std::string_view typeKey,
                             Common::WideStringView name) = 0;
};

} // namespace AccessManagement
