#include "async/JobControl.h"

#include "async/Errors.h"
#include "common/CatalogIds.h"
#include "common/SafeAssert.h"
#include "common/TextCatalog.h"
#include "common/Trace.h"

#include <bitset>
#include <thread>

namespace Async
{
namespace
{

constexpr int SwallowedErrorLevel = 4;

// The 26 allowed changes, as a bit set indexed by to * 11 + from; built once at start-up.
class TransitionMatrix
{
public:
    TransitionMatrix()
    {
        constexpr std::uint32_t Allowed[][2] = {
            {0, 1}, {0, 2},  {0, 3},  {0, 10}, {1, 8},  {1, 10}, {2, 5},  {2, 10}, {3, 4},
            {3, 5}, {3, 6},  {3, 10}, {4, 3},  {4, 10}, {5, 3},  {5, 10}, {6, 4},  {6, 7},
            {7, 3}, {7, 10}, {8, 4},  {8, 9},  {9, 3},  {9, 10}, {10, 0}, {10, 3},
        };
        for (const auto& [from, to] : Allowed)
        {
            Bits.set(Index(from, to));
        }
    }

    bool Allows(std::uint32_t from, std::uint32_t to) const
    {
        SAFE_ASSERT_TEXT(from < static_cast<long>(JobControl::StatesCount),
                         "from < static_cast<long>(StatesCount)");
        SAFE_ASSERT_TEXT(to < static_cast<long>(JobControl::StatesCount),
                         "to < static_cast<long>(StatesCount)");
        return from < JobControl::StatesCount && to < JobControl::StatesCount && Bits.test(Index(from, to));
    }

private:
    static std::size_t Index(std::uint32_t from, std::uint32_t to)
    {
        return to * JobControl::StatesCount + from;
    }

