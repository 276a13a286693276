// Handlers in front of other handlers: delegating ones that change the result or throw over it, actions
// run with a processing handler of their own, results moved into output parameters, actions chosen from
// futures, and completions that run with the starter's thread environment.
#include "ManualAction.h"
#include "async/EnvironmentPreservingHandler.h"
#include "async/Errors.h"
#include "async/FutureActionAdaptor.h"
#include "async/ImmediateResultAction.h"
#include "async/ResultProcessingHandler.h"
#include "async/ResultToOutParameter.h"
#include "common/AssertCapture.h"
#include "common/ThreadIdentity.h"
#include "common/ThrownError.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace
{

using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;

constexpr std::uint32_t FailureCode = 0x00AB0006;
constexpr std::uint32_t ProcessedCode = 0x00AB0007;

Common::Error Failure(std::uint32_t code = FailureCode)
{
    return Common::Error(COMMON_LOCATION("HandlerTest"), code);
}

class ThrowingHandler final : public Async::DelegatingActionHandler
{
public:
    using DelegatingActionHandler::DelegatingActionHandler;
    bool Std = false;

protected:
    void ProcessResult(Common::Error&, const Common::Error&) override
    {
        if (Std)
        {
            throw std::runtime_error("processing");
        }
        throw Failure(ProcessedCode);
    }
};

TEST(DelegatingActionHandlerTest, PassesOnAndKeepsTheIncomingResultUnderWhatProcessingThrows)
{
    ResultRecorder next;
    Async::DelegatingActionHandler plain(&next);
    plain.Completed(Failure());
    EXPECT_EQ(next.Result.GetCode(), FailureCode);

    ThrowingHandler throwing(&next);
    throwing.Completed(Failure());
    EXPECT_EQ(next.Result.GetCode(), ProcessedCode);
    EXPECT_EQ(next.Result.GetSubError().GetCode(), FailureCode);

    throwing.Std = true;
    throwing.Completed(Failure());
    EXPECT_EQ(next.Result.GetCode(), Async::ErrorCodes::StdException);
    EXPECT_EQ(next.Result.GetSubError().GetCode(), FailureCode);
    EXPECT_EQ(next.GetCalls(), 3);

    Testing::AssertCapture asserts;
    Async::DelegatingActionHandler orphan;
    orphan.Completed(Failure());
    EXPECT_EQ(asserts.Expressions(),
              std::vector<std::string>{"Handler && \"Invalid Delegating Action Handler state.\""});
}

TEST(ResultProcessingTest, ProcessesEachRunsResultAndFreesItsHandlerAfterTheRun)
{
    auto alive = std::make_shared<int>(0);
    auto inner = std::make_shared<ManualAction>();
    auto processed = Async::WithHandlerProcessing(inner,
                                                  [alive](const Common::Error& result)
                                                  {
                                                      ++*alive;
                                                      return result.GetCode() != 0 ? Failure(ProcessedCode)
                                                                                   : Common::Success;
                                                  });
    const long baseline = alive.use_count();

    ResultRecorder later;
    processed->Perform(later);
    EXPECT_EQ(alive.use_count(), baseline + 1); // the run's handler holds a copy of the function
    inner->Complete(Failure());
    EXPECT_EQ(later.Result.GetCode(), ProcessedCode);
    EXPECT_EQ(alive.use_count(), baseline);

    ResultRecorder now;
    Async::WithHandlerProcessing(std::make_shared<Async::ImmediateResultAction>(),
                                 [](Common::Error& out, const Common::Error&) { out = Failure(); })
        ->Perform(now);
    EXPECT_EQ(now.Result.GetCode(), FailureCode);

    // A Perform that throws has completed nothing: the handler goes, the exception comes through.
    inner->OnPerform = [] { throw Failure(); };
    ResultRecorder never;
    EXPECT_THROW(processed->Perform(never), Common::Error);
    EXPECT_EQ(never.GetCalls(), 0);
    EXPECT_EQ(alive.use_count(), baseline);
    EXPECT_EQ(*alive, 1);
}

TEST(ResultProcessingTest, ResultGoesToTheOutputParameterOnSuccessOnly)
{
    int produced = 0;
    int target = -1;
    auto inner = std::make_shared<ManualAction>();
    auto action = Async::WithResultToOutParameter(inner, Async::FutureOf(produced), target);
    ResultRecorder failed, succeeded;
    action->Perform(failed);
    produced = 1;
    inner->Complete(Failure());
    EXPECT_EQ(target, -1);
    EXPECT_EQ(failed.Result.GetCode(), FailureCode);
    action->Perform(succeeded);
    produced = 2; // read at the completion, not before
    inner->Complete(Common::Success);
    EXPECT_EQ(target, 2);
    EXPECT_EQ(succeeded.Result.GetCode(), 0u);
}

TEST(FutureActionAdaptorTest, PerformsTheActionTheFutureYieldsWhenItRuns)
{
    std::shared_ptr<Async::Action> shared;
    std::unique_ptr<Async::Action> owned;
    auto fromShared = Async::MakeFutureAction(Async::FutureOf(shared));
    auto fromOwned = Async::MakeFutureAction(Async::FutureOf(owned));
    shared = std::make_shared<Async::ImmediateResultAction>(Failure());
    owned = std::make_unique<Async::ImmediateResultAction>(Failure(ProcessedCode));
    ResultRecorder first, second, third;
    fromShared->Perform(first);
    fromOwned->Perform(second);
    EXPECT_EQ(first.Result.GetCode(), FailureCode);
    EXPECT_EQ(second.Result.GetCode(), ProcessedCode);
    EXPECT_EQ(owned, nullptr); // the yielded action lived through its Perform only
    const Common::Error error = Testing::ThrownError([&] { fromOwned->Perform(third); }); // a null action
    EXPECT_EQ(error.GetCode(), Async::ErrorCodes::InvalidResult);
    EXPECT_STREQ(error.GetLineTag().Function, "Async::Detail::FutureActionAdaptor::Perform");
    EXPECT_EQ(third.GetCalls(), 0);
}

// Records the identity the next handler runs under.
struct IdentityProbe final : Async::ActionHandler
{
    void Completed(const Common::Error&) override { Seen = Common::ThreadIdentity::GetCurrent(); }
    Common::Identity Seen = 99;
};

TEST(EnvironmentPreservingHandlerTest, CompletionOnAnotherThreadRunsUnderTheStartersEnvironment)
{
    IdentityProbe probe;
    std::unique_ptr<Async::EnvironmentPreservingHandler> handler;
    {
        Common::ThreadIdentity starter(7);
        handler = std::make_unique<Async::EnvironmentPreservingHandler>(probe);
    }
    Common::Identity after = 99;
    std::thread(
        [&]
        {
            Common::ThreadIdentity own(3);
            handler->Completed(Common::Success);
            after = Common::ThreadIdentity::GetCurrent();
        })
        .join();
    EXPECT_EQ(probe.Seen, 7u);
    EXPECT_EQ(after, 3u);
    EXPECT_EQ(Common::ThreadIdentity::GetCurrent(), Common::ProcessIdentity);
}

} // namespace
