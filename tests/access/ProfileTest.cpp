// The profiles over the host's vault and view: the errors that wrap the services' failures, the change
// that deletes for an all-zero id, the constructors' validation and the password the encryption check
// asks for.
#include "access/OperationalUserProfile.h"
#include "access/PersistentProfile.h"
#include "access/ProfileErrors.h"
#include "access/SystemProfile.h"
#include "access/TemporaryProfile.h"
#include "access/TenantProfile.h"
#include "access/TolUserProfile.h"
#include "access/contract/CredentialScopes.h"
#include "access/contract/SystemProfileId.h"
#include "components/ProfileVault.h"
#include "components/ProfileView.h"
#include "runtime/ServiceHolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>

namespace
{

using namespace AccessManagement;
using namespace AccessManagement::Facade;

constexpr Common::Guid UserId{0x11111111, 0x2222, 0x3333, {4, 4, 5, 5, 5, 5, 5, 5}};
constexpr Common::Guid CredentialId{0xAAAAAAAA, 0xBBBB, 0xCCCC, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr std::uint32_t ServiceFailure = 0x01230045;

class Registry final : public Runtime::ComponentRegistry
{
public:
    explicit Registry(std::map<Runtime::ComponentId, Common::DynamicCaster*> components)
        : Components(std::move(components))
    {
    }

    Common::DynamicCaster* GetComponent(Runtime::ComponentId id) override
    {
        const auto found = Components.find(id);
        return found != Components.end() ? found->second : nullptr;
    }

    std::map<Runtime::ComponentId, Common::DynamicCaster*> Components;
};

Common::Error ServiceError()
{
    return Common::Error(COMMON_LOCATION("Test"), ServiceFailure, u"service failed");
}

// Runs `call` and returns what it threw; fails the test when it throws nothing.
Common::Error Thrown(const std::function<void()>& call)
{
    try
    {
        call();
    }
    catch (const Common::Error& error)
    {
        return error;
    }
    ADD_FAILURE() << "no error thrown";
    return Common::Success;
}

void ExpectWrapped(const Common::Error& error, std::uint32_t code, const char16_t* text)
{
    EXPECT_EQ(error.GetCode(), code);
    EXPECT_EQ(error.GetMessage(), text);
    EXPECT_EQ(error.GetSubError().GetCode(), ServiceFailure);
}

class ProfileTest : public ::testing::Test
{
protected:
    Host::ProfileVault Vault;
    Host::ProfileView View{Vault};
    Registry Components{{{Runtime::ProfileVaultId, &Vault}, {Runtime::ProfileViewId, &View}}};
    Runtime::ServiceHolder Holder{Components};
    UserProfile User{Holder, UserId};
};

TEST_F(ProfileTest, ServiceFailuresOfChangesAreCannotModifyAndOfReadsCannotAccess)
{
    CredentialRecord record;
    record.Name = u"share";
    Vault.SetFailure(Host::ProfileVault::Operation::Write, ServiceError());
    ExpectWrapped(Thrown([&] { User.StoreCredential(CredentialScopes::Location, record, u"pw"); }),
                  0x02760002, u"Cannot modify user profile.");
    ExpectWrapped(Thrown([&] { User.ChangeCredential(CredentialScopes::Location, u"share", CredentialId); }),
                  0x02760002, u"Cannot modify user profile.");
    Vault.SetFailure(Host::ProfileVault::Operation::Delete, ServiceError());
    ExpectWrapped(Thrown([&] { User.DeleteCredential(CredentialScopes::Location, u"share"); }), 0x02760002,
                  u"Cannot modify user profile.");

    Vault.SetFailure(Host::ProfileVault::Operation::Read, ServiceError());
    Common::WideString password;
    ExpectWrapped(Thrown([&] { User.ReadCredential(CredentialScopes::Location, u"share", record); }),
                  0x02760003, u"Cannot get access to the user profile.");
    // The existence check reads, and a vault that can't answer is not an absent entry.
    ExpectWrapped(Thrown([&] { User.HasCredential(CredentialScopes::Location, u"share"); }), 0x02760003,
                  u"Cannot get access to the user profile.");
    ExpectWrapped(
        Thrown([&] { User.GetPassword(CredentialScopes::AnyArchive, AccessMode::ReadSecret, password); }),
        0x02760003, u"Cannot get access to the user profile.");
    // The change reads first: its read failure is a failed change.
    ExpectWrapped(Thrown([&] { User.ChangeCredential(CredentialScopes::Location, u"share", CredentialId); }),
                  0x02760002, u"Cannot modify user profile.");

    View.SetFailure(ServiceError());
    ExpectWrapped(Thrown([&] { User.ListKinds(); }), 0x02760003, u"Cannot get access to the user profile.");
    ExpectWrapped(Thrown([&] { User.ListCredentials(CredentialScopes::Location); }), 0x02760003,
                  u"Cannot get access to the user profile.");
    ExpectWrapped(Thrown([&] { User.GetUserName(); }), 0x02760003, u"Cannot get access to the user profile.");
}

TEST_F(ProfileTest, ChangeKeepsTheEntryUnderANewIdAndAllZeroDeletesThroughTheView)
{
    CredentialRecord record;
    record.Name = u"share";
    record.User = u"backup";
    record.Description = u"nightly";
    User.StoreCredential(CredentialScopes::Location, record, u"secret");

    User.ChangeCredential(CredentialScopes::Location, u"share", CredentialId);
    CredentialRecord read;
    Common::WideString secret;
    ASSERT_TRUE(
        User.ReadCredential(CredentialScopes::Location, u"share", read, secret, AccessMode::ReadSecret));
    EXPECT_EQ(read.Id, CredentialId);
    EXPECT_EQ(read.User, u"backup");
    EXPECT_EQ(read.Description, u"nightly");
    EXPECT_EQ(read.Flag, 0x7FFFFFFFu);
    EXPECT_EQ(secret, u"secret");

    // A change of an entry that isn't there makes it.
    User.ChangeCredential(CredentialScopes::Ldap, u"directory", CredentialId);
    EXPECT_TRUE(User.HasCredential(CredentialScopes::Ldap, u"directory"));

    // The delete goes through the view: the vault's delete may fail, the view's may not.
    Vault.SetFailure(Host::ProfileVault::Operation::Delete, ServiceError());
    View.SetFailure(ServiceError());
    ExpectWrapped(
        Thrown([&] { User.ChangeCredential(CredentialScopes::Location, u"share", Common::NullGuid); }),
        0x02760002, u"Cannot modify user profile.");
    EXPECT_TRUE(User.HasCredential(CredentialScopes::Location, u"share"));
    View.SetFailure(Common::Success);
    User.ChangeCredential(CredentialScopes::Location, u"share", Common::NullGuid);
    EXPECT_FALSE(User.HasCredential(CredentialScopes::Location, u"share"));
    EXPECT_EQ(User.ListKinds(), std::vector<std::string>{"ldap"});
}

TEST_F(ProfileTest, TheEncryptionPasswordIsTheSystemsAnyArchiveDefaultEntry)
{
    SystemProfile system(Holder);
    EXPECT_EQ(system.GetId(), SystemProfileId);
    Common::WideString password = u"left";
    EXPECT_FALSE(system.GetPassword(CredentialScopes::AnyArchive, AccessMode::ReadSecret, password));
    EXPECT_EQ(password, u"left");

    // Another profile's or another scope's password is not the system's.
    Vault.SetPassword(UserId, CredentialScopes::AnyArchive, u"user's");
    Vault.SetPassword(SystemProfileId, CredentialScopes::Archive, u"archive's");
    EXPECT_FALSE(system.GetPassword(CredentialScopes::AnyArchive, 6, password));

    Vault.SetPassword(SystemProfileId, CredentialScopes::AnyArchive, u"p@ss");
    EXPECT_TRUE(system.GetPassword(CredentialScopes::AnyArchive, 6, password));
    EXPECT_EQ(password, u"p@ss");
    // Without the right to reveal it the answer stays, the text doesn't come.
    Common::WideString hidden;
    EXPECT_TRUE(system.GetPassword(CredentialScopes::AnyArchive, AccessMode::Read, hidden));
    EXPECT_TRUE(hidden.empty());

    Vault.SetPassword(SystemProfileId, CredentialScopes::AnyArchive, u"");
    EXPECT_FALSE(system.GetPassword(CredentialScopes::AnyArchive, 6, password));
}

TEST_F(ProfileTest, ListsAndUserNameAreTheProfilesOwn)
{
    CredentialRecord stored;
    stored.Name = u"b";
    stored.Id = CredentialId;
    User.StoreCredential(CredentialScopes::MsSql, stored, u"x");
    User.StoreCredential(CredentialScopes::EsxRoot, stored, u"y");
    stored.Name = u"a";
    User.StoreCredential(CredentialScopes::MsSql, stored, u"");
    View.SetUserName(UserId, u"alice");

    EXPECT_EQ(User.ListKinds(), (std::vector<std::string>{"esx_root", "ms_sql"}));
    const std::vector<CredentialRecord> entries = User.ListCredentials(CredentialScopes::MsSql);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].Name, u"a");
    EXPECT_TRUE(entries[0].SecretReference.empty());
    EXPECT_EQ(entries[1].Name, u"b");
    EXPECT_FALSE(entries[1].SecretReference.empty());
    EXPECT_EQ(User.GetUserName(), u"alice");

