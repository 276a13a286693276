#include "async/Errors.h"
#include "async/JobControl.h"

#include <gtest/gtest.h>

namespace
{

TEST(JobControlSmokeTest, SynchronousActionCompletesThroughRun)
{
    struct Inline final : Async::Action
    {
        std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
        {
            handler.Completed(Common::Success);
            return nullptr;
        }
    } action;
    struct Recorder final : Async::ActionHandler
    {
        void Completed(const Common::Error& result) override
        {
            ++Calls;
            Code = result.GetCode();
        }
        int Calls = 0;
        std::uint32_t Code = 1;
    } handler;
    Async::JobControl control;
    control.Run(action, handler, nullptr);
    EXPECT_EQ(handler.Calls, 1);
    EXPECT_EQ(handler.Code, 0u);
    EXPECT_EQ(control.GetState(), Async::JobControl::StateBegin);
}

} // namespace
