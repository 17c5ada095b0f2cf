// HeapCounter: what a program asks of the general heap.

#pragma once

#include <cstddef>

namespace Testing {

// A program that links `heap_counter` has its global `new` replaced, in every form, by one
// that counts, over all threads.

/// Calls of `new` since the program started.
long HeapAllocations();

/// Blocks that are out.
long LiveHeapBlocks();

/// The largest size asked for since the last reset.
std::size_t LargestHeapAllocation();
void ResetLargestHeapAllocation();

/// The `inNumber`-th allocation from now fails, once; 0 lets all pass.
void FailHeapAllocation(long inNumber);

}  // namespace Testing
