// The asynchronizer: read rounds until one consumes nothing, what each kind does with a failed action
// (full: the rest run on; lazy: the rest are cancelled; sequence: the rest never start), the order of a
// sequence, refusals after the stream ended or failed, the reader's own failure, and cancellation.
#include "async/Asynchronizer.h"

#include "ManualAction.h"
#include "async/Errors.h"
#include "common/AssertCapture.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace
{

using namespace Async::ErrorCodes;
using Async::AsynchronizerKind;
using AsyncTesting::ManualAction;
using AsyncTesting::ResultRecorder;
using Common::Error;

constexpr std::uint32_t Failure = 0x00F95701;

Error Fail()
{
    return Error(COMMON_LOCATION("AsynchronizerTest"), Failure);
}

// A reader driven by the test: each Read keeps the consumer and the handler; its job completes the read
// with 0x00F90002.
class ManualReader final : public Async::ActionReader
{
public:
    std::shared_ptr<Async::Job> Read(Async::ActionConsumer& consumer, Async::ActionHandler& handler) override
    {
        Consumer = &consumer;
        Reading = &handler;
        ++Reads;
        return std::make_shared<ReadJob>(*this);
    }
    // Ends the pending read.
    void End(const Error& result = Error())
    {
        Async::ActionHandler* handler = std::exchange(Reading, nullptr);
        ASSERT_NE(handler, nullptr);
        handler->Completed(result);
    }
    Error Consume(std::shared_ptr<Async::Action> action) { return Consumer->Consume(std::move(action)); }

    Async::ActionConsumer* Consumer = nullptr;
    Async::ActionHandler* Reading = nullptr;
    int Reads = 0;

private:
    struct ReadJob final : Async::BaseJob
    {
        explicit ReadJob(ManualReader& reader) : Reader(reader) {}
        void Cancel() override
        {
            if (Reader.Reading != nullptr)
            {
                Reader.End(Async::Errors::Canceled());
            }
        }
        ManualReader& Reader;
    };
};

struct Started
{
    std::shared_ptr<ManualReader> Reader = std::make_shared<ManualReader>();
    ResultRecorder Recorder;
    std::shared_ptr<Async::Job> Job;

    explicit Started(AsynchronizerKind kind)
    {
        Job = Async::MakeAsynchronizer(Reader, kind)->Perform(Recorder);
    }
};

std::vector<std::shared_ptr<ManualAction>> MakeActions(int count)
{
    std::vector<std::shared_ptr<ManualAction>> actions;
    for (int index = 0; index < count; ++index)
    {
        actions.push_back(std::make_shared<ManualAction>());
    }
    return actions;
}

class AsynchronizerKindTest : public ::testing::TestWithParam<AsynchronizerKind>
{
};
INSTANTIATE_TEST_SUITE_P(Kinds, AsynchronizerKindTest,
                         ::testing::Values(AsynchronizerKind::FullBarrier, AsynchronizerKind::LazyBarrier,
                                           AsynchronizerKind::Sequence));

TEST_P(AsynchronizerKindTest, ReadsUntilARoundConsumesNothingAndEndsWhenAllActionsEnded)
{
    const auto actions = MakeActions(3);
    // Rounds 1 and 2 consume, round 3 finds the stream dry.
    Started run(GetParam());
    EXPECT_EQ(run.Reader->Consume(actions[0]), Common::Success);
    EXPECT_EQ(run.Reader->Consume(actions[1]), Common::Success);
    run.Reader->End();
    ASSERT_EQ(run.Reader->Reads, 2);
    EXPECT_EQ(run.Reader->Consume(actions[2]), Common::Success);
    run.Reader->End();
    ASSERT_EQ(run.Reader->Reads, 3);
    run.Reader->End();
    EXPECT_EQ(run.Reader->Reads, 3);

    // Refused once the stream has ended, without changing the result.
    Async::ActionConsumer& consumer = *run.Reader->Consumer;
    const Error refused = consumer.Consume(std::make_shared<ManualAction>());
    EXPECT_EQ(refused.GetCode(), AsynchronizerClosed);
    EXPECT_EQ(refused.GetMessage(),
              u"ASYNC: Asynchronizer cannot accept more actions because step \"Read\" has completed.");

    for (const auto& action : actions)
    {
        EXPECT_EQ(run.Recorder.GetCalls(), 0);
        action->Complete(Error());
    }
    EXPECT_EQ(run.Recorder.GetCalls(), 1);
    EXPECT_EQ(run.Recorder.Result, Common::Success);
}

TEST_P(AsynchronizerKindTest, ReaderFailureEndsTheStreamAndWaitsForStartedActions)
{
    const auto actions = MakeActions(1);
    Started run(GetParam());
    EXPECT_EQ(run.Reader->Consume(actions[0]), Common::Success);
    run.Reader->End(Fail());
    EXPECT_EQ(run.Reader->Reads, 1);
    EXPECT_EQ(run.Recorder.GetCalls(), 0);
    actions[0]->Complete(Error());
    EXPECT_EQ(run.Recorder.Result.GetCode(), Failure);
}

TEST_P(AsynchronizerKindTest, CancelStopsTheReadAndEveryRunningAction)
{
    const auto actions = MakeActions(2);
    Started run(GetParam());
    run.Reader->Consume(actions[0]);
    run.Reader->Consume(actions[1]);
    run.Job->Cancel();
    EXPECT_EQ(run.Recorder.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(run.Recorder.Result, Canceled));
    EXPECT_EQ(run.Reader->Reads, 1);
    // A sequence had started only its first action.
    EXPECT_EQ(actions[1]->Performs.load(), GetParam() == AsynchronizerKind::Sequence ? 0 : 1);
}

TEST_P(AsynchronizerKindTest, NullActionOrReaderFailsWithPendingJobEmpty)
{
    Started run(GetParam());
    EXPECT_EQ(run.Reader->Consume(nullptr).GetCode(), InvalidResult);
    run.Reader->End();
    EXPECT_EQ(run.Recorder.Result.GetCode(), InvalidResult);

    ResultRecorder recorder;
    EXPECT_EQ(Async::MakeAsynchronizer(nullptr, GetParam())->Perform(recorder), nullptr);
    EXPECT_EQ(recorder.Result.GetCode(), InvalidResult);
}

TEST(AsynchronizerTest, FailedActionStopsTheStreamAndEachKindTreatsTheOthersItsWay)
{
    struct Case
    {
        AsynchronizerKind Kind;
        int OthersPerformed; // of the first and third
        int OthersCancelled;
    };
    for (const Case& test :
         {Case{AsynchronizerKind::FullBarrier, 2, 0}, Case{AsynchronizerKind::LazyBarrier, 2, 2},
          Case{AsynchronizerKind::Sequence, 0, 0}})
    {
        SCOPED_TRACE(static_cast<int>(test.Kind));
        const auto actions = MakeActions(3);
        Started run(test.Kind);
        for (const auto& action : actions)
        {
            run.Reader->Consume(action);
        }
        // The sequence runs the second only after the first.
        const int first = test.Kind == AsynchronizerKind::Sequence ? 0 : 1;
        if (first == 0)
        {
            EXPECT_EQ(actions[1]->Performs.load(), 0);
            actions[0]->Complete(Error());
        }
        actions[1]->Complete(Fail());
        EXPECT_EQ(run.Reader->Consume(std::make_shared<ManualAction>()).GetCode(), AsynchronizerClosed);
        run.Reader->End(Async::Errors::MakeAsynchronizerClosed());
        EXPECT_EQ(run.Reader->Reads, 1);

        EXPECT_EQ(actions[0]->Performs + actions[2]->Performs - (1 - first), test.OthersPerformed);
        EXPECT_EQ(actions[0]->Cancels + actions[2]->Cancels, test.OthersCancelled);
        for (const auto& action : actions)
        {
            action->Complete(Error()); // the full barrier's others end on their own
        }
        EXPECT_EQ(run.Recorder.GetCalls(), 1);
        EXPECT_TRUE(Async::Errors::HasCode(run.Recorder.Result, Failure));
    }
}

TEST(AsynchronizerTest, SequenceRunsConsumedActionsOneAfterAnotherAcrossRounds)
{
    const auto actions = MakeActions(3);
    Started run(AsynchronizerKind::Sequence);
    run.Reader->Consume(actions[0]);
    run.Reader->Consume(actions[1]);
    run.Reader->End();
    run.Reader->Consume(actions[2]);
    run.Reader->End();
    run.Reader->End();
    for (int index = 0; index < 3; ++index)
    {
        for (int later = index + 1; later < 3; ++later)
        {
            EXPECT_EQ(actions[later]->Performs.load(), 0);
        }
        EXPECT_EQ(actions[index]->Performs.load(), 1);
        actions[index]->Complete(Error());
    }
    EXPECT_EQ(run.Recorder.Result, Common::Success);
}

TEST(AsynchronizerTest, ConsumeAfterAFailedConsumeTripsTheAssertion)
{
    Started run(AsynchronizerKind::LazyBarrier);
    Testing::AssertCapture asserts;
    run.Reader->Consume(nullptr);
    EXPECT_EQ(run.Reader->Consume(nullptr).GetCode(), AsynchronizerClosed);
    EXPECT_EQ(asserts.Expressions(),
              std::vector<std::string>{"FailReason == Common::Success && \"Top-level logic broken.\""});
    run.Reader->End();
}

} // namespace
