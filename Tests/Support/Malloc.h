// Malloc: what a program asks of the C library, and the refusal of it.

#pragma once

#include <cstddef>

namespace Testing {

// A program that links `replaced_malloc` has its malloc replaced, and with it everything
// that stands on malloc: global `new`, the small-block allocator, the recycler, the run
// times of C++ and Fortran. glibc only, and not under sanitizers, which do the same.

/// Blocks that are out, over all threads.
long LiveMallocBlocks();

/// Which allocations are refused, counted on the thread that makes the plan from 1. Those
/// of exactly `mExemptSize` bytes are neither counted nor refused; of `mOnlySize` bytes, if
/// that is not 0, all others.
struct MallocPlan {
    long mFirst = 0;  // 0: none
    bool mAndAllAfter = false;
    std::size_t mExemptSize = 0;
    std::size_t mOnlySize = 0;
};

/// Carries a plan out on this thread for its lifetime. One at a time on a thread.
class MallocFaults {
public:
    explicit MallocFaults(const MallocPlan& inPlan);
    ~MallocFaults();
    MallocFaults(const MallocFaults&) = delete;
    MallocFaults& operator=(const MallocFaults&) = delete;

    /// Allocations that counted so far, and those of them that were refused.
    long Seen() const;
    long Refused() const;
};

}  // namespace Testing
