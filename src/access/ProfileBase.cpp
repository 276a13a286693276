#include "access/ProfileBase.h"

#include "access/ProfileErrors.h"
#include "access/contract/CredentialScopes.h"
#include "access/contract/ProfileVault.h"
#include "access/contract/ProfileView.h"
#include "runtime/ServiceHolder.h"

namespace AccessManagement::Facade
{
namespace
{

template <typename Service>
Service* Resolve(const Runtime::ServiceHolder& holder, Runtime::ComponentId id, std::string_view name)
{
    try
    {
        return &holder.Require<Service>(id, name);
    }
    catch (const Common::Error& error)
    {
        throw Errors::CannotAccess(COMMON_LOCATION("AccessManagement::Facade::ProfileBase::ProfileBase"),
                                   error);
    }
}

} // namespace

ProfileBase::ProfileBase(const Runtime::ServiceHolder& holder, const Common::Guid& id)
    : View(Resolve<ProfileView>(holder, Runtime::ProfileViewId, "AccessManagement::ProfileView")),
      Vault(Resolve<ProfileVault>(holder, Runtime::ProfileVaultId, "AccessManagement::ProfileVault")), Id(id)
{
}

bool ProfileBase::ReadCredential(std::string_view typeKey, Common::WideStringView name,
                                 CredentialRecord& record) const
{
    Common::WideString unused;
    return ReadCredential(typeKey, name, record, unused, AccessMode::Read);
}

bool ProfileBase::HasCredential(std::string_view typeKey, Common::WideStringView name) const
{
    CredentialRecord record;
    return ReadCredential(typeKey, name, record);
}

bool ProfileBase::Read(std::string_view typeKey, Common::WideStringView name, CredentialRecord& record,
                       Common::WideString& secret, std::uint32_t accessMode) const
{
    try
    {
        return Vault->Read(Id, typeKey, name, accessMode, record, secret);
    }
    catch (const Common::Error& error)
    {
        throw Errors::CannotAccess(COMMON_LOCATION("AccessManagement::Facade::ProfileBase::Read"), error);
    }
}

void ProfileBase::Store(std::string_view typeKey, const CredentialRecord& record,
                        Common::WideStringView secret)
{
    try
    {
        Vault->Write(Id, typeKey, record, secret);
    }
    catch (const Common::Error& error)
    {
        throw Errors::CannotModify(COMMON_LOCATION("AccessManagement::Facade::ProfileBase::Store"), error);
    }
}

void ProfileBase::Change(std::string_view typeKey, Common::WideStringView name, const Common::Guid& id)
{
    try
    {
        // The entry keeps its user, secret and description; a new one starts empty under its name.
        CredentialRecord record;
        Common::WideString secret;
        if (!Vault->Read(Id, typeKey, name, AccessMode::ReadSecret, record, secret))
        {
            record.Name = Common::WideString(name);
        }
        if (id != Common::NullGuid)
        {
            record.Id = id;
            Vault->Write(Id, typeKey, record, secret);
        }
        else
        {
            View->DeleteEntry(Id, typeKey, name);
        }
    }
    catch (const Common::Error& error)
    {
        throw Errors::CannotModify(COMMON_LOCATION("AccessManagement::Facade::ProfileBase::Change"), error);
    }
}

void ProfileBase::Delete(std::string_view typeKey, Common::WideStringView name)
{
    try
    {
        Vault->Delete(Id, typeKey, name);
    }
    catch (const Common::Error& error)
    {
        throw Errors::CannotModify(COMMON_LOCATION("AccessManagement::Facade::ProfileBase::Delete"), error);
    }
}

bool ProfileBase::ReadPassword(std::string_view typeKey, std::uint32_t accessMode,
                               Common::WideString& password) const
{
    CredentialRecord record;
    Common::WideString secret;
    if (!Read(typeKey, Common::WideStringView(), record, secret, accessMode))
    {
        return false;
    }
    password = std::move(secret);
    return !record.SecretReference.empty();
}

std::vector<std::string> ProfileBase::ReadKinds() const
{
    try
    {
        return View->ListKinds(Id);
    }
    catch (const Common::Error& error)
    {
        throw Errors::CannotAccess(COMMON_LOCATION("AccessManagement::Facade::ProfileBase::ReadKinds"),
                                   error);
    }
}

std::vector<CredentialRecord> ProfileBase::ReadEntries(std::string_view typeKey) const
{
    try
    {
        return View->ListEntries(Id, typeKey);
    }
    catch (const Common::Error& error)
    {
        throw Errors::CannotAccess(COMMON_LOCATION("AccessManagement::Facade::ProfileBase::ReadEntries"),
                                   error);
    }
}

Common::WideString ProfileBase::ReadUserName() const
{
    try
    {
        return View->GetUserName(Id);
    }
    catch (const Common::Error& error)
    {
        throw Errors::CannotAccess(COMMON_LOCATION("AccessManagement::Facade::ProfileBase::ReadUserName"),
                                   error);
    }
}

} // namespace AccessManagement::Facade
