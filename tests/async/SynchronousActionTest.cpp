// Synchronous code as actions: every outcome of Execute reaches the handler inside Perform, exceptions as
// 0x00F9000B with the work texts, failures through the context; assignments from futures.
#include "async/SynchronousAction.h"

#include "ManualAction.h"
#include "async/Assignment.h"
#include "async/Errors.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace
{

using AsyncTesting::ResultRecorder;

constexpr std::uint32_t FailureCode = 0x00AB0004;
constexpr std::uint32_t ContextCode = 0x00AB0005;

Common::Error Failure()
{
    return Common::Error(COMMON_LOCATION("SynchronousActionTest"), FailureCode);
}

// Execute runs the scripted body; a failure gets the context record ContextCode on top.
class ScriptedAction final : public Async::SynchronousAction
{
public:
    explicit ScriptedAction(std::function<Common::Error()> body) : Body(std::move(body)) {}
    void ApplyContext(Common::Error& out, const Common::Error& error) override
    {
        if (error.GetCode() == ContextCode)
        {
            throw std::runtime_error("context");
        }
        out = Common::Error(COMMON_LOCATION("ScriptedAction::ApplyContext"), ContextCode);
        out.SetSubError(error);
    }

protected:
    Common::Error Execute() override { return Body(); }

private:
    std::function<Common::Error()> Body;
};

TEST(SynchronousActionTest, EveryOutcomeOfExecuteCompletesInsidePerformWithoutJob)
{
    struct Case
    {
        const char* Name;
        std::function<Common::Error()> Body;
        std::uint32_t Code;
        const char16_t* Text;
        std::uint32_t SubCode;
    };
    const Case cases[] = {
        {"success", [] { return Common::Success; }, 0, u"", 0},
        {"failure gets the context", [] { return Failure(); }, ContextCode, u"", FailureCode},
        {"thrown error becomes the sub-error", []() -> Common::Error { throw Failure(); }, 0x00F9000B,
         u"ASYNC: Exception has occurred during work execution.", FailureCode},
        {"std exception", []() -> Common::Error { throw std::logic_error("broken 'thing'"); }, 0x00F9000B,
         u"ASYNC: STD exception 'broken 'thing'' has occurred during work execution.", 0},
        {"unknown exception", []() -> Common::Error { throw 42; }, 0x00F9000B,
         u"ASYNC: Unknown exception has occurred during work execution.", 0},
        {"context that throws",
         [] { return Common::Error(COMMON_LOCATION("SynchronousActionTest"), ContextCode); }, 0x00F9000B,
         u"ASYNC: STD exception 'context' has occurred during work execution.", 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.Name);
        ScriptedAction action(c.Body);
        ResultRecorder handler;
        EXPECT_EQ(action.Perform(handler), nullptr);
        ASSERT_EQ(handler.GetCalls(), 1);
        EXPECT_EQ(handler.Result.GetCode(), c.Code);
        EXPECT_EQ(handler.Result.GetSubError().GetCode(), c.SubCode);
        if (c.Code == 0x00F9000B)
        {
            EXPECT_EQ(handler.Result.GetMessage(), c.Text);
            EXPECT_STREQ(handler.Result.GetLineTag().Function, "Async::SynchronousAction::Perform");
        }
    }
}

TEST(SynchronousActionTest, AssignmentReadsItsFutureWhenItRunsAndASoleOwnerMovesOnce)
{
    std::string produced = "early";
    std::string target;
    auto assign = Async::MakeAssignment(Async::FutureOf(produced), target);
    produced = "late";
    ResultRecorder handler;
    assign->Perform(handler);
    EXPECT_EQ(target, "late");

    // The second run fails through the work texts, leaving the target alone.
    std::unique_ptr<int> owned;
    auto move = Async::MakeAssignment(Async::Future<std::unique_ptr<int>>(std::make_unique<int>(9)), owned);
    ResultRecorder once, twice;
    move->Perform(once);
    ASSERT_NE(owned, nullptr);
    EXPECT_EQ(*owned, 9);
    move->Perform(twice);
    EXPECT_EQ(twice.Result.GetCode(), Async::ErrorCodes::WorkFailed);
    EXPECT_EQ(twice.Result.GetSubError().GetCode(), Async::ErrorCodes::InvalidResult);
    EXPECT_NE(owned, nullptr);
}

} // namespace
