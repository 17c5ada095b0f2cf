// Allocator: blocks whose size is told again when they are given back.

#pragma once

#include <cstddef>

#include "TVK/Export.h"

namespace TVK {

/// The allocator of counts, scratch blocks and, through `SmallBlockAllocator`, of wide
/// strings. Both libraries and the host share this one.
///
/// It stands on the C library's allocator, which keeps small blocks per thread already; a
/// pool of our own would hide misuse from the sanitizers. The size is part of the contract
/// all the same, so that a pool can take its place.
///
/// Ownership: the caller owns a block until `Dispose`.
/// Threads: any thread may allocate, and dispose of any thread's block.
/// Errors: no memory, or an impossible size, gives null. Nothing throws.
/// Frozen: both signatures.
class TVK_API Allocator {
public:
    /// Returns a block of `inSize` bytes, aligned for every fundamental type, or null. A
    /// size of 0 gives a block that may only be disposed of.
    static void* Allocate(std::size_t inSize) noexcept;

    /// Gives a block back. `inSize` repeats the size asked for. Null is allowed.
    static void Dispose(void* inBlock, std::size_t inSize) noexcept;
};

}  // namespace TVK
