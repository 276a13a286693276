#include "common/Trace.h"

#include "AssertCapture.h"
#include "Platform/Logging.h"
#include "common/Error.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Common::Error;
using Common::TraceContext;
using Common::WideStringView;

// What the sinks and stubs of a test saw, in order; the stubs are plain functions, so it is global.
std::vector<std::string> Calls;
using Strings = std::vector<std::string>;

std::string Describe(const char* who, int level, std::uint32_t area, std::uint32_t code, WideStringView text,
                     const char* file = nullptr, unsigned line = 0)
{
    char head[64];
    std::snprintf(head, sizeof head, "%s %d %X.%X ", who, level, area, code);
    const std::string site = file != nullptr ? " @" + std::string(file) + ":" + std::to_string(line) : "";
    return head + std::string(text.begin(), text.end()) + site;
}

// A sink written the usual way: it implements the plain forms only.
class RecordingSink : public Common::TraceLogic
{
public:
    RecordingSink(const char* name, bool forced = false) : Name(name), Forced(forced) {}

    using TraceLogic::TraceError;
    using TraceLogic::TraceFile;
    using TraceLogic::TraceText;

    void TraceText(int level, std::uint32_t area, std::uint32_t code, WideStringView text) override
    {
        Calls.push_back(Describe(Name, level, area, code, text));
    }
    void TraceFile(int level, std::uint32_t area, std::uint32_t code, WideStringView text, const char* file,
                   unsigned line) override
    {
        Calls.push_back(Describe(Name, level, area, code, text, file, line));
    }
    void TraceError(int level, const Error& error) override
    {
        Calls.push_back(Describe(Name, level, error.GetCode(), 0, error.GetMessage()));
    }
    bool IsForced() const override { return Forced; }

private:
    const char* Name;
    bool Forced;
};

void StubText(int level, std::uint32_t area, std::uint32_t code, WideStringView text)
{
    Calls.push_back(Describe("stub", level, area, code, text));
}

void StubFile(int level, std::uint32_t area, std::uint32_t code, WideStringView text, const char* file,
              unsigned line)
{
    Calls.push_back(Describe("stub-file", level, area, code, text, file, line));
}

void StubError(int level, const Error& error)
{
    Calls.push_back(Describe("stub-error", level, error.GetCode(), 0, error.GetMessage()));
}

TraceContext SeenContext = nullptr;

void ContextStubText(TraceContext context, int level, std::uint32_t area, std::uint32_t code,
                     WideStringView text)
{
    SeenContext = context;
    Calls.push_back(Describe("context-stub", level, area, code, text));
}

