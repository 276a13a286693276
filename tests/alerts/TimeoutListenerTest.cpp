// The timeout listeners on the virtual clock: TimeoutListener's delays and 30-day slices, the
// watchdog's per-kind timers and clear-then-raise, and PerProcessCallback's one alert per process.
#include "alerts/utils/TimeoutListener.h"

#include "AlertTesting.h"
#include "RecordingListener.h"
#include "TimingTesting.h"
#include "alerts/AlertGuids.h"
#include "alerts/AlertIdentity.h"
#include "alerts/utils/ActivityProgressAlertListener.h"
#include "alerts/utils/PerProcessCallback.h"
#include "async/Action.h"
#include "common/Error.h"
#include "por/PorUnit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using AlertTesting::Id;
using Lines = std::vector<std::string>;
using Testing::RecordingListener;

constexpr std::uint64_t Slice = Alerts::Util::TimeoutListener::MaximumSlice;
const Common::Guid AlertId = Id(0xA1);

using Testing::Active;
using Testing::Inactive;

Por::Unit MetaOf(const Common::Guid& parentProcess)
{
    return AlertTesting::With("ParentProcess", parentProcess);
}

class TimeoutListenerTest : public AlertTesting::StoreFixture
{
protected:
    // The full meta is the partial one marked "Full"; a set failure is thrown instead.
    Alerts::Util::TimeoutListener::MetaFunction Meta()
    {
        return [this](const Por::View::Unit& partial, const Dml::SynchronousDataStore&, std::string_view)
        {
            if (MetaFailure.GetCode() != 0)
            {
                throw MetaFailure;
            }
            Por::Unit full(Por::Util::Copy(partial, Por::GetUnitFactory()), Por::GetUnitFactory());
            full["Full"] = true;
            return full;
        };
    }

    // A "BackupDidNotStart" alert of the id, due after `delay` ms, whose meta names the process.
    void Arm(std::uint64_t delay, const Common::Guid& id = AlertId, const Common::Guid& process = Id(7))
    {
        Timeouts.ActivateAfter(delay, id, "BackupDidNotStart", MetaOf(process).Get(), u"");
    }

    TimingTesting::VirtualTime Time;
    std::shared_ptr<RecordingListener> Host = std::make_shared<RecordingListener>();
    Common::Error MetaFailure;
    Alerts::Util::TimeoutListener Timeouts{Meta(), Host, Client};
};

// The 10 s timer is replaced and never fires; the alert comes after the delay, with the full meta.
TEST_F(TimeoutListenerTest, ReArmingReplacesTheTimerAndImmediateCallsCancelIt)
{
    Arm(10000);
    Arm(30000);
    Arm(30000, Id(0xA2));
    Timeouts.OnInactive(Id(0xA2), "", u"");
    Time.Clock.Advance(29999);
    EXPECT_EQ(Host->TakeLines(), Lines{Inactive("*", Id(0xA2))});
    Time.Clock.Advance(1);
    const std::vector<RecordingListener::Call> calls = Host->Take();
    ASSERT_EQ(RecordingListener::Lines(calls), Lines{Active("BackupDidNotStart", AlertId)});
    EXPECT_TRUE(calls[0].Field("Full").As<bool>());
    EXPECT_EQ(calls[0].Field("ParentProcess").As<Common::Guid>(), Id(7));

    Arm(1000);
    Timeouts.OnActive(AlertId, "BackupDidNotStart", MetaOf(Id(7)).Get(), u"");
    EXPECT_EQ(Host->TakeLines(), Lines{Active("BackupDidNotStart", AlertId)});
    Time.Seconds(60);
    EXPECT_TRUE(Host->Take().empty());
}

