// HeapCounter: how often a program asked the general heap for memory.

#pragma once

namespace Testing {

/// Calls of global `new`, in any form and on any thread, since the program started. A
/// program that links `heap_counter` has its global `new` replaced by one that counts.
long HeapAllocations();

}  // namespace Testing
