// Synchronisation callbacks: a per-thread stack of callbacks that a thread walks (Notify) just before it
// blocks, so that asynchronous work it owns can be handed to another thread first. A stack belongs to
// one thread: Push, Pop and Notify act on the calling thread's stack and need no lock; a callback is
// registered on one thread at a time and must stay alive while registered.
#pragma once

#include "common/NonCopyable.h"
#include "common/Tls.h"

#include <cstdint>

namespace Async
{

class SynchronizationCallback : Common::NonCopyable
{
public:
    // `level` 0 registers the callback passive: walks count it but never ask it.
    explicit SynchronizationCallback(std::uint32_t level = 1) : Level(level) {}
    virtual ~SynchronizationCallback() = default;

    // The callback below this one on its stack, or null.
    virtual SynchronizationCallback* GetNext() const { return Next; }
    virtual void SetNext(SynchronizationCallback* next) { Next = next; }
    // Called by a walk on the thread about to block; `argument` is whatever the blocking code passes.
    // True ends the walk.
    virtual bool OnSynchronize(void* argument) = 0;

    std::uint32_t GetLevel() const { return Level; }
    void SetLevel(std::uint32_t level) { Level = level; }
    // Walks that reached this callback, whether or not they asked it.
    std::uint32_t GetCalls() const { return Calls; }

private:
    friend class SynchronizationCallbackStorage;

    SynchronizationCallback* Next = nullptr;
    std::uint32_t Level;
    std::uint32_t Calls = 0;
};

// The stacks of callbacks, one per thread. Levels never decrease towards the top: a callback pushed
// above an active one is at least as active.
class SynchronizationCallbackStorage : Common::NonCopyable
{
public:
    virtual ~SynchronizationCallbackStorage() = default;

    // Makes `callback` the calling thread's top; it must not be on a stack (asserts "Next == 0").
    virtual void Push(SynchronizationCallback& callback);
    // Removes the calling thread's top and restores the one below it.
    virtual void Pop();
    // Walks the calling thread's stack from the top; see SynchronizationCallback::OnSynchronize.
    virtual void Notify(void* argument);

    // The calling thread's top, or null.
    virtual SynchronizationCallback* GetTop() const = 0;

protected:
    virtual void SetTop(SynchronizationCallback* top) = 0;
};

// Keeps each thread's top in a thread-local slot of its own.
class TlsSynchronizationCallbackStorage final : public SynchronizationCallbackStorage
{
public:
    SynchronizationCallback* GetTop() const override;

protected:
    void SetTop(SynchronizationCallback* top) override;

private:
    Common::Tls Top;
};

// The storage of the current async service, or a process-wide default when there is none.
SynchronizationCallbackStorage& GetSynchronizationCallbackStorage();

// Walks the calling thread's callbacks in the current storage: what a thread calls before it blocks.
inline void NotifySynchronization(void* argument = nullptr)
{
    GetSynchronizationCallbackStorage().Notify(argument);
}

// A callback that sits on the calling thread's stack (in the current storage) for its own lifetime.
// Construct and destroy it on the same thread, in nesting order.
class ScopedSynchronizationCallback : public SynchronizationCallback
{
public:
    explicit ScopedSynchronizationCallback(std::uint32_t level = 1);
    ~ScopedSynchronizationCallback() override;

private:
    SynchronizationCallbackStorage& Storage;
};

} // namespace Async
