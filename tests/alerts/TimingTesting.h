// Helpers of the timing inspectors' tests: a virtual clock installed for a test's life, a running
// activity, writes that return only once the feeds have delivered them, and a fixture that runs one
// inspector over the host's components.
#pragma once

#include "AlertTesting.h"
#include "RecordingListener.h"
#include "alerts/contract/Inspector.h"
#include "async/DefaultService.h"
#include "common/Clock.h"
#include "common/VirtualClock.h"
#include "components/Components.h"
#include "dml/KeyPattern.h"
#include "dml/ServiceHolder.h"
#include "dml/SynchronousDataStore.h"
#include "por/PorUnit.h"
#include "por/UpdateBuilder.h"
#include "runtime/EntryPoint.h"

#include <cstdint>
#include <memory>

namespace TimingTesting
{

// Installs a virtual clock for the test's life; Advance takes seconds.
struct VirtualTime
{
    VirtualTime() { Common::SetClock(&Clock); }
    // SetClock returns once the monitor's thread no longer reads this clock.
    ~VirtualTime() { Common::SetClock(nullptr); }
    void Seconds(std::uint64_t seconds) { Clock.Advance(seconds * 1000); }
    std::int64_t Now() { return Common::GetClock().GetWallTime().Seconds; }
    Common::VirtualClock Clock;
};

// A running business activity (state 2) of the command, under the process.
inline Por::Unit MakeRunning(const Common::Guid& id, const Common::Guid& command, const Common::Guid& process)
{
    Por::Unit activity = AlertTesting::MakeActivity(id);
    activity["State"] = std::uint32_t{2};
    activity[".Details.Specific"] = u"Business";
    activity[".Details.CommandID"] = command;
    activity[".Origin.ParentProcess"] = process;
    activity[".Name"] = u"Backing up";
    activity[".Period.StartTime"] = std::int64_t{1000};
    activity[".Progress.Timestamp"] = std::int64_t{0};
    return activity;
}

// The store's writes, each followed by the delivery of its news to every feed.
class Writer
{
public:
    explicit Writer(Dml::SynchronousDataStore store) : Store(std::move(store)) {}

    void Create(const Por::Unit& object) const
    {
        Store.Create(CORE_ENTRY_POINT(), object.Get());
        Async::Detail::WaitUntilIdle();
    }
    // Creates the object or replaces the one of its id.
    void Put(const Por::Unit& object) const
    {
        Store.StoreOrUpdate(CORE_ENTRY_POINT(), object.Get());
        Async::Detail::WaitUntilIdle();
    }
    // Overwrites one property of the object of that id.
    template <typename T>
    void Set(const Common::Guid& id, const char16_t* path, const T& value) const
    {
        const Por::UnitPtr patch = Por::UpdateBuilder().Add(path, Por::Unit(value).Get()).Result();
        Store.Update(CORE_ENTRY_POINT(), *Dml::MakeKeyPatternFromValue(id), *patch);
        Async::Detail::WaitUntilIdle();
    }
    void Delete(const Common::Guid& id) const
    {
        Store.Delete(CORE_ENTRY_POINT(), *Dml::MakeKeyPatternFromValue(id));
        Async::Detail::WaitUntilIdle();
    }

private:
    Dml::SynchronousDataStore Store;
};

// One inspector over the host's components on the virtual clock, told to a recording listener.
class InspectorTest : public ::testing::Test
{
protected:
    using Factory = std::unique_ptr<Alerts::Inspector> (*)(Runtime::ServiceHolder&);

    // Makes and initializes the inspector; Begin starts it, too, and waits for the start's reads.
    void Make(Factory factory, const Por::Unit& settings = Por::Unit::Composite())
    {
        Holder = std::make_unique<Runtime::ServiceHolder>(Parts.MakeServiceHolder());
        Inspector = factory(*Holder);
        Inspector->Initialize(Host, settings.Get());
    }
    void Begin(Factory factory, const Por::Unit& settings = Por::Unit::Composite())
    {
        Make(factory, settings);
        Inspector->Start();
        Async::Detail::WaitUntilIdle();
    }
    void TearDown() override
    {
        if (Inspector != nullptr)
        {
            Inspector->Stop();
            Inspector->Deinitialize();
        }
    }

    const Common::Guid MachineId = AlertTesting::Id(0x4D41);
    VirtualTime Time;
    AlertTesting::LogCapture Log;
    Host::Components Parts{MachineId};
    Dml::SynchronousDataStore Client{Dml::ServiceHolder(&Parts.GetStore(), &Parts.GetStore())};
    Writer Write{Client};
    std::shared_ptr<Testing::RecordingListener> Host = std::make_shared<Testing::RecordingListener>();
    std::unique_ptr<Runtime::ServiceHolder> Holder;
    std::unique_ptr<Alerts::Inspector> Inspector;
};

} // namespace TimingTesting