TEST_F(TimeoutListenerTest, ADelayOfExactlyThirtyDaysIsOneFullSliceThenAZeroRemainder)
{
    Arm(Slice);
    // Advance steps through the slice in pieces short enough for the tick widening to see every flip.
    Time.Clock.Advance(Slice - 1);
    EXPECT_TRUE(Host->Take().empty());
    Time.Clock.Advance(1);
    EXPECT_EQ(Host->TakeLines(), Lines{Active("BackupDidNotStart", AlertId)});
    std::vector<std::string> arming;
    for (const std::string& text : Log.Texts(2))
    {
        if (text.rfind("ACTIVATE_AFTER", 0) == 0)
        {
            arming.push_back(text.substr(0, text.find(':')));
        }
    }
    EXPECT_EQ(arming, (Lines{"ACTIVATE_AFTER 2592000000ms", "ACTIVATE_AFTER 0ms"}));
}

TEST_F(TimeoutListenerTest, ALongWaitIsAChainOfSlicesThatADropEnds)
{
    Arm(2 * Slice + 5000);
    Arm(2 * Slice, Id(0xA2), Id(8));
    Time.Clock.Advance(Slice + 1000);
    Timeouts.DropIfExist(Id(0xA2));
    Time.Clock.Advance(Slice - 1000);
    EXPECT_TRUE(Host->Take().empty());
    Time.Clock.Advance(5000);
    EXPECT_EQ(Host->TakeLines(), Lines{Active("BackupDidNotStart", AlertId)});
}

TEST_F(TimeoutListenerTest, AFailingTimerIsLoggedAndForwardsNothing)
{
    MetaFailure = Common::Error(COMMON_LOCATION("TimeoutListenerTest"), 0x011A0042);
    Arm(1000);
    Time.Seconds(1);
    EXPECT_TRUE(Host->Take().empty());
    const Lines failures = Log.Texts(4);
    ASSERT_FALSE(failures.empty());
    EXPECT_EQ(failures.front(), "011A0011 Internal error in timeout callback in inspector (type: "
                                "'BackupDidNotStart').");
}

TEST_F(TimeoutListenerTest, StopAllStopsEveryTimerAndCleanupIsNotForwarded)
{
    Arm(1000);
    Arm(Slice + 1000, Id(0xA2), Id(8));
    Timeouts.StopAll();
    Time.Clock.Advance(Slice + 2000);
    EXPECT_TRUE(Host->Take().empty());
    struct Done final : Async::ActionHandler
    {
        void Completed(const Common::Error& error) override { Result = error.GetCode(); }
        std::uint32_t Result = 1;
    } done;
    Timeouts.CleanupAlerts("addon", Por::Unit::Composite().Get())->Perform(done);
    EXPECT_EQ(done.Result, 0u);
    EXPECT_TRUE(Host->Take().empty());
}

// PerProcessCallback on its own: distinct alert ids of one parent process.
class PerProcessCallbackTest : public ::testing::Test
{
protected:
    std::shared_ptr<RecordingListener> Host = std::make_shared<RecordingListener>();
    Alerts::Util::PerProcessCallback Callback{Host, "Inspector of activity not responding."};
    AlertTesting::LogCapture Log;
};

TEST_F(PerProcessCallbackTest, OneAlertPerParentProcessUntilTheFirstIsCleared)
{
    const Common::Guid process = Id(0x50);
    Callback.OnActive(Id(1), "ActivityNotResponding", MetaOf(process).Get(), u"");
    Callback.OnActive(Id(2), "BackupNotResponding", MetaOf(process).Get(), u"");
    Callback.OnActive(Id(3), "ActivityNotResponding", MetaOf(Id(0x51)).Get(), u"");
    EXPECT_EQ(Host->TakeLines(),
              (Lines{Active("ActivityNotResponding", Id(1)), Active("ActivityNotResponding", Id(3))}));
    // Clearing the suppressed one frees nothing: the first still holds the process.
    Callback.OnInactive(Id(2), "BackupNotResponding", u"");
    Callback.OnActive(Id(2), "BackupNotResponding", MetaOf(process).Get(), u"");
    EXPECT_EQ(Host->TakeLines(), Lines{Inactive("BackupNotResponding", Id(2))});
    Callback.OnInactive(Id(1), "ActivityNotResponding", u"");
    Callback.OnActive(Id(2), "BackupNotResponding", MetaOf(process).Get(), u"");
    EXPECT_EQ(Host->TakeLines(),
              (Lines{Inactive("ActivityNotResponding", Id(1)), Active("BackupNotResponding", Id(2))}));
    // The next listener's failure passes to the caller.
    Host->FailNext(1, Common::Error(COMMON_LOCATION("PerProcessCallbackTest"), 0x011A0042));
    EXPECT_THROW(Callback.OnActive(Id(4), "ActivityNotResponding", MetaOf(Id(0x52)).Get(), u""),
                 Common::Error);
}

