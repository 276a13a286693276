#include "common/SafeAssert.h"

#include "ScopedEnvironment.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using namespace Common;

constexpr const char* FlagsVariable = "VELTRIX_SAFE_ASSERT";
constexpr const char* LogFileVariable = "VELTRIX_SAFE_ASSERT_LOGFILE";

struct Event
{
    int Type;
    int Subtype;
    int Code;
    std::string Text;
};

// What the hooks saw; the hooks are plain function pointers, so the record is global.
struct Seen
{
    std::vector<Event> Events;
    std::vector<std::string> DebugLines;
    std::string BoxText;
    std::string BoxTitle;
    unsigned BoxStyle = 0;
    int BoxAnswer = 0;
};
Seen Record;

void RecordEvent(int type, int subtype, int code, const char* text)
{
    Record.Events.push_back({type, subtype, code, text});
}

void RecordDebugLine(const char* text)
{
    Record.DebugLines.emplace_back(text);
}

int AnswerBox(const char* text, const char* title, unsigned style)
{
    Record.BoxText = text;
    Record.BoxTitle = title;
    Record.BoxStyle = style;
    return Record.BoxAnswer;
}

// Each test starts from the settings of process start with neither variable set; both come back after.
class SafeAssertTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Detail::ResetSafeAssertForTesting();
        Record = Seen{};
    }
    void TearDown() override { Detail::ResetSafeAssertForTesting(); }

    Testing::ScopedEnvironment FlagsValue{FlagsVariable, nullptr};
    Testing::ScopedEnvironment LogFileValue{LogFileVariable, nullptr};
};

using SafeAssertDeathTest = SafeAssertTest;

TEST_F(SafeAssertTest, FlagsVariableIsReadAsNumberOrWords)
{
    const struct
    {
        const char* Value;
        std::uint32_t Flags;
    } cases[] = {
        {nullptr, SafeAssertDefaultFlags},
        {"", SafeAssertDefaultFlags},
        {"0x24", SafeAssertLog | SafeAssertAbort},
        {"0X24", SafeAssertLog | SafeAssertAbort},
        {"24", SafeAssertLog | SafeAssertAbort},
        {"400x4", SafeAssertLog}, // "0x" anywhere drops the first two characters, whatever they are
        {"log abort", SafeAssertLog | SafeAssertAbort},
        {"  stack   log ", SafeAssertStack | SafeAssertLog},
        {"break debug event msgbox",
         SafeAssertBreak | SafeAssertDebug | SafeAssertEvent | SafeAssertMessageBox},
        {"log nonsense", SafeAssertReportingOff},
        {"nonsense log", SafeAssertReportingOff},
        {"0", SafeAssertReportingOff},
        {"0x0", SafeAssertReportingOff},
        {"LOG", SafeAssertReportingOff},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.Value == nullptr ? "(unset)" : test.Value);
        FlagsValue.Set(test.Value);
        Detail::ResetSafeAssertForTesting();
        Detail::InitialiseSafeAssertForTesting();
        EXPECT_EQ(GetSafeAssertFlags(), test.Flags);
    }

    // Read by the first report, an unknown word switches reporting off.
    FlagsValue.Set("event nonsense");
    Detail::ResetSafeAssertForTesting();
    SetSafeAssertEventHook(RecordEvent);
    EXPECT_EQ(SafeAssertFailure("x", "f.cpp", 1), 0);
    EXPECT_TRUE(Record.Events.empty());
}

// The log goes to the file the variable names, after what it held, or to stdout, or to a descriptor.
TEST_F(SafeAssertTest, LogGoesToTheVariablesFileAfterItsContentOrToStdoutOrToADescriptor)
{
    const std::string path = ::testing::TempDir() + "SafeAssertLog." + std::to_string(getpid());
    std::ofstream(path) << "earlier\n";
    FlagsValue.Set("log");
    LogFileValue.Set(path.c_str());
    EXPECT_EQ(SafeAssertFailure("x == 1", "a.cpp", 7), 1);
    Detail::ResetSafeAssertForTesting();
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_EQ(text.str(), "earlier\nAssertion failed: x == 1, file a.cpp, line 7\n");
    std::remove(path.c_str());

    FlagsValue.Set("0x4");
    LogFileValue.Set("stdout");
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    SafeAssertFailure("x", "f.cpp", 3);
    const std::string err = ::testing::internal::GetCapturedStderr();
    const std::string out = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "Assertion failed: x, file f.cpp, line 3\n");
    EXPECT_EQ(err, "");

    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    SetSafeAssertFlags(SafeAssertLog);
    SetSafeAssertLogTarget(pipeEnds[1]);
    SafeAssertFailure("x", "f.cpp", 4);
    close(pipeEnds[1]);
    char buffer[128] = {};
    const ssize_t size = read(pipeEnds[0], buffer, sizeof buffer - 1);
    close(pipeEnds[0]);
    EXPECT_EQ(std::string(buffer, size > 0 ? size : 0), "Assertion failed: x, file f.cpp, line 4\n");
}

// The frame that the reported stack must start with.
[[gnu::noinline]] void AssertFromHere()
{
    SafeAssertFailure("here", "h.cpp", 1);
    asm volatile(""); // no tail call: this frame stays on the stack
}