    const SystemProfile system(Holder);
    EXPECT_TRUE(system.ListKinds().empty());
    EXPECT_TRUE(system.GetUserName().empty());
}

struct InvalidInput
{
    const char* Kind;
    std::function<void(const Runtime::ServiceHolder&)> Make;
    std::uint32_t Code;
    const char16_t* Text;
};

TEST_F(ProfileTest, ConstructorsRefuseWhatIdentifiesNoUser)
{
    const Common::WideString system = Common::GuidToWideString(SystemProfileId);
    const InvalidInput cases[] = {
        {"user none", [](auto& h) { (void)UserProfile(h, Common::NullGuid); }, 0x02760006,
         u"Given user profile '00000000-0000-0000-0000-000000000000' is not valid for access management."},
        {"user system", [](auto& h) { (void)UserProfile(h, SystemProfileId); }, 0x02760006,
         u"Given user profile '0C4C0D22-3F4B-4E0C-9B64-53595354454D' is not valid for access management."},
        {"operational", [](auto& h) { (void)OperationalUserProfile(h, u"line 7"); }, 0x02760004,
         u"Operational user profile being hold at line 'line 7' is not valid for access management."},
        {"tol", [](auto& h) { (void)TolUserProfile(h, u"00000000-0000-0000-0000-000000000000"); }, 0x02760005,
         u"TOL user profile being hold at line '00000000-0000-0000-0000-000000000000' is not valid for "
         u"access "
         u"management."},
        {"session", [](auto& h) { (void)PersistentProfile(h, u""); }, 0x02760008,
         u"Given client session '' is not valid for access management."},
        {"tenant", [&](auto& h) { (void)TenantProfile(h, system); }, 0x0276000B,
         u"Given tenant '0C4C0D22-3F4B-4E0C-9B64-53595354454D' is not valid for access management."},
        {"temporary", [](auto& h) { (void)TemporaryProfile(h, Common::NullGuid); }, 0x02760007,
         u"The case is not supported."},
    };
    for (const InvalidInput& test : cases)
    {
        const Common::Error error = Thrown([&] { test.Make(Holder); });
        EXPECT_EQ(error.GetCode(), test.Code) << test.Kind;
        EXPECT_EQ(error.GetMessage(), test.Text) << test.Kind;
    }

    const Common::WideString user = u"11111111-2222-3333-0404-050505050505";
    EXPECT_EQ(OperationalUserProfile(Holder, user).GetId(), UserId);
    EXPECT_EQ(TolUserProfile(Holder, user).GetId(), UserId);
    EXPECT_EQ(PersistentProfile(Holder, user).GetId(), UserId);
    EXPECT_EQ(TenantProfile(Holder, user).GetId(), UserId);
    EXPECT_EQ(TemporaryProfile(Holder, UserId).GetId(), UserId);
    const TemporaryProfile fresh(Holder);
    EXPECT_NE(fresh.GetId(), Common::NullGuid);
    EXPECT_NE(fresh.GetId(), TemporaryProfile(Holder).GetId());
}

TEST_F(ProfileTest, AMissingServiceMakesNoProfile)
{
    Components.Components.erase(Runtime::ProfileViewId);
    const Common::Error error = Thrown([&] { SystemProfile profile(Holder); });
    EXPECT_EQ(error.GetCode(), 0x02760003u);
    EXPECT_EQ(error.GetSubError().GetCode(), 0x00AC0002u);
}

} // namespace
