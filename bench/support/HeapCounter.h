// The benchmarks' view of the process heap, counted by a replaced global operator new.
#pragma once

#include <cstddef>

namespace Bench
{

std::size_t LiveHeapBytes();
std::size_t PeakHeapBytes();
std::size_t HeapAllocations();
// Starts a new high-water mark at the bytes live now.
void ResetPeakHeap();

} // namespace Bench
