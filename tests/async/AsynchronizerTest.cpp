// The asynchronizer: read rounds until one consumes nothing, refusals once the stream has ended or an
// action failed, what each kind does with the others after a failure (full: they run on; lazy: they are
// cancelled; sequence: they never start), the reader's own failure, null input, and cancellation.
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

// A reader driven by the test: Read keeps the consumer and the handler, End completes the read.
struct ManualReader final : Async::ActionReader
{
    std::shared_ptr<Async::Job> Read(Async::ActionConsumer& consumer, Async::ActionHandler& handler) override
    {
        Consumer = &consumer, Reading = &handler, ++Reads;
        return std::make_shared<ReadJob>(*this);
    }
    void End(const Error& result = Error()) { std::exchange(Reading, nullptr)->Completed(result); }
    Error Consume(std::shared_ptr<Async::Action> action) { return Consumer->Consume(std::move(action)); }

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
    Async::ActionConsumer* Consumer = nullptr;
    Async::ActionHandler* Reading = nullptr;
    int Reads = 0;
};

struct Started
{
    explicit Started(AsynchronizerKind kind) : Job(Async::MakeAsynchronizer(Reader, kind)->Perform(Recorder))
    {
    }
    std::shared_ptr<ManualReader> Reader = std::make_shared<ManualReader>();
    ResultRecorder Recorder;
    std::shared_ptr<Async::Job> Job;
    std::vector<std::shared_ptr<ManualAction>> Actions;

    void Consume(int count)
    {
        for (int index = 0; index < count; ++index)
        {
            Actions.push_back(std::make_shared<ManualAction>());
            EXPECT_EQ(Reader->Consume(Actions.back()), Common::Success);
        }
    }
};

class AsynchronizerKindTest : public ::testing::TestWithParam<AsynchronizerKind>
{
};
INSTANTIATE_TEST_SUITE_P(Kinds, AsynchronizerKindTest,
                         ::testing::Values(AsynchronizerKind::FullBarrier, AsynchronizerKind::LazyBarrier,
                                           AsynchronizerKind::Sequence));

TEST_P(AsynchronizerKindTest, ReadsUntilARoundConsumesNothingThenRefusesAndEndsWithItsActions)
{
    Started run(GetParam());
    run.Consume(2);
    run.Reader->End();
    run.Consume(1);
    run.Reader->End();
    run.Reader->End();
    EXPECT_EQ(run.Reader->Reads, 3);

    const Error refused = run.Reader->Consume(std::make_shared<ManualAction>());
    EXPECT_EQ(refused.GetCode(), AsynchronizerClosed);
    EXPECT_EQ(refused.GetMessage(),
              u"ASYNC: Asynchronizer cannot accept more actions because step \"Read\" has completed.");
    for (const auto& action : run.Actions)
    {
        EXPECT_EQ(run.Recorder.GetCalls(), 0);
        action->Complete(Error());
    }
    EXPECT_EQ(run.Recorder.GetCalls(), 1);
    EXPECT_EQ(run.Recorder.Result, Common::Success);
}

TEST_P(AsynchronizerKindTest, ReaderFailureEndsTheStreamAfterTheStartedActions)
{
    Started run(GetParam());
    run.Consume(1);
    run.Reader->End(Error(COMMON_LOCATION("AsynchronizerTest"), Failure));
    EXPECT_EQ(run.Recorder.GetCalls(), 0);
    run.Actions[0]->Complete(Error());
    EXPECT_EQ(run.Reader->Reads, 1);
    EXPECT_EQ(run.Recorder.Result.GetCode(), Failure);
}

TEST_P(AsynchronizerKindTest, CancelStopsTheReadAndEveryRunningAction)
{
    Started run(GetParam());
    run.Consume(2);
    run.Job->Cancel();
    EXPECT_EQ(run.Recorder.GetCalls(), 1);
    EXPECT_TRUE(Async::Errors::HasCode(run.Recorder.Result, Canceled));
    EXPECT_EQ(run.Reader->Reads, 1);
    EXPECT_EQ(run.Actions[1]->Performs.load(), GetParam() == AsynchronizerKind::Sequence ? 0 : 1);
}

TEST(AsynchronizerTest, FailedActionStopsTheStreamAndEachKindTreatsTheOthersItsWay)
{
    const struct
    {
        AsynchronizerKind Kind;
        int OthersPerformed; // the first and the third
        int OthersCancelled;
    } cases[] = {{AsynchronizerKind::FullBarrier, 2, 0},
                 {AsynchronizerKind::LazyBarrier, 2, 2},
                 {AsynchronizerKind::Sequence, 1, 0}};
    for (const auto& test : cases)
    {
        Started run(test.Kind);
        run.Consume(3);
        if (test.Kind == AsynchronizerKind::Sequence)
        {
            EXPECT_EQ(run.Actions[1]->Performs.load(), 0);
            run.Actions[0]->Complete(Error());
        }
        run.Actions[1]->Complete(Error(COMMON_LOCATION("AsynchronizerTest"), Failure));
        EXPECT_EQ(run.Reader->Consume(std::make_shared<ManualAction>()).GetCode(), AsynchronizerClosed);
        run.Reader->End(Async::Errors::MakeAsynchronizerClosed());
        EXPECT_EQ(run.Actions[0]->Performs + run.Actions[2]->Performs, test.OthersPerformed);
        EXPECT_EQ(run.Actions[0]->Cancels + run.Actions[2]->Cancels, test.OthersCancelled);
        for (const auto& action : run.Actions)
        {
            action->Complete(Error()); // the full barrier's others end on their own
        }
        EXPECT_EQ(run.Recorder.GetCalls(), 1);
        EXPECT_TRUE(Async::Errors::HasCode(run.Recorder.Result, Failure));
    }
}

TEST(AsynchronizerTest, NullActionOrReaderFailsAndConsumingAfterAFailedConsumeAsserts)
{
    Started run(AsynchronizerKind::LazyBarrier);
    EXPECT_EQ(run.Reader->Consume(nullptr).GetCode(), InvalidResult);
    {
        Testing::AssertCapture asserts;
        EXPECT_EQ(run.Reader->Consume(nullptr).GetCode(), AsynchronizerClosed);
        EXPECT_EQ(asserts.Expressions(),
                  std::vector<std::string>{"FailReason == Common::Success && \"Top-level logic broken.\""});
    }
    run.Reader->End();
    EXPECT_EQ(run.Recorder.Result.GetCode(), InvalidResult);

    ResultRecorder recorder;
    EXPECT_EQ(Async::MakeAsynchronizer(nullptr, AsynchronizerKind::Sequence)->Perform(recorder), nullptr);
    EXPECT_EQ(recorder.Result.GetCode(), InvalidResult);
}

} // namespace
