// The search for dependent libraries: the first key before the second, the default search when
// neither names the library, and the loader's failures with their codes, parameters and system errors.
#include "access/DelayLoad.h"

#include "ConfigurationStoreFixture.h"
#include "common/Error.h"

#include <dlfcn.h>

#include <functional>
#include <string>

namespace
{

namespace DelayLoad = Windows::DelayLoad;

// Closes a handle the test got.
struct Module
{
    explicit Module(void* handle) : Handle(handle) {}
    ~Module()
    {
        if (Handle != nullptr)
        {
            dlclose(Handle);
        }
    }
    void* Handle;
};

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

class DelayLoadTest : public ConfigurationStoreTest
{
protected:
    void Configure(const std::string& global, const std::string& common)
    {
        WriteMachineStore("[Software\\Veltrix\\GlobalComponents]\n" + global +
                          "\n[Software\\Veltrix\\BackupAndRecovery\\CommonComponents]\n" + common + "\n");
    }
};

TEST_F(DelayLoadTest, ALibraryFoundUnderTheFirstKeyIsNotLookedUpUnderTheSecond)
{
    // Loading the second key's path would fail.
    Configure("libm.so.6=libm.so.6", "libm.so.6=/nonexistent/libm.so.6\nlibz.so=/opt/libz.so");
    EXPECT_EQ(DelayLoad::FindConfiguredPath("libm.so.6"), u"libm.so.6");
    const Module module(DelayLoad::LoadConfigured("libm.so.6"));
    EXPECT_NE(module.Handle, nullptr);
    EXPECT_EQ(DelayLoad::FindConfiguredPath("libz.so"), u"/opt/libz.so");
    EXPECT_EQ(DelayLoad::FindConfiguredPath("libother.so"), u"");
}

TEST_F(DelayLoadTest, AnUnconfiguredLibraryIsLeftToTheDefaultSearch)
{
    Configure("", "");
    EXPECT_EQ(DelayLoad::LoadConfigured("libm.so.6"), nullptr);
    const Module module(DelayLoad::Load("libm.so.6"));
    ASSERT_NE(module.Handle, nullptr);
    EXPECT_NE(DelayLoad::GetFunction(module.Handle, "libm.so.6", "cos"), nullptr);

    // No store at all is the same as a store that names nothing.
    std::filesystem::remove(Root + "/HKEY_LOCAL_MACHINE.conf");
    EXPECT_EQ(DelayLoad::LoadConfigured("libm.so.6"), nullptr);
}

TEST_F(DelayLoadTest, FailedLoadsThrowWithTheLibraryAndTheSystemError)
{
    WriteFile("not-a-library.so", "text");
    Configure("libmissing.so=/nonexistent/dir/libmissing.so\nlibtext.so=" + Root + "/not-a-library.so", "");
    const struct
    {
        const char* Library;
        std::uint64_t SystemError;
    } cases[] = {
        {"libmissing.so", 0x8007007E},        // configured, no such file
        {"libtext.so", 0x800700C1},           // configured, not a library
        {"libveltrix-none.so.1", 0x8007007E}, // the default search finds nothing
    };
    for (const auto& test : cases)
    {
        const Common::Error error = Thrown([&] { DelayLoad::Load(test.Library); });
        EXPECT_EQ(error.GetCode(), 0x001410A1u) << test.Library;
        EXPECT_STREQ(error.GetKeys(), "path,$module");
        EXPECT_STREQ(error.GetString("path"), test.Library);
        EXPECT_STREQ(error.GetLineTag().Function, "`anonymous-namespace'::FailureHook");
        EXPECT_EQ(error.GetSubError().GetCode(), Common::SystemErrorCode);
        EXPECT_EQ(error.GetSubError().GetNumber("code"), test.SystemError) << test.Library;
    }
    // The loader's own words name the path it tried.
    const Common::WideString message =
        Thrown([] { DelayLoad::LoadConfigured("libmissing.so"); }).GetMessage();
    EXPECT_EQ(message.rfind(u"Cannot load library 'libmissing.so': ", 0), 0u);
    EXPECT_NE(message.find(u"/nonexistent/dir/libmissing.so"), Common::WideString::npos);
}

TEST_F(DelayLoadTest, AMissingFunctionThrowsWithLibraryAndFunction)
{
    const Module module(DelayLoad::Load("libm.so.6"));
    const Common::Error error =
        Thrown([&] { DelayLoad::GetFunction(module.Handle, "libm.so.6", "no_such_function"); });
    EXPECT_EQ(error.GetCode(), 0x001410A2u);
    EXPECT_STREQ(error.GetKeys(), "path,function,$module");
    EXPECT_STREQ(error.GetString("path"), "libm.so.6");
    EXPECT_STREQ(error.GetString("function"), "no_such_function");
    EXPECT_EQ(error.GetSubError().GetNumber("code"), 0x8007007Fu);
}

} // namespace
