// Chains of steps: how steps, failed actions, rollbacks and exceptions end a chain, cancellation between
// steps, a job released by its owner at the end, and a million synchronous steps on a small stack.
#include "ThreadHelpers.h"
#include "async/Errors.h"
#include "async/JobComposition.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <stdexcept>
#include <thread>

namespace
{

using namespace Async::ErrorCodes;
using Common::Error;

constexpr std::uint32_t Failure = 0x00F95501;
constexpr std::uint32_t Other = 0x00F95502;

Error Fail(std::uint32_t code = Failure)
{
    return Error(COMMON_LOCATION("StepTest"), code);
}

// Completes with Result inside Perform, or later through Waiting when deferred.
struct TestAction final : Async::Action
{
    explicit TestAction(Error result = Error(), bool deferred = false) : Result(result), Deferred(deferred) {}
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override
    {
        ++Performed;
        Deferred ? void(Waiting = &handler) : handler.Completed(Result);
        return nullptr;
    }
    Error Result;
    bool Deferred;
    int Performed = 0;
    Async::ActionHandler* Waiting = nullptr;
};

struct Owner final : Async::ActionHandler
{
    void Completed(const Error& result) override
    {
        ++Calls, Result = result;
        if (Then)
        {
            Then();
        }
    }
    int Calls = 0;
    Error Result;
    std::function<void()> Then;
};

// Its three step kinds run Body; Rollback, if set, gets a failed action's result.
struct ScriptJob final : Async::BaseMethodComposition<ScriptJob>
{
    using Script = std::function<Error(ScriptJob&, const Error&)>;
    ScriptJob() { SetDescription(&ScriptJob::DescribeAs); }
    void Begin(Async::ActionHandler& owner) { Start(owner, Rollback ? &ScriptJob::OnRollback : nullptr); }
    Error Any(const Error& result) { return ++Bodies, Body ? Body(*this, result) : Error(); }
    Error OnSuccess() { return Any(Error()); }
    void OnSuccessVoid() { Any(Error()); }
    Error OnRollback(const Error& result) { return ++Rollbacks, Rollback(*this, result); }
    Error ToOther() { return ++Bodies, Fail(Other); }
    void DescribeAs(Async::WorkDescription& out) const
    {
        out = Async::WorkDescription(COMMON_LOCATION("StepTest"), u"script job");
    }
    Script Body, Rollback;
    int Bodies = 0, Rollbacks = 0;
    TestAction Next;
};

// Continues the chain with a step whose method returns Other.
Error StepToOther(ScriptJob& job, const Error&)
{
    job.Step(job.Next, &ScriptJob::ToOther);
    return Error();
}

TEST(StepTest, StepsFailedActionsRollbacksAndExceptionsDecideTheEnd)
{
    enum Kind
    {
        Any,
        Success,
        Void
    };
    const auto returns = [](Error error) { return [error](ScriptJob&, const Error&) { return error; }; };
    const struct
    {
        Error Action;
        Kind Step;
        ScriptJob::Script Body, Rollback;
        std::uint32_t Final;
        int Bodies, Rollbacks;
        std::u16string Text;
    } cases[] = {
        // A step's own failure ends the chain without rollback; the stop mark ends it well.
        {Error(), Success, returns(Fail()), returns(Error()), Failure, 1, 0, u""},
        {Error(), Success, returns(Async::Errors::StopMark()), nullptr, 0, 1, 0, u""},
        {Error(), Success, [](ScriptJob&, const Error&) -> Error { throw Fail(); }, nullptr, Exception, 1, 0,
         u"ASYNC: Exception has occurred during operation 'Step'."},
        {Error(), Success, [](ScriptJob&, const Error&) -> Error { throw std::runtime_error("boom"); },
         nullptr, StdException, 1, 0, u"ASYNC: STD exception 'boom' has occurred during operation 'Step'."},
        {Error(), Void, [](ScriptJob&, const Error&) -> Error { throw 7; }, nullptr, UnknownException, 1, 0,
         u"ASYNC: Unknown exception has occurred during operation 'Step'."},
        // A failed action skips success steps; the job describes it on its way.
        {Fail(), Success, nullptr, nullptr, JobFailed, 0, 0, u"script job"},
        {Fail(), Void, nullptr, returns(Error()), 0, 0, 1, u""},
        {Fail(), Success, nullptr, StepToOther, Other, 1, 1, u""},
        // An any-result step gets the failure and may go on.
        {Fail(), Any, StepToOther, nullptr, Other, 2, 0, u""},
    };
    for (const auto& test : cases)
    {
        auto job = std::make_shared<ScriptJob>();
        job->Body = test.Body;
        job->Rollback = test.Rollback;
        Owner owner;
        TestAction action(test.Action);
        job->Begin(owner);
        test.Step == Any       ? job->Step(action, &ScriptJob::Any)
        : test.Step == Success ? job->Step(action, &ScriptJob::OnSuccess)
                               : job->Step(action, &ScriptJob::OnSuccessVoid);
        EXPECT_EQ(owner.Calls, 1);
        EXPECT_EQ(owner.Result.GetCode(), test.Final);
        EXPECT_EQ(test.Text.empty() ? u"" : owner.Result.GetMessage(), test.Text);
        EXPECT_EQ(job->Bodies, test.Bodies);
        EXPECT_EQ(job->Rollbacks, test.Rollbacks);
    }
}

TEST(StepTest, StepThatStartsAStepAndFailsTripsTheAssertion)
{
    Testing::AssertCapture asserts;
    auto job = std::make_shared<ScriptJob>();
    job->Body = [](ScriptJob& self, const Error& result) { return StepToOther(self, result), Fail(); };
    Owner owner;
    TestAction action;
    job->Begin(owner);
    job->Step(action, &ScriptJob::OnSuccess);
    EXPECT_EQ(asserts.Expressions(),
              std::vector<std::string>{"stepResult == Common::Success && \"Logic broken\""});
    EXPECT_EQ(owner.Result.GetCode(), Other);
}

TEST(StepTest, CancelBetweenStepsEndsTheNextWithoutPerforming)
{
    auto job = std::make_shared<ScriptJob>();
    job->Body = [](ScriptJob& self, const Error& result) { return self.Cancel(), StepToOther(self, result); };
    Owner owner;
    TestAction action;
    job->Begin(owner);
    job->Step(action, &ScriptJob::OnSuccess);
    EXPECT_EQ(job->Next.Performed, 0);
    EXPECT_EQ(job->Bodies, 1);
    EXPECT_TRUE(Async::Errors::HasCode(owner.Result, Canceled));
}

TEST(StepTest, OwnerMayReleaseTheJobInItsCompletion)
{
    // Every way of ending, inside Perform and from another thread; ASan watches what follows.
    const auto complete = [](ScriptJob& self, const Error&) { return self.Complete(), Error(); };
    const auto keep = [](ScriptJob&, const Error& result) { return result; };
    const struct
    {
        Error Action;
        ScriptJob::Script Body, Rollback;
    } cases[] = {{Error(), nullptr, nullptr},
                 {Error(), complete, nullptr},
                 {Fail(), nullptr, keep},
                 {Fail(), nullptr, nullptr}};
    for (const auto& test : cases)
    {
        for (const bool deferred : {false, true})
        {
            auto job = std::make_shared<ScriptJob>();
            job->Body = test.Body;
            job->Rollback = test.Rollback;
            TestAction action(test.Action, deferred);
            Owner owner;
            owner.Then = [&job] { job.reset(); };
            job->Begin(owner);
            job->Step(action, &ScriptJob::OnSuccess);
            if (deferred)
            {
                std::thread([&action] { action.Waiting->Completed(action.Result); }).join();
            }
            EXPECT_EQ(job, nullptr);
            EXPECT_EQ(owner.Calls, 1);
        }
    }
}

TEST(StepTest, MillionSynchronousStepsRunOnASmallStack)
{
    struct Counting final : Async::BaseMethodComposition<Counting>
    {
        void Again() { ++Count < 1'000'000 ? Step(Action, &Counting::Again) : void(); }
        TestAction Action;
        long Count = 0;
    };
    auto job = std::make_shared<Counting>();
    Owner owner;
    std::promise<void> done;
    owner.Then = [&done] { done.set_value(); };
    Testing::RunOnSmallStack([&] { job->Start(owner), job->Step(job->Action, &Counting::Again); });
    done.get_future().wait(); // a metronome beat may move the chain to a service thread
    EXPECT_EQ(job->Count, 1'000'000);
    EXPECT_EQ(owner.Result.GetCode(), 0u);
}

TEST(StepTest, HandlerWithoutObjectPassesTheResultOnAndWithoutMethodIsInvalid)
{
    struct Target
    {
    } target;
    Async::Detail::ObjectMethodHandler<Target> handler;
    Error next;
    {
        // A job that fails before Start: its handlers have no object yet.
        Testing::AssertCapture asserts;
        handler.Handle(next, Fail());
        EXPECT_EQ(next.GetCode(), Failure);
        handler.Handle(next, Error());
        const std::string rollback =
            "!\"Don't think about rollback in the middle of action. Initialize it from the begining.\"";
        EXPECT_EQ(
            asserts.Expressions(),
            (std::vector<std::string>{rollback, "result != Common::Success && \"Logic broken\"", rollback}));
    }
    handler.SetObject(&target);
    handler.Handle(next, Error());
    EXPECT_EQ(next.GetCode(), InvalidResult);
}

} // namespace