TEST_F(SafeAssertTest, MacroReportsAndGoesOnAndTheEventHookGetsTextThenStackInOneCall)
{
    SetSafeAssertFlags(SafeAssertEvent);
    SetSafeAssertEventHook(RecordEvent);
    SAFE_ASSERT(1 + 1 == 2);
    SAFE_ASSERT(1 + 1 == 3);
    ASSERT_EQ(Record.Events.size(), 1u);
    EXPECT_EQ(
        Record.Events[0].Text.rfind("Assertion failed: 1 + 1 == 3, file tests/common/SafeAssertTest.cpp", 0),
        0u);

    Record.Events.clear();
    SafeAssertFailure("a < b", "g.cpp", 9);
    ASSERT_EQ(Record.Events.size(), 1u);
    EXPECT_EQ(Record.Events[0].Type, 5);
    EXPECT_EQ(Record.Events[0].Subtype, 0);
    EXPECT_EQ(Record.Events[0].Code, 27);
    EXPECT_EQ(Record.Events[0].Text, "Assertion failed: a < b, file g.cpp, line 9");

    Record.Events.clear();
    SetSafeAssertFlags(SafeAssertEvent | SafeAssertStack);
    SafeAssertFailure("a < b", "g.cpp", 9);
    ASSERT_EQ(Record.Events.size(), 2u);
    const Event& stack = Record.Events[1];
    EXPECT_EQ(stack.Code, 27);
    // The reporting code's own frames are left out: the stack starts at the asserting caller.
    EXPECT_EQ(stack.Text.find("SafeAssertFailure"), std::string::npos) << stack.Text;
    EXPECT_NE(stack.Text.back(), '\n');

    Record.Events.clear();
    AssertFromHere();
    ASSERT_EQ(Record.Events.size(), 2u);
    const std::string& text = Record.Events[1].Text;
    const std::size_t open = text.find("[0x");
    ASSERT_NE(open, std::string::npos) << text;
    const auto first = std::strtoull(text.c_str() + open + 1, nullptr, 16);
    const auto here = reinterpret_cast<std::uintptr_t>(&AssertFromHere);
    EXPECT_GT(first, here) << text;
    EXPECT_LT(first, here + 256) << text;
}

TEST_F(SafeAssertTest, DebugOutputGetsLinesCutTo538Characters)
{
    SetSafeAssertFlags(SafeAssertDebug);
    SetSafeAssertDebugOutput(RecordDebugLine);

    SafeAssertFailure("x", "f.cpp", 5);
    const std::string longExpression(600, 'e');
    SafeAssertFailure(longExpression.c_str(), "f.cpp", 6);

    ASSERT_EQ(Record.DebugLines.size(), 2u);
    EXPECT_EQ(Record.DebugLines[0], "Assertion failed: x, file f.cpp, line 5\n");
    EXPECT_EQ(Record.DebugLines[1], "Assertion failed: " + std::string(538 - 18, 'e') + "\n");

    Record.DebugLines.clear();
    SetSafeAssertFlags(SafeAssertDebug | SafeAssertStack);
    SafeAssertFailure("x", "f.cpp", 5);
    ASSERT_GT(Record.DebugLines.size(), 1u);
    for (const std::string& line : Record.DebugLines)
    {
        EXPECT_EQ(line.back(), '\n');
    }
}

std::string Program()
{
    char path[256] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    const std::string program(path, length > 0 ? length : 0);
    return program.size() > 60 ? program.substr(program.size() - 60) : program;
}

TEST_F(SafeAssertTest, MessageBoxKeepsTheLastSixtyCharactersOfLongNamesAndItsAnswerDecidesTheResult)
{
    SetSafeAssertFlags(SafeAssertMessageBox);
    SetSafeAssertMessageBox(AnswerBox);
    const std::string file = "dir/" + std::string(57, 'f'); // 61 characters
    const std::string expression = std::string(60, 'e');    // kept whole
    Record.BoxAnswer = 5;

    EXPECT_EQ(SafeAssertFailure(expression.c_str(), file.c_str(), 42), 0);

    EXPECT_EQ(Record.BoxText, "Assertion failed!\n\nProgram: " + Program() + "\nFile: " + file.substr(1) +
                                  "\nLine: 42\n\nExpression: " + expression +
                                  "\n\n(Press Retry to debug the application)");
    EXPECT_EQ(Record.BoxTitle, "Veltrix runtime check failure");
    EXPECT_EQ(Record.BoxStyle, 0x212u);

    // Retry without a debugger goes on as if no box had been shown.
    Record.BoxAnswer = 4;
    EXPECT_EQ(SafeAssertFailure("x", "f.cpp", 1), 1);

    // An errno report shows no box.
    Record.BoxText.clear();
    SetSafeAssertFlags(SafeAssertMessageBox | SafeAssertEvent);
    SetSafeAssertEventHook(RecordEvent);
    EXPECT_EQ(SafeAssertErrno(ENOENT, "io.cpp", 12), 1);
    EXPECT_TRUE(Record.BoxText.empty());
    ASSERT_EQ(Record.Events.size(), 1u);
    EXPECT_EQ(Record.Events[0].Text, std::string("io.cpp:12: Unexpected error: ") + std::strerror(ENOENT));

    // Without a box the text goes to stderr and is ignored.
    SetSafeAssertFlags(SafeAssertMessageBox);
    SetSafeAssertMessageBox(nullptr);
    ::testing::internal::CaptureStderr();
    const int result = SafeAssertFailure("x", "f.cpp", 1);
    const std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, 0);
    EXPECT_NE(err.find("Assertion failed!\n\nProgram: "), std::string::npos);
}

TEST_F(SafeAssertDeathTest, AbortAnswerOrAbortFlagAbortsAfterLogging)
{
    SetSafeAssertFlags(SafeAssertMessageBox);
    SetSafeAssertMessageBox([](const char*, const char*, unsigned) { return 3; });
    EXPECT_DEATH(SafeAssertFailure("x", "f.cpp", 1), "");
    SetSafeAssertFlags(SafeAssertLog | SafeAssertAbort);
    EXPECT_DEATH(SafeAssertFailure("x > 0", "f.cpp", 8), "Assertion failed: x > 0, file f.cpp, line 8");
}

} // namespace