// Captures the default output in two temporary files and puts every setting back afterwards.
class TraceTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Calls.clear();
        SeenContext = nullptr;
        Common::Detail::SetTraceOutputStreams(Out, Err);
    }

    void TearDown() override
    {
        Common::Detail::SetTraceOutputStreams(nullptr, nullptr);
        Common::SetTraceThreshold(SavedThreshold);
        Common::SetTraceOutputOptions(SavedOptions);
        Common::SetDefaultOutputDisabled(SavedDisabled);
        std::fclose(Out);
        std::fclose(Err);
    }

    // Everything written so far, emptying the file. The trace writes to the descriptor, so read it there.
    static std::string Take(std::FILE* file)
    {
        const int descriptor = fileno(file);
        std::string text;
        char buffer[4096];
        for (ssize_t size;
             (size = pread(descriptor, buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0;)
        {
            text.append(buffer, static_cast<std::size_t>(size));
        }
        EXPECT_EQ(ftruncate(descriptor, 0), 0);
        EXPECT_EQ(lseek(descriptor, 0, SEEK_SET), 0);
        return text;
    }

    std::FILE* Out = std::tmpfile();
    std::FILE* Err = std::tmpfile();

private:
    int SavedThreshold = Common::GetTraceThreshold();
    std::uint32_t SavedOptions = Common::GetTraceOutputOptions();
    bool SavedDisabled = Common::IsDefaultOutputDisabled();
};

TEST_F(TraceTest, DefaultOutputComesFirstThenSinksInRegistrationOrderThenStubs)
{
    // A sink that notes whether the default output had been written when it was called.
    struct Witness : RecordingSink
    {
        Witness(std::FILE* out) : RecordingSink("witness"), Out(out) {}
        using TraceLogic::TraceText;
        void TraceText(int, std::uint32_t, std::uint32_t, WideStringView) override
        {
            Calls.push_back(Take(Out) == "I00000001:hello\n" ? "witness after output" : "witness first");
        }
        std::FILE* Out;
    };
    Witness witness(Out);
    RecordingSink second("second");
    const Common::TraceFunctions stub{StubText, nullptr, nullptr};
    Common::RegisterTrace(stub); // registered first, still called after the sinks
    Common::RegisterTraceLogic(&witness);
    Common::RegisterTraceLogic(&second);
    Common::RegisterTraceLogic(&witness); // a second registration changes nothing

    Common::TraceText(2, 0, 1, u"hello");

    Common::UnregisterTraceLogic(&second);
    Common::UnregisterTraceLogic(&witness);
    Common::UnregisterTrace(stub);
    EXPECT_EQ(Calls, (Strings{"witness after output", "second 2 0.1 hello", "stub 2 0.1 hello"}));
}

TEST_F(TraceTest, ThresholdForcedSinksAndDisabledOutputDecideWhoSeesAMessage)
{
    ASSERT_EQ(Common::GetTraceThreshold(), 2);
    RecordingSink plain("plain");
    RecordingSink forced("forced", true);
    const Common::TraceFunctions stub{StubText, nullptr, nullptr};
    Common::RegisterTraceLogic(&plain);
    Common::RegisterTraceLogic(&forced);
    Common::RegisterTrace(stub);

    // Below the threshold only forced sinks hear, in every form.
    Common::TraceText(1, 0, 1, u"debug");
    Common::TraceFile(1, 0, 2, u"debug", "f.cpp", 3);
    Common::TraceError(1, Error(COMMON_LOCATION("Test"), 0x00FA0001, u"debug"));
    EXPECT_EQ(Take(Out) + Take(Err), "");
    EXPECT_EQ(Calls,
              (Strings{"forced 1 0.1 debug", "forced 1 0.2 debug @f.cpp:3", "forced 1 FA0001.0 debug"}));

    Calls.clear();
    Common::SetTraceThreshold(4);
    Common::TraceText(3, 0, 1, u"below");
    EXPECT_EQ(Take(Err), "");
    Common::TraceText(4, 0, 2, u"at");
    EXPECT_EQ(Take(Err), "E00000002:at\n");
    EXPECT_EQ(Calls, (Strings{"forced 3 0.1 below", "plain 4 0.2 at", "forced 4 0.2 at", "stub 4 0.2 at"}));

    Calls.clear();
    Common::SetTraceThreshold(1);
    Common::SetDefaultOutputDisabled(true);
    Common::TraceText(1, 0, 3, u"quiet");
    EXPECT_EQ(Take(Out), "");
    EXPECT_EQ(Calls, (Strings{"plain 1 0.3 quiet", "forced 1 0.3 quiet", "stub 1 0.3 quiet"}));

    Common::UnregisterTrace(stub);
    Common::UnregisterTraceLogic(&forced);
    Common::UnregisterTraceLogic(&plain);
}

// A stub without file or error function gets those traces as text; a context stub gets the caller's context.
TEST_F(TraceTest, StubsFallBackToTheirTextFunctionAndTheBasesContextFormsReachThePlainForms)
{
    Common::SetDefaultOutputDisabled(true);
    const Common::TraceFunctions textOnly{StubText, nullptr, nullptr};
    Common::RegisterTrace(textOnly);
    Common::TraceError(4, Error(COMMON_LOCATION("Test"), 0x011A0012, u"read failed"));
    Common::TraceFile(3, 0x11A, 0x10, u"in file", "a.cpp", 7);
    // Registering the same text function again completes the stub.
    const Common::TraceFunctions complete{StubText, StubFile, StubError};
    Common::RegisterTrace(complete);
    Common::TraceError(4, Error(COMMON_LOCATION("Test"), 0x011A0012, u"read failed"));
    Common::TraceFile(3, 0x11A, 0x10, u"in file", "a.cpp", 7);
    Common::UnregisterTrace(complete);
    EXPECT_EQ(Calls, (Strings{"stub 4 11A.12 read failed", "stub 3 11A.10 in file",
                              "stub-error 4 11A0012.0 read failed", "stub-file 3 11A.10 in file @a.cpp:7"}));

    Calls.clear();
    Logging_Context* channel = Logging_GetContext("alerts");
    const Common::ContextTraceFunctions stub{ContextStubText, nullptr, nullptr};
    Common::RegisterTrace(stub);
    Common::TraceError(channel, 4, Error(COMMON_LOCATION("Test"), 0x011A0011, u"timer"));
    EXPECT_EQ(SeenContext, channel);
    Common::TraceText(2, 1, 2, u"plain");
    EXPECT_EQ(SeenContext, nullptr);
    Common::UnregisterTrace(stub);

    RecordingSink sink("sink");
    Common::TraceLogic& logic = sink;
    logic.TraceText(channel, 2, 0, 1, u"text");
    logic.TraceFile(channel, 2, 0, 2, u"file", "b.cpp", 9);
    logic.TraceError(channel, 4, Error(COMMON_LOCATION("Test"), 0x00FA0003, u"error"));
    Common::RegisterTraceLogic(&sink);
    Common::TraceText(channel, 2, 0, 4, u"through the trace");
    Common::UnregisterTraceLogic(&sink);

    EXPECT_EQ(Calls,
              (Strings{"context-stub 4 11A.11 timer", "context-stub 2 1.2 plain", "sink 2 0.1 text",
                       "sink 2 0.2 file @b.cpp:9", "sink 4 FA0003.0 error", "sink 2 0.4 through the trace"}));
}

TEST_F(TraceTest, CompositeLivesWhileAnythingIsRegisteredAndAStubWithoutTextFunctionIsRefused)
{
    ASSERT_FALSE(Common::Detail::HasTraceComposite());
    RecordingSink sink("sink");
    const Common::TraceFunctions stub{StubText, nullptr, nullptr};

    Common::UnregisterTraceLogic(&sink); // unknown: nothing happens
    EXPECT_FALSE(Common::Detail::HasTraceComposite());
    Common::RegisterTraceLogic(&sink);
    EXPECT_TRUE(Common::Detail::HasTraceComposite());
    Common::RegisterTrace(stub);
    Common::UnregisterTraceLogic(&sink);
    EXPECT_TRUE(Common::Detail::HasTraceComposite());
    Common::UnregisterTrace(stub);
    EXPECT_FALSE(Common::Detail::HasTraceComposite());

    Testing::AssertCapture capture; // a null text function is a broken invariant
    Common::RegisterTrace(Common::TraceFunctions{nullptr, StubFile, StubError});
    Common::RegisterTrace(Common::ContextTraceFunctions{});
    EXPECT_EQ(capture.Expressions(), (Strings{"func", "func"}));
    EXPECT_FALSE(Common::Detail::HasTraceComposite());

    Common::SetDefaultOutputDisabled(true);
    Common::TraceText(4, 0, 1, u"nobody listens");
    EXPECT_TRUE(Calls.empty());
}

TEST_F(TraceTest, DefaultOutputLineHasLetterCodeAndTextOnTheStreamOfItsLevel)
{
    Common::SetTraceThreshold(INT_MIN);
    const struct
    {
        int Level;
        const char* Expected;
        bool ToErr;
    } cases[] = {
        {-1, "?00000001:x\n", false}, {0, "?00000001:x\n", false}, {1, "D00000001:x\n", false},
        {2, "I00000001:x\n", false},  {3, "W00000001:x\n", true},  {4, "E00000001:x\n", true},
        {5, "E00000001:x\n", true},   {6, "?00000001:x\n", true},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.Level);
        Common::TraceText(test.Level, 0, 1, u"x");
        EXPECT_EQ(Take(test.ToErr ? Err : Out), test.Expected);
        EXPECT_EQ(Take(test.ToErr ? Out : Err), "");
    }

    // The code is a sum, not a bitwise or; text goes out as UTF-8 without changing the stream's orientation.
    Common::TraceText(2, 1, 0x10001, u"caf\u00e9 \U0001F600");
    EXPECT_EQ(Take(Out), "I00020001:caf\xC3\xA9 \xF0\x9F\x98\x80\n");
    Common::TraceError(4, Error(COMMON_LOCATION("Test"), 0x011A0012, u"failed"));
    Common::TraceFile(3, 0x11A, 0x10, u"file text", "c.cpp", 1);
    EXPECT_EQ(Take(Err), "E011A0012:failed\nW011A0010:file text\n");
}

