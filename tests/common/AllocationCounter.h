// Counts the global allocations of the calling thread, and can make them fail, for tests that pin
// down how many blocks an operation takes and what it does when memory runs out.
#pragma once

#include <cstddef>

namespace Testing
{

class AllocationCounter
{
public:
    AllocationCounter();
    ~AllocationCounter();
    AllocationCounter(const AllocationCounter&) = delete;
    AllocationCounter& operator=(const AllocationCounter&) = delete;

    // False where the global allocation functions can't be replaced (ThreadSanitizer brings its own).
    static bool Available();

    std::size_t Count() const;
    std::size_t LastSize() const;
    // Allocations after the next `successes` ones fail (nothrow forms return null, others throw).
    void FailAfter(std::size_t successes);
};

} // namespace Testing

#define SKIP_WITHOUT_ALLOCATION_HOOKS()                                                                      \
    if (!::Testing::AllocationCounter::Available())                                                          \
    GTEST_SKIP() << "allocation hooks are not available in this build"
