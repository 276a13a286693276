#include "common/LightMutex.h"

#include "common/Event.h"
#include "common/SafeAssert.h"

#include <thread>

namespace Common
{
namespace
{

// Stands in the Event field while cleanup closes the handle; never dereferenced.
char ClosingMarkByte;
Common::Event* const ClosingMark = reinterpret_cast<Common::Event*>(&ClosingMarkByte);

} // namespace

LightMutex::~LightMutex()
{
    Common::Event* event = Event.load();
    if (event != ClosingMark)
    {
        delete event;
    }
}

// The last hold goes, or Unlock was called without one.
void LightMutex::Release()
{
    SAFE_ASSERT(Recursion != 0);
    if (Recursion == 0)
    {
        return;
    }
    Recursion = 0;
    Owner.store(0, std::memory_order_relaxed);
    if (SubtractLock() > 1)
    {
        GetEvent()->Set();
    }
}

bool LightMutex::HasEvent() const
{
    Common::Event* event = Event.load();
    return event != nullptr && event != ClosingMark;
}

void LightMutex::WaitForTurn(ThreadId self)
{
    // The auto-reset event keeps a Set that comes before the Wait, so no hand-over is lost.
    GetEvent()->Wait();
    Recursion = 1;
    Owner.store(self, std::memory_order_relaxed);
    if (Cleanup)
    {
        DropEventIfUnused();
    }
}

Common::Event* LightMutex::GetEvent()
{
    for (;;)
    {
        Common::Event* current = Event.load();
        if (current == ClosingMark)
        {
            std::this_thread::yield();
            continue;
        }
        if (current != nullptr)
        {
            return current;
        }
        auto* created = new Common::Event(false, false);
        if (Event.compare_exchange_strong(current, created))
        {
            return created;
        }
        delete created;
    }
}

// Called by the owner. The mark goes in before LockCount is read: a waiter adds itself to LockCount
// before it reads Event, so either it is counted here or it finds the mark (all sequentially consistent).
void LightMutex::DropEventIfUnused()
{
    Common::Event* event = Event.exchange(ClosingMark);
    if (LockCount.load() == 1)
    {
        // No other thread is counted, and the thread that set it has left it (Wait took its lock again).
        delete event;
        event = nullptr;
    }
    Event.store(event);
}

} // namespace Common
