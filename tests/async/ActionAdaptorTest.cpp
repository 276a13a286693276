// Actions made from callables and known results, branches chosen when they run, and the lifetime of what
// a shared object carries in its deleter.
#include "async/ActionAdaptor.h"

#include "ManualAction.h"
#include "async/BranchingAction.h"
#include "async/ConsolidatedData.h"
#include "async/ImmediateResultAction.h"
#include "async/LifeCycleCompletion.h"

#include <gtest/gtest.h>

namespace
{

using AsyncTesting::ResultRecorder;

constexpr std::uint32_t FailureCode = 0x00AB0003;

Common::Error Failure()
{
    return Common::Error(COMMON_LOCATION("ActionAdaptorTest"), FailureCode);
}

struct Target
{
    std::shared_ptr<Async::Job> Run(Async::ActionHandler& handler)
    {
        ++Calls;
        handler.Completed(Result);
        return nullptr;
    }
    std::shared_ptr<Async::Job> Peek(Async::ActionHandler& handler) const
    {
        handler.Completed(Result);
        return nullptr;
    }
    int Calls = 0;
    Common::Error Result;
};

TEST(ActionAdaptorTest, AdaptorsCallTheirFunctionAtEachPerformAndKeepTheirData)
{
    auto data = std::make_shared<int>(7);
    std::weak_ptr<int> watch = data;
    int calls = 0;
    auto action = Async::MakeAction(
        [&calls](Async::ActionHandler& handler)
        {
            handler.Completed(++calls == 2 ? Failure() : Common::Success);
            return std::shared_ptr<Async::Job>();
        },
        std::move(data));
    ResultRecorder first, second;
    EXPECT_EQ(action->Perform(first), nullptr);
    action->Perform(second);
    EXPECT_EQ(first.Result.GetCode(), 0u);
    EXPECT_EQ(second.Result.GetCode(), FailureCode);
    EXPECT_FALSE(watch.expired());
    action.reset();
    EXPECT_TRUE(watch.expired());

    Target target;
    target.Result = Failure();
    ResultRecorder byMethod, byConstMethod;
    Async::MakeMethodAction(target, &Target::Run)->Perform(byMethod);
    Async::ActionRefAdaptor<decltype(&Target::Peek)>(target, &Target::Peek).Perform(byConstMethod);
    EXPECT_EQ(target.Calls, 1);
    EXPECT_EQ(byMethod.Result.GetCode(), FailureCode);
    EXPECT_EQ(byConstMethod.Result.GetCode(), FailureCode);
}

TEST(ActionAdaptorTest, ImmediateResultCompletesInsidePerformWithoutJob)
{
    ResultRecorder empty, failed;
    EXPECT_EQ(Async::MakeImmediateResult()->Perform(empty), nullptr);
    EXPECT_EQ(Async::MakeImmediateResult(Failure())->Perform(failed), nullptr);
    EXPECT_EQ(empty.GetCalls(), 1);
    EXPECT_EQ(empty.Result.GetCode(), 0u);
    EXPECT_EQ(failed.GetCalls(), 1);
    EXPECT_EQ(failed.Result.GetCode(), FailureCode);
}

TEST(BranchingActionTest, PicksTheBranchWhenPerformedAndANullBranchSucceeds)
{
    bool flag = false;
    auto onTrue = std::make_shared<AsyncTesting::ManualAction>();
    auto onFalse = std::make_shared<Async::ImmediateResultAction>(Failure());
    auto branch = Async::MakeBranch(Async::Condition([&flag] { return flag; }), onTrue, onFalse);

    ResultRecorder falseRun, trueRun, nullRun;
    EXPECT_EQ(branch->Perform(falseRun), nullptr);
    EXPECT_EQ(falseRun.Result.GetCode(), FailureCode);
    flag = true; // after the branch was built
    EXPECT_NE(branch->Perform(trueRun), nullptr);
    EXPECT_EQ(onTrue->Performs, 1);
    onTrue->Complete(Common::Success);
    EXPECT_EQ(trueRun.GetCalls(), 1);

    Async::MakeBranch(Async::ConstantCondition(false), onTrue)->Perform(nullRun);
    EXPECT_EQ(nullRun.GetCalls(), 1);
    EXPECT_EQ(nullRun.Result.GetCode(), 0u);
    EXPECT_EQ(onTrue->Performs, 1);
}

struct Tracked
{
    explicit Tracked(std::vector<std::string>& log, std::string name) : Log(log), Name(std::move(name)) {}
    ~Tracked() { Log.push_back(Name); }
    std::vector<std::string>& Log;
    std::string Name;
};

TEST(LifeCycleCompletionTest, KeepsTheDataUntilTheLastStrongReferenceAndReleasesItAfterTheObject)
{
    std::vector<std::string> log;
    auto first = std::make_shared<Tracked>(log, "first");
    auto second = std::make_shared<Tracked>(log, "second");
    std::shared_ptr<Tracked> object = Async::Detail::MakeLifeCycleShared(
        std::make_unique<Tracked>(log, "object"), Async::Detail::Consolidate(first, second, 3));
    auto* completion = std::get_deleter<Async::Detail::LifeCycleCompletion<
        Tracked, Async::Detail::ConsolidatedData<std::shared_ptr<Tracked>, std::shared_ptr<Tracked>, int>>>(
        object);
    ASSERT_NE(completion, nullptr);
    EXPECT_EQ(completion->GetData()->Get<2>(), 3);
    first.reset();
    second.reset();

    std::shared_ptr<Tracked> copy = object;
    std::weak_ptr<Tracked> weak = object;
    object.reset();
    EXPECT_TRUE(log.empty());
    copy.reset();
    EXPECT_EQ(log, (std::vector<std::string>{"object", "first", "second"}));
    EXPECT_TRUE(weak.expired());
}

} // namespace
