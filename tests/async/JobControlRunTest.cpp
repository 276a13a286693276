// JobControl runs driven from one thread: what the handler receives for each way Perform can fail, and
// handlers that reuse the control or throw.
#include "async/ActionAdaptor.h"
#include "async/Errors.h"
#include "async/JobControl.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace
{

using Async::JobControl;

class Recorder final : public Async::ActionHandler
{
public:
    std::function<void(const Common::Error&)> OnCompleted;
    std::vector<Common::Error> Results;

    void Completed(const Common::Error& result) override
    {
        Results.push_back(result);
        if (OnCompleted)
        {
            OnCompleted(result);
        }
    }
};

TEST(JobControlRunTest, AnExceptionFromPerformBecomesTheRunsResult)
{
    struct Case
    {
        std::function<void()> Throw;
        std::uint32_t Code;
        std::u16string Text;
        std::uint32_t SubCode;
    };
    const Case cases[] = {
        {[] { throw Common::Error(COMMON_LOCATION("Test"), 0x00F95001); }, Async::ErrorCodes::Exception,
         u"ASYNC: Exception has occurred during operation 'Perform'.", 0x00F95001},
        {[] { throw std::runtime_error("disk gone"); }, Async::ErrorCodes::StdException,
         u"ASYNC: STD exception 'disk gone' has occurred during operation 'Perform'.", 0},
        {[] { throw 42; }, Async::ErrorCodes::UnknownException,
         u"ASYNC: Unknown exception has occurred during operation 'Perform'.", 0},
    };
    for (const Case& test : cases)
    {
        const auto action = Async::MakeAction(
            [&](Async::ActionHandler&) -> std::shared_ptr<Async::Job>
            {
                test.Throw();
                return nullptr;
            });
        Recorder handler;
        JobControl control;
        control.Run(*action, handler, nullptr);
        ASSERT_EQ(handler.Results.size(), 1u);
        EXPECT_EQ(handler.Results[0].GetCode(), test.Code);
        EXPECT_EQ(handler.Results[0].GetMessage(), test.Text);
        EXPECT_EQ(handler.Results[0].GetSubError().GetCode(), test.SubCode);
        EXPECT_EQ(control.GetState(), JobControl::StateBegin);
    }
}

TEST(JobControlRunTest, AHandlerMayStartTheNextRunOnTheSameControl)
{
    int performed = 0;
    const auto action = Async::MakeAction(
        [&](Async::ActionHandler& handler) -> std::shared_ptr<Async::Job>
        {
            ++performed;
            handler.Completed(Common::Success);
            return nullptr;
        });
    JobControl control;
    Recorder handler;
    handler.OnCompleted = [&](const Common::Error&)
    {
        if (handler.Results.size() < 3)
        {
            control.Run(*action, handler, nullptr);
        }
    };
    control.Run(*action, handler, nullptr);
    EXPECT_EQ(performed, 3);
    EXPECT_EQ(handler.Results.size(), 3u);
    EXPECT_EQ(control.GetState(), JobControl::StateBegin);
}

TEST(JobControlRunTest, AThrowingHandlerEndsTheRunAndTheControlStaysUsable)
{
    Testing::AssertCapture asserts;
    const auto action = Async::MakeAction(
        [](Async::ActionHandler& handler) -> std::shared_ptr<Async::Job>
        {
            handler.Completed(Common::Success);
            return nullptr;
        });
    JobControl control;
    Recorder handler;
    handler.OnCompleted = [](const Common::Error&) { throw std::runtime_error("handler broke"); };
    control.Run(*action, handler, nullptr);
    control.Run(*action, handler, nullptr);
    EXPECT_EQ(handler.Results.size(), 2u);
    EXPECT_EQ(control.GetState(), JobControl::StateBegin);
    EXPECT_TRUE(asserts.Expressions().empty());
}

TEST(JobControlRunTest, AJobWhoseCancelThrowsStillEndsItsRun)
{
    struct ThrowingJob final : Async::BaseJob
    {
        void Cancel() override { throw std::runtime_error("no"); }
    };
    Async::ActionHandler* pending = nullptr;
    const auto action = Async::MakeAction(
        [&](Async::ActionHandler& handler) -> std::shared_ptr<Async::Job>
        {
            pending = &handler;
            return std::make_shared<ThrowingJob>();
        });
    JobControl control;
    Recorder handler;
    control.Run(*action, handler, nullptr);
    control.Cancel();
    EXPECT_TRUE(handler.Results.empty());
    pending->Completed(Async::Errors::Canceled());
    ASSERT_EQ(handler.Results.size(), 1u);
    EXPECT_EQ(control.GetState(), JobControl::StateBegin);
}

} // namespace
