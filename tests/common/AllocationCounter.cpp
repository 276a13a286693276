#include "AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace
{

struct ThreadCounter
{
    bool Active = false;
    std::size_t Count = 0;
    std::size_t LastSize = 0;
    std::size_t FailAfter = static_cast<std::size_t>(-1);
};

thread_local ThreadCounter Counter;

[[maybe_unused]] void* Allocate(std::size_t size)
{
    if (Counter.Active)
    {
        if (Counter.FailAfter == 0)
        {
            return nullptr;
        }
        --Counter.FailAfter;
        ++Counter.Count;
        Counter.LastSize = size;
    }
    return std::malloc(size != 0 ? size : 1);
}

} // namespace

#ifndef VELTRIX_NO_ALLOCATION_HOOKS

void* operator new(std::size_t size)
{
    if (void* block = Allocate(size))
    {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete[](void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}

#endif

namespace Testing
{

bool AllocationCounter::Available()
{
#ifdef VELTRIX_NO_ALLOCATION_HOOKS
    return false;
#else
    return true;
#endif
}

AllocationCounter::AllocationCounter()
{
    Counter = ThreadCounter{true};
}

AllocationCounter::~AllocationCounter()
{
    Counter = ThreadCounter{};
}

std::size_t AllocationCounter::Count() const
{
    return Counter.Count;
}

std::size_t AllocationCounter::LastSize() const
{
    return Counter.LastSize;
}

void AllocationCounter::FailAfter(std::size_t successes)
{
    Counter.FailAfter = successes;
}

} // namespace Testing
