// Counts every allocation of the process through the global operator new (the core library's too, since
// the executable's definition takes precedence): live bytes as malloc hands them out, their high-water
// mark and the number of allocations. Benchmarks run on one thread; plain loads and stores keep it cheap.
#include "HeapCounter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<std::size_t> LiveBytes{0};
std::atomic<std::size_t> PeakBytes{0};
std::atomic<std::size_t> Allocations{0};

void Add(std::atomic<std::size_t>& counter, std::size_t amount)
{
    counter.store(counter.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
}

void* Allocate(std::size_t size)
{
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    Add(LiveBytes, malloc_usable_size(memory));
    Add(Allocations, 1);
    const std::size_t live = LiveBytes.load(std::memory_order_relaxed);
    if (live > PeakBytes.load(std::memory_order_relaxed))
    {
        PeakBytes.store(live, std::memory_order_relaxed);
    }
    return memory;
}

void Release(void* memory) noexcept
{
    if (memory != nullptr)
    {
        Add(LiveBytes, 0 - malloc_usable_size(memory));
        std::free(memory);
    }
}
} // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}
void* operator new[](std::size_t size)
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    Release(memory);
}
void operator delete[](void* memory) noexcept
{
    Release(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    Release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    Release(memory);
}

namespace Bench
{

std::size_t LiveHeapBytes()
{
    return LiveBytes.load(std::memory_order_relaxed);
}

std::size_t PeakHeapBytes()
{
    return PeakBytes.load(std::memory_order_relaxed);
}

std::size_t HeapAllocations()
{
    return Allocations.load(std::memory_order_relaxed);
}

void ResetPeakHeap()
{
    PeakBytes.store(LiveBytes.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

} // namespace Bench
