#include "common/Tls.h"

#include "common/SafeAssert.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <mutex>
#include <vector>

namespace Common
{
namespace
{

// A thread's value for one index. A value counts only while its generation is the index's current
// one, so a freed and reused index starts at null in every thread, as a new slot must.
struct Slot
{
    void* Value = nullptr;
    Tls::Callback Callback = nullptr;
    std::uint32_t Generation = 0;
};

struct ThreadSlots
{
    std::vector<Slot> Slots;
};

struct Indexes
{
    std::mutex Lock;
    std::array<bool, Tls::MaximumIndexes> InUse{};
    std::array<std::atomic<std::uint32_t>, Tls::MaximumIndexes> Generations{};
};

Indexes& GetIndexes()
{
    // Never destroyed: threads may end, and run callbacks, while statics are torn down.
    static Indexes* const indexes = new Indexes;
    return *indexes;
}

thread_local ThreadSlots* CurrentSlots = nullptr;

void EndThread(void* raw)
{
    auto* slots = static_cast<ThreadSlots*>(raw);
    CurrentSlots = nullptr;
    Indexes& indexes = GetIndexes();
    for (std::size_t index = 0; index < slots->Slots.size(); ++index)
    {
        const Slot& slot = slots->Slots[index];
        if (slot.Callback != nullptr && slot.Value != nullptr &&
            slot.Generation == indexes.Generations[index].load(std::memory_order_relaxed))
        {
            // A callback that sets values again gets new slots, and the system calls this once more.
            slot.Callback(slot.Value);
        }
    }
    delete slots;
}

pthread_key_t ThreadEndKey()
{
    static const pthread_key_t key = []
    {
        pthread_key_t created{};
        pthread_key_create(&created, EndThread);
        return created;
    }();
    return key;
}

// The calling thread's slot for `index` with a current generation, or null if it has none and
// `create` is false.
Slot* FindSlot(Tls::Index index, bool create)
{
    ThreadSlots* slots = CurrentSlots;
    if (slots == nullptr)
    {
        if (!create)
        {
            return nullptr;
        }
        slots = new ThreadSlots;
        CurrentSlots = slots;
        pthread_setspecific(ThreadEndKey(), slots);
    }
    if (index >= slots->Slots.size())
    {
        if (!create)
        {
            return nullptr;
        }
        slots->Slots.resize(index + 1);
    }
    Slot& slot = slots->Slots[index];
    const std::uint32_t generation = GetIndexes().Generations[index].load(std::memory_order_relaxed);
    if (slot.Generation != generation)
    {
        if (!create)
        {
            return nullptr;
        }
        slot = Slot{nullptr, nullptr, generation};
    }
    return &slot;
}

} // namespace

Tls::Tls() : Key(OUT_OF_INDEXES)
{
    ThreadEndKey();
    Indexes& indexes = GetIndexes();
    std::lock_guard<std::mutex> guard(indexes.Lock);
    for (Index index = 0; index < MaximumIndexes; ++index)
    {
        if (!indexes.InUse[index])
        {
            indexes.InUse[index] = true;
            indexes.Generations[index].fetch_add(1, std::memory_order_relaxed);
            Key = index;
            return;
        }
    }
}

Tls::~Tls()
{
    if (Key == OUT_OF_INDEXES)
    {
        return;
    }
    Indexes& indexes = GetIndexes();
    std::lock_guard<std::mutex> guard(indexes.Lock);
    indexes.InUse[Key] = false;
    indexes.Generations[Key].fetch_add(1, std::memory_order_relaxed);
}

void* Tls::Get() const
{
    SAFE_ASSERT_TEXT(Key != OUT_OF_INDEXES, "key != Common::Tls::OUT_OF_INDEXES");
    if (Key == OUT_OF_INDEXES)
    {
        return nullptr;
    }
    const Slot* slot = FindSlot(Key, false);
    return slot != nullptr ? slot->Value : nullptr;
}

void Tls::Set(void* value)
{
    SAFE_ASSERT_TEXT(Key != OUT_OF_INDEXES, "key != Common::Tls::OUT_OF_INDEXES");
    if (Key == OUT_OF_INDEXES)
    {
        return;
    }
    FindSlot(Key, true)->Value = value;
}

void Tls::SetCallback(Callback callback)
{
    SAFE_ASSERT_TEXT(Key != OUT_OF_INDEXES, "key != Common::Tls::OUT_OF_INDEXES");
    if (Key == OUT_OF_INDEXES)
    {
        return;
    }
    Slot* slot = FindSlot(Key, true);
    SAFE_ASSERT_TEXT(slot->Callback == nullptr, "_Callback == 0");
    if (slot->Callback == nullptr)
    {
        slot->Callback = callback;
    }
}

} // namespace Common