TEST_F(PerProcessCallbackTest, AMetaWithoutParentProcessPassesWithoutBookkeeping)
{
    Callback.OnActive(Id(1), "BackupQueued", Por::Unit::Composite().Get(), u"");
    Callback.OnActive(Id(1), "BackupQueued", Por::Unit::Composite().Get(), u"");
    Callback.OnActive(Id(2), "BackupQueued", MetaOf(Id(0x50)).Get(), u"");
    EXPECT_EQ(Host->TakeLines(), (Lines{Active("BackupQueued", Id(1)), Active("BackupQueued", Id(1)),
                                        Active("BackupQueued", Id(2))}));
    const Lines misses = Log.Texts(3);
    ASSERT_EQ(misses.size(), 2u);
    EXPECT_EQ(misses[0].rfind("Inspector of activity not responding.: .ParentProcess not found in", 0), 0u);
}

// The watchdog of the not-responding and queued alerts.
class ProgressAlertListenerTest : public AlertTesting::StoreFixture
{
protected:
    ProgressAlertListenerTest() { Watchdog.SetNextListener(Host); }

    static Common::Guid Alert(const Common::Guid& subject)
    {
        return Alerts::XorGuids(subject, Alerts::ProgressAlertKey);
    }

    TimingTesting::VirtualTime Time;
    std::shared_ptr<RecordingListener> Host = std::make_shared<RecordingListener>();
    Alerts::Detail::ActivityProgressAlertListener Watchdog{Client, Id(0x3C)};
    const Common::Guid Subject = Id(0x50);
};

TEST_F(ProgressAlertListenerTest, ActivityNotRespondingHasATimerOfItsOwnAndTheOtherTypesShareOne)
{
    EXPECT_EQ(Alerts::Detail::ActivityProgressAlertListener::TimerKey(Subject, "ActivityNotResponding"),
              Alerts::XorGuids(Subject, Alerts::NotRespondingTimerKey));
    EXPECT_EQ(Alerts::Detail::ActivityProgressAlertListener::TimerKey(Subject, "BackupQueued"),
              Alert(Subject));
    Watchdog.ActivateAfter(1000, Subject, "ActivityNotResponding", MetaOf(Subject).Get(), u"");
    Watchdog.ActivateAfter(2000, Subject, "BackupNotResponding", MetaOf(Subject).Get(), u"");
    Watchdog.ActivateAfter(3000, Subject, "BackupQueued", MetaOf(Subject).Get(), u"");
    Time.Seconds(3);
    EXPECT_EQ(Host->TakeLines(),
              (Lines{Inactive("ActivityNotResponding", Alert(Subject)),
                     Active("ActivityNotResponding", Alert(Subject)),
                     Inactive("BackupQueued", Alert(Subject)), Active("BackupQueued", Alert(Subject))}));
}

TEST_F(ProgressAlertListenerTest, AFailingFiringIsLoggedAndTheTimerStillGoes)
{
    Host->FailNext(1, Common::Error(COMMON_LOCATION("ProgressAlertListenerTest"), 0x011A0042));
    Watchdog.ActivateAfter(1000, Subject, "BackupNotResponding", MetaOf(Subject).Get(), u"");
    Time.Seconds(5);
    EXPECT_EQ(Host->TakeLines(), Lines{Inactive("BackupNotResponding", Alert(Subject))});
    const Lines failures = Log.Texts(4);
    ASSERT_FALSE(failures.empty());
    EXPECT_EQ(failures.front(), "011A0011 Internal error in timeout callback in inspector (type: "
                                "'BackupNotResponding').");
}

} // namespace
