// Common::Tls: a thread-local slot. Each thread sees its own value, null at first; a thread may give
// its value a destructor callback that runs when the thread ends. Without a free index the slot is
// OUT_OF_INDEXES and every access asserts. Thread-safe; a slot must outlive its users.
#pragma once

#include "common/NonCopyable.h"

#include <cstdint>

namespace Common
{

class Tls : NonCopyable
{
public:
    using Index = std::uint32_t;
    using Callback = void (*)(void* value);

    static constexpr Index OUT_OF_INDEXES = 0xFFFFFFFF;
    // Indexes the process has (the platform's minimum plus its extension).
    static constexpr Index MaximumIndexes = 1088;

    Tls();
    // Frees the index. Values still set in threads are abandoned: their callbacks no longer run.
    ~Tls();

    // OUT_OF_INDEXES if the process had no index left.
    Index GetIndex() const { return Key; }

    // The calling thread's value.
    void* Get() const;
    void Set(void* value);
    // Runs `callback(value)` with the calling thread's value (if not null then) when the thread ends.
    // One callback per thread: setting another asserts and keeps the first.
    void SetCallback(Callback callback);

private:
    Index Key;
};

} // namespace Common
