#include "async/SynchronizationCallback.h"

#include "async/Service.h"
#include "common/SafeAssert.h"

#include <algorithm>

namespace Async
{

void SynchronizationCallbackStorage::Push(SynchronizationCallback& callback)
{
    SynchronizationCallback* top = GetTop();
    if (top != nullptr)
    {
        callback.Level = std::max(callback.Level, top->Level);
    }
    SAFE_ASSERT_TEXT(callback.GetNext() == nullptr, "Next == 0");
    callback.SetNext(top);
    SetTop(&callback);
}

void SynchronizationCallbackStorage::Pop()
{
    SynchronizationCallback* top = GetTop();
    SAFE_ASSERT_TEXT(top != nullptr, "top != 0");
    if (top == nullptr)
    {
        return;
    }
    SynchronizationCallback* previous = top->GetNext();
    top->SetNext(nullptr);
    SetTop(previous);
    // Levels below may have changed while covered; the restored top keeps the rule of Push.
    if (previous != nullptr && previous->GetNext() != nullptr)
    {
        previous->Level = std::max(previous->Level, previous->GetNext()->Level);
    }
}

void SynchronizationCallbackStorage::Notify(void* argument)
{
    for (SynchronizationCallback* callback = GetTop(); callback != nullptr; callback = callback->GetNext())
    {
        ++callback->Calls;
        if (callback->Level == 0)
        {
            continue; // passive: counted, not asked
        }
        if (callback->OnSynchronize(argument))
        {
            return;
        }
    }
}

SynchronizationCallback* TlsSynchronizationCallbackStorage::GetTop() const
{
    return static_cast<SynchronizationCallback*>(Top.Get());
}

void TlsSynchronizationCallbackStorage::SetTop(SynchronizationCallback* top)
{
    Top.Set(top);
}

SynchronizationCallbackStorage& GetSynchronizationCallbackStorage()
{
    Service* service = nullptr;
    GetAsyncService(&service);
    if (service != nullptr)
    {
        return service->GetSynchronizationCallbackStorage();
    }
    // Never destroyed: threads may unwind their scopes while statics are torn down.
    static TlsSynchronizationCallbackStorage* const fallback = new TlsSynchronizationCallbackStorage;
    return *fallback;
}

ScopedSynchronizationCallback::ScopedSynchronizationCallback(std::uint32_t level)
    : SynchronizationCallback(level), Storage(GetSynchronizationCallbackStorage())
{
    Storage.Push(*this);
}

ScopedSynchronizationCallback::~ScopedSynchronizationCallback()
{
    SynchronizationCallback* top = Storage.GetTop();
    if (top == this)
    {
        Storage.Pop();
        return;
    }
    // Scopes destroyed out of order: unlink this one, so the stack keeps no dangling entry.
    SAFE_ASSERT_TEXT(false, "Storage.GetTop() == this");
    for (SynchronizationCallback* above = top; above != nullptr; above = above->GetNext())
    {
        if (above->GetNext() == this)
        {
            above->SetNext(GetNext());
            SetNext(nullptr);
            return;
        }
    }
}

} // namespace Async