TEST_F(TraceTest, OutputOptionsStripMarkupAndKeepLineFeeds)
{
    const struct
    {
        std::uint32_t Options;
        const char16_t* Text;
        const char* Expected;
    } cases[] = {
        {0, u"a <b>bold</b>\nnext", "a <b>bold</b> next"},
        {Common::TraceOutputPlainText, u"a <b>bold</b> c", "a bold c"},
        {Common::TraceOutputPlainText, u"1 << 2 <<b> x", "1 < 2 <b> x"},
        {Common::TraceOutputPlainText, u"a > b", "a > b"},
        {Common::TraceOutputPlainText, u"kept <unterminated", "kept "},
        {Common::TraceOutputPlainText, u"<p>one\ntwo</p>", "one two"},
        {Common::TraceOutputMultiLine, u"one\ntwo\n", "one\ntwo\n"},
        {Common::TraceOutputPlainText | Common::TraceOutputMultiLine, u"<i>one</i>\n<b\n>two", "one\ntwo"},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.Expected);
        Common::SetTraceOutputOptions(test.Options);
        Common::TraceText(2, 0, 0, test.Text);
        EXPECT_EQ(Take(Out), std::string("I00000000:") + test.Expected + "\n");
    }
}

TEST_F(TraceTest, ConcurrentTracesWriteWholeLinesAndReachSinksRegisteredBefore)
{
    struct CountingSink : Common::TraceLogic
    {
        using TraceLogic::TraceText;
        void TraceText(int, std::uint32_t, std::uint32_t, WideStringView) override
        {
            Count.fetch_add(1, std::memory_order_relaxed);
        }
        std::atomic<int> Count{0};
    };
    CountingSink sink;
    Common::RegisterTraceLogic(&sink);
    const std::u16string text(300, u'x');
    constexpr int LinesPerThread = 200;
    auto trace = [&]
    {
        for (int i = 0; i < LinesPerThread; ++i)
        {
            Common::TraceText(4, 0, 1, text);
        }
    };
    std::thread first(trace);
    std::thread second(trace);
    first.join();
    second.join();
    Common::UnregisterTraceLogic(&sink);

    EXPECT_EQ(sink.Count.load(), 2 * LinesPerThread);
    const std::string expected = "E00000001:" + std::string(300, 'x');
    const std::string written = Take(Err);
    std::size_t lines = 0;
    for (std::size_t start = 0; start < written.size(); ++lines)
    {
        const std::size_t end = written.find('\n', start);
        ASSERT_NE(end, std::string::npos);
        ASSERT_EQ(written.substr(start, end - start), expected);
        start = end + 1;
    }
    EXPECT_EQ(lines, 2u * LinesPerThread);
}

} // namespace
