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
    std::shared_ptr<Async::Job> Peek(Async::ActionHandler& handler) const
    {
        return Async::ImmediateResultAction(Result).Perform(handler);
    }
    Common::Error Result = Failure();
};

TEST(ActionAdaptorTest, AdaptorsCallTheirFunctionAtEachPerformAndKeepTheirData)
{
    auto data = std::make_shared<int>(0);
    std::weak_ptr<int> watch = data;
    auto action = Async::MakeAction([](Async::ActionHandler& handler)
                                    { return Async::MakeImmediateResult(Failure())->Perform(handler); },
                                    std::move(data));
    Target target;
    ResultRecorder first, second, byMethod;
    EXPECT_EQ(action->Perform(first), nullptr);
    action->Perform(second);
    Async::MakeMethodAction(target, &Target::Peek)->Perform(byMethod);
    EXPECT_EQ(second.GetCalls(), 1);
    EXPECT_EQ(second.Result.GetCode(), FailureCode);
    EXPECT_EQ(byMethod.Result.GetCode(), FailureCode);
    EXPECT_FALSE(watch.expired());
    action.reset();
    EXPECT_TRUE(watch.expired());
}

TEST(BranchingActionTest, PicksTheBranchWhenPerformedAndANullBranchSucceeds)
{
    bool flag = false;
    auto onTrue = std::make_shared<AsyncTesting::ManualAction>();
    auto branch = Async::MakeBranch(Async::Condition([&flag] { return flag; }), onTrue,
                                    std::make_shared<Async::ImmediateResultAction>(Failure()));
    ResultRecorder falseRun, trueRun, nullRun;
    EXPECT_EQ(branch->Perform(falseRun), nullptr);
    EXPECT_EQ(falseRun.Result.GetCode(), FailureCode);
    flag = true; // after the branch was built
    EXPECT_NE(branch->Perform(trueRun), nullptr);
    EXPECT_EQ(onTrue->Performs, 1);

    Async::MakeBranch(Async::ConstantCondition(false), onTrue)->Perform(nullRun);
    EXPECT_EQ(nullRun.GetCalls(), 1);
    EXPECT_EQ(nullRun.Result.GetCode(), 0u);
    EXPECT_EQ(onTrue->Performs, 1);
}

struct Tracked
{
    Tracked(std::vector<std::string>& log, std::string name) : Log(log), Name(std::move(name)) {}
    ~Tracked() { Log.push_back(Name); }
    std::vector<std::string>& Log;
    std::string Name;
};

TEST(LifeCycleCompletionTest, KeepsTheDataUntilTheLastStrongReferenceAndReleasesItAfterTheObject)
{
    std::vector<std::string> log;
    std::shared_ptr<Tracked> object = Async::Detail::MakeLifeCycleShared(
        std::make_unique<Tracked>(log, "object"),
        Async::Detail::Consolidate(std::make_shared<Tracked>(log, "first"),
                                   std::make_shared<Tracked>(log, "second")));
    std::shared_ptr<Tracked> copy = object;
    std::weak_ptr<Tracked> weak = object;
    object.reset();
    EXPECT_TRUE(log.empty());
    copy.reset();
    EXPECT_EQ(log, (std::vector<std::string>{"object", "first", "second"})); // while `weak` remains
}

} // namespace
