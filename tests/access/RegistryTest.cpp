// The registry as a configuration store: keys and values as the file gives them, and each failure
// with its code and system error.
#include "ConfigurationStoreFixture.h"
#include "common/Error.h"

#include <functional>

namespace
{

using Windows::Registry;

// The system error chained under what `call` threw, as its stored HRESULT; 0 when nothing was thrown.
std::uint64_t SystemError(const std::function<void()>& call, std::uint32_t expectedCode)
{
    try
    {
        call();
    }
    catch (const Common::Error& error)
    {
        EXPECT_EQ(error.GetCode(), expectedCode);
        EXPECT_EQ(error.GetSubError().GetCode(), Common::SystemErrorCode);
        return error.GetSubError().GetNumber("code");
    }
    ADD_FAILURE() << "no error thrown";
    return 0;
}

class RegistryTest : public ConfigurationStoreTest
{
};

TEST_F(RegistryTest, ReadsValuesOfAKeyAsTheFileGivesThem)
{
    WriteMachineStore("# product settings\r\n"
                      "rootValue = at the root\n"
                      "[SOFTWARE\\Veltrix\\GlobalComponents]\n"
                      "  libfoo.so = /opt/veltrix/lib/libfoo.so  \n"
                      "; a second section of the same key adds to it\n"
                      "[Software\\Other]\n"
                      "libfoo.so=elsewhere\n"
                      "[\\software\\veltrix\\globalcomponents\\]\n"
                      "Spaced=\"  kept  \"\n"
                      "@=default\n"
                      "repeated=first\n"
                      "REPEATED=last\n");
    Registry registry(Windows::HKeyLocalMachine);
    registry.Open(u"SOFTWARE\\Veltrix\\GlobalComponents");
    Common::WideString value;
    registry.GetString(value, u"LIBFOO.SO");
    EXPECT_EQ(value, u"/opt/veltrix/lib/libfoo.so");
    registry.GetString(value, u"spaced");
    EXPECT_EQ(value, u"  kept  ");
    registry.GetString(value, u"");
    EXPECT_EQ(value, u"default");
    registry.GetString(value, u"repeated");
    EXPECT_EQ(value, u"last");

    // A key with only keys below it exists, without values; the root key holds the lines before any key.
    registry.Open(u"SOFTWARE\\Veltrix");
    EXPECT_EQ(SystemError([&] { registry.GetString(value, u"libfoo.so"); }, 0x00141B59), 0x80070002u);
    registry.Open(u"");
    registry.GetString(value, u"rootValue");
    EXPECT_EQ(value, u"at the root");
}

TEST_F(RegistryTest, FailuresCarryTheirCodesAndSystemErrors)
{
    WriteMachineStore("[SOFTWARE\\Veltrix]\nname=value\n");
    Common::WideString value;
    Registry registry(Windows::HKeyLocalMachine);
    EXPECT_EQ(SystemError([&] { registry.GetString(value, u"name"); }, 0x00141B59), 0x80070006u);
    // A key whose name only begins like an existing one is another key.
    EXPECT_EQ(SystemError([&] { registry.Open(u"SOFTWARE\\Veltr"); }, 0x00141B58), 0x80070002u);
    EXPECT_EQ(SystemError([&] { registry.Open(u"SOFTWARE\\Veltrix\\Missing"); }, 0x00141B58), 0x80070002u);
    // A failed open leaves no key open, not the one opened before.
    registry.Open(u"SOFTWARE\\Veltrix");
    EXPECT_THROW(registry.Open(u"SOFTWARE\\Missing"), Common::Error);
    EXPECT_EQ(SystemError([&] { registry.GetString(value, u"name"); }, 0x00141B59), 0x80070006u);

    try
    {
        registry.Open(u"SOFTWARE\\Missing");
    }
    catch (const Common::Error& error)
    {
        EXPECT_EQ(error.GetMessage(), u"Cannot open registry key 'HKEY_LOCAL_MACHINE\\SOFTWARE\\Missing'.");
    }
    registry.Open(u"SOFTWARE\\Veltrix");
    try
    {
        registry.GetString(value, u"other");
    }
    catch (const Common::Error& error)
    {
        EXPECT_EQ(error.GetMessage(),
                  u"Cannot read registry value 'other' of key 'HKEY_LOCAL_MACHINE\\SOFTWARE\\Veltrix'.");
    }

    EXPECT_EQ(SystemError([] { Registry(0x80000009).Open(u"SOFTWARE"); }, 0x00141B58), 0x80070006u);
    EXPECT_EQ(SystemError([] { Registry(Windows::HKeyLocalMachine, Windows::KeySetValue).Open(u"SOFTWARE"); },
                          0x00141B58),
              0x80070005u);
    // No file for a root: its keys are missing, the root itself opens.
    EXPECT_EQ(SystemError([] { Registry(Windows::HKeyCurrentUser).Open(u"SOFTWARE"); }, 0x00141B58),
              0x80070002u);
    Registry(Windows::HKeyCurrentUser).Open(u"");

    WriteMachineStore("[SOFTWARE\\Veltrix]\nno equals sign\n");
    EXPECT_EQ(SystemError([&] { registry.Open(u"SOFTWARE\\Veltrix"); }, 0x00141B58), 0x800703F1u);
    WriteMachineStore("[SOFTWARE\\Veltrix\nname=value\n");
    EXPECT_EQ(SystemError([&] { registry.Open(u"SOFTWARE\\Veltrix"); }, 0x00141B58), 0x800703F1u);
}

TEST_F(RegistryTest, TheRootComesFromTheEnvironmentUnlessSet)
{
    Windows::SetConfigurationRoot("");
    ASSERT_EQ(setenv("VELTRIX_CONFIG_ROOT", Root.c_str(), 1), 0);
    EXPECT_EQ(Windows::GetConfigurationRoot(), Root);
    ASSERT_EQ(unsetenv("VELTRIX_CONFIG_ROOT"), 0);
    EXPECT_EQ(Windows::GetConfigurationRoot(), "/etc/veltrix");
    Windows::SetConfigurationRoot("/somewhere");
    EXPECT_EQ(Windows::GetConfigurationRoot(), "/somewhere");
}

} // namespace