    std::bitset<JobControl::StatesCount * JobControl::StatesCount> Bits;
};

const TransitionMatrix Matrix;
std::atomic<std::uint32_t> NextControlId{1};

#ifdef VELTRIX_TEST_HOOKS
std::atomic<Detail::TransitionHook> Hook{nullptr};
#endif

// State 10 lasts the few instructions of FinishRun's first steps.
void Spin()
{
    std::this_thread::yield();
}

} // namespace

#ifdef VELTRIX_TEST_HOOKS
namespace Detail
{
void SetJobControlTransitionHook(TransitionHook hook)
{
    Hook.store(hook, std::memory_order_release);
}
} // namespace Detail
#endif

JobControl::JobControl()
    : Id(NextControlId.fetch_add(1, std::memory_order_relaxed)), Result(Errors::InvalidResult())
{
}

JobControl::~JobControl()
{
    const std::uint32_t state = GetState();
    SAFE_ASSERT_TEXT(state == StateBegin || state == StateCancelScheduledWaitAll,
                     "(state == STATE_BEGIN || state == STATE_CANCEL_SCHEDULED_WAIT_ALL) && \"Premature "
                     "JobControl destruction.\"");
}

bool JobControl::IsTransitionAllowed(std::uint32_t from, std::uint32_t to)
{
    return Matrix.Allows(from, to);
}

bool JobControl::Transit(std::uint32_t from, std::uint32_t to)
{
    if (!Matrix.Allows(from, to))
    {
        return false;
    }
    std::uint32_t expected = from;
    if (!CurrentState.compare_exchange_strong(expected, to, std::memory_order_acq_rel))
    {
        return false;
    }
#ifdef VELTRIX_TEST_HOOKS
    if (const Detail::TransitionHook hook = Hook.load(std::memory_order_acquire))
    {
        hook(*this, from, to);
    }
#endif
    return true;
}

std::uint32_t JobControl::Sync(const Common::Error& error)
{
    // A cancellation the job honoured is consumed; one it ignored stays for the next run.
    return Errors::HasCode(error, ErrorCodes::Canceled) ? StateFinishing : StateCancelScheduledWaitAll;
}

void JobControl::Run(Action& action, ActionHandler& handler, DescriptiveEntity* owner)
{
    Handler = &handler;
    Owner = owner;

    // PreventiveCancel: a cancel that came while idle stops the run before it performs.
    if (GetState() == StateCancelScheduledWaitAll)
    {
        if (Transit(StateCancelScheduledWaitAll, StateFinishing))
        {
            FinishRun(Errors::MakeCanceled(COMMON_LOCATION("Async::JobControl::PreventiveCancel")));
        }
        else
        {
            SAFE_ASSERT_TEXT(false, "State logic broken. Second Perform() called.");
        }
        return;
    }

    // SafePerform. The local copy keeps the job alive when the run finishes inside the event below.
    std::shared_ptr<Job> job;
    bool failed = false;
    Common::Error failure;
    try
    {
        job = action.Perform(*this);
    }
    catch (...)
    {
        failed = true;
        failure = Errors::CurrentException(COMMON_LOCATION("Async::JobControl::SafePerform"), u"Perform");
    }
    Running = job;
    if (failed)
    {
        PerformFailed(failure);
    }
    else
    {
        PerformReturned();
    }
}

void JobControl::PerformReturned()
{
    for (;;)
    {
        switch (GetState())
        {
        case StateBegin:
            if (Transit(StateBegin, StateWaitCompleted))
            {
                return;
            }
            break;
        case StateWaitCompleted:
            SAFE_ASSERT_TEXT(false, "State logic broken. Second Perform() called.");
            break; // keeps looping until the state moves on
        case StateCancelScheduledWaitCompleted:
        case StateCancelling:
        case StateCancellingCompleted:
            SAFE_ASSERT_TEXT(false, "State logic broken. Second Perform() called.");
            return;
        case StateWaitPerform:
            if (Transit(StateWaitPerform, StateFinishing))
            {
                FinishRun(Result);
                return;
            }
            break;
        case StateCancelScheduledWaitAll:
            if (Running == nullptr)
            {
                if (Transit(StateCancelScheduledWaitAll, StateCancelScheduledWaitCompleted))
                {
                    return;
                }
            }
            else if (Transit(StateCancelScheduledWaitAll, StateCancellingAfterPerform))
            {
                CancelRunning();
            }
            break;
        case StateCancelScheduledWaitPerform:
        {
            const bool syncPoint = Transit(StateCancelScheduledWaitPerform, StateCancelScheduledWaitAll);
            SAFE_ASSERT_TEXT(syncPoint, "syncPoint && \"State logic broken.\"");
            FinishRun(Result);
            return;
        }
        case StateCancellingAfterPerform:
            if (Transit(StateCancellingAfterPerform, StateCancelScheduledWaitCompleted))
            {
                return;
            }
            break;
        case StateCancellingAfterPerformCompleted:
        {
            const bool syncPoint = Transit(StateCancellingAfterPerformCompleted, Sync(Result));
            SAFE_ASSERT_TEXT(syncPoint, "syncPoint && \"State logic broken.\"");
            FinishRun(Result);
            return;
        }
        case StateFinishing:
            Spin();
            break;
        default:
            return;
        }
    }
}

void JobControl::PerformFailed(const Common::Error& error)
{
    Common::TraceError(SwallowedErrorLevel, error);
    Result = error;
    for (;;)
    {
        const std::uint32_t state = GetState();
        switch (state)
        {
        case StateBegin:
        case StateWaitPerform:
        case StateCancelScheduledWaitAll:
            if (Transit(state, StateFinishing))
            {
                FinishRun(Result);
                return;
            }
            break;
        case StateCancelScheduledWaitPerform:
        case StateCancellingAfterPerformCompleted:
        {
            const bool syncPoint = Transit(state, StateFinishing);
            SAFE_ASSERT_TEXT(syncPoint, "syncPoint && \"State logic broken.\"");
            FinishRun(Result);
            return;
        }
        case StateWaitCompleted:
        case StateCancelScheduledWaitCompleted:
        case StateCancelling:
        case StateCancellingCompleted:
            SAFE_ASSERT_TEXT(false, "State logic broken. Second Perform() called.");
            return;
        case StateCancellingAfterPerform:
            SAFE_ASSERT_TEXT(false, "State logic broken. Second Perform() called?");
            return;
        case StateFinishing:
            Spin();
            break;
        default:
            return;
        }
    }
}

void JobControl::Completed(const Common::Error& result)
{
    Common::Error described = result;
    if (result.GetCode() != 0 && Owner != nullptr)
    {
        try
        {
            WorkDescription description;
            Owner->Describe(description);
            Common::Error wrapped = description.ToError();
            wrapped.SetSubError(result);
            described = wrapped;
        }
        catch (...)
        {
            // The bare result then.
        }
    }
    Result = described;

    for (;;)
    {
        switch (GetState())
        {
        case StateBegin:
            if (Transit(StateBegin, StateWaitPerform))
            {
                return;
            }
            break;
        case StateWaitCompleted:
            if (Transit(StateWaitCompleted, StateFinishing))
            {
                // The quick path hands the bare result upward; only runs that met another event first
                // deliver the described one.
                FinishRun(result);
                return;
            }
            break;
        case StateWaitPerform:
        case StateCancelScheduledWaitPerform:
        case StateCancellingAfterPerformCompleted:
            SAFE_ASSERT_TEXT(false, "State logic broken. Second Completed() called.");
            return;
        case StateCancelScheduledWaitAll:
            if (Transit(StateCancelScheduledWaitAll, StateCancelScheduledWaitPerform))
            {
                return;
            }
            break;
        case StateCancelScheduledWaitCompleted:
        {
            const bool syncPoint = Transit(StateCancelScheduledWaitCompleted, Sync(Result));
            SAFE_ASSERT_TEXT(syncPoint, "syncPoint && \"State logic broken.\"");
            FinishRun(Result);
            return;
        }
        case StateCancellingAfterPerform:
            if (Transit(StateCancellingAfterPerform, StateCancellingAfterPerformCompleted))
            {
                return;
            }
            break;
        case StateCancelling:
            if (Transit(StateCancelling, StateCancellingCompleted))
            {
                return;
            }
            break;
        case StateCancellingCompleted:
            SAFE_ASSERT_TEXT(false, "State logic broken. Second Completed() called?");
            return;
        case StateFinishing:
            Spin();
            break;
        default:
            return;
        }
    }
}

void JobControl::Cancel()
{
    for (;;)
    {
        switch (GetState())
        {
        case StateBegin:
            if (Transit(StateBegin, StateCancelScheduledWaitAll))
            {
                return;
            }
            break;
        case StateWaitCompleted:
            if (Transit(StateWaitCompleted, StateCancelling))
            {
                // While this thread calls the job's Cancel, leaving states 8 and 9 is reserved to it: the
                // job can't be finished and released under the call.
                CancelRunning();
                FinishCancelling();
                return;
            }
            break;
        case StateWaitPerform:
            if (Transit(StateWaitPerform, StateCancelScheduledWaitPerform))
            {
                return;
            }
            break;
        case StateFinishing:
            if (Transit(StateFinishing, StateCancelScheduledWaitAll))
            {
                return; // the finishing run keeps its result; the cancel waits for the next run
            }
            break;
        default:
            return; // 3 to 9: a cancellation is under way already
        }
    }
}

void JobControl::CancelRunning()
{
    if (Running == nullptr)
    {
        return;
    }
    try
    {
        Running->Cancel();
    }
    catch (...)
    {
        // A job whose Cancel throws still completes through its handler; the run goes on.
        Common::TraceError(SwallowedErrorLevel,
                           Errors::CurrentException(COMMON_LOCATION("Async::JobControl::Cancel"), u"Cancel"));
    }
}

void JobControl::FinishCancelling()
{
    for (;;)
    {
        switch (GetState())
        {
        case StateCancelling:
            if (Transit(StateCancelling, StateCancelScheduledWaitCompleted))
            {
                return;
            }
            break;
        case StateCancellingCompleted:
        {
            const bool syncPoint = Transit(StateCancellingCompleted, Sync(Result));
            SAFE_ASSERT_TEXT(syncPoint, "syncPoint && \"State logic broken.\"");
            FinishRun(Result);
            return;
        }
        default:
            SAFE_ASSERT_TEXT(false, "State logic broken.");
            return;
        }
    }
}

void JobControl::FinishRun(Common::Error error)
{
    ActionHandler* handler = Handler;
    Handler = nullptr;
    Result = Errors::InvalidResult();
    if (!Transit(StateFinishing, StateBegin))
    {
        SAFE_ASSERT_TEXT(GetState() == StateCancelScheduledWaitAll,
                         "State() == STATE_CANCEL_SCHEDULED_WAIT_ALL && \"State logic broken.\"");
    }
    // From here the control is idle and may be used again, by the handler itself too.
    std::shared_ptr<Job> running;
    running.swap(Running);
    if (handler != nullptr)
    {
        try
        {
            handler->Completed(error);
        }
        catch (...)
        {
            Common::TraceError(SwallowedErrorLevel,
                               Errors::CurrentException(COMMON_LOCATION("Async::JobControl::SafeFinishRun"),
                                                        u"Finalize run"));
        }
    }
    else
    {
        Common::TraceError(SwallowedErrorLevel,
                           Common::Error(COMMON_LOCATION("Async::JobControl::FinishRun"),
                                         ErrorCodes::NullFinishHandler,
                                         Common::GetText(Common::Texts::AsyncNullFinishHandler)));
    }
    // The job is released here, after the handler returned, on the finishing thread.
}

} // namespace Async
