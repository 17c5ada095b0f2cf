// MemoryRecycler: the pool of frame-sized buffers.

#pragma once

#include <cstddef>
#include <cstdint>

#include "TVK/Export.h"
#include "TVK/ObjectPtr.h"

namespace TVK {

/// A block from the recycler.
struct MemoryBuffer {
    void* mBlock = nullptr;   ///< the bytes; null where there are none
    std::uintptr_t mTag = 0;  ///< the recycler's own
};

/// Keeps the blocks that are given back and hands them out again, so that a run over a
/// clip moves the same few blocks round instead of asking the system for pages on every
/// frame. **A block comes with whatever its last user left in it.**
///
/// Blocks are kept by size class: four classes to the power of two, from 4 KiB up, so at
/// most a quarter of a block is waste. Each is aligned to 64 bytes. Blocks above 1 MiB lie
/// on huge pages where the system has them for who asks (on Linux: `madvise` or `always` in
/// /sys/kernel/mm/transparent_hugepage/enabled); one below 2 MiB then takes a whole one and
/// is counted by its class all the same.
///
/// Bound: used and unused blocks together take no more than what was in use at once since
/// the last `Trim`, and `kSpareBytes`. So a run that needs as much as before asks the system
/// for nothing; where a new block would pass the bound, those that have lain unused the
/// longest are freed, and old sizes make room for new ones when a host changes from one
/// frame size to another. **A host that is done with a large job calls `Trim`**: nothing
/// else lowers the bound.
///
/// Ownership: `Instance` keeps one reference for as long as the foundation library is
///   loaded; that is what holds the blocks between frames. An owner of a block holds a
///   reference of its own beside it, so a recycler outlives every block it gave out. The
///   destructor frees what lies unused.
/// Threads: any thread may call any operation.
/// Errors: no memory, or an impossible size, gives a buffer with a null block, and a null
///   `Instance` if there is not even room for the recycler. Nothing throws.
/// Frozen: the operations and the layout of `MemoryBuffer`.
class TVK_API MemoryRecycler {
public:
    /// Room beyond the bound for short-lived working memory of all sizes.
    static constexpr std::size_t kSpareBytes = std::size_t{8} << 20;
    static constexpr std::size_t kAlignment = 64;  ///< of every block, in bytes

    /// The recycler that the host and the libraries share.
    static ObjectPtr<MemoryRecycler> Instance();

    MemoryRecycler() noexcept;
    ~MemoryRecycler();
    MemoryRecycler(const MemoryRecycler&) = delete;
    MemoryRecycler& operator=(const MemoryRecycler&) = delete;

    /// Returns a block of at least `inSize` bytes. A size of 0 gives a block too; a
    /// negative one, or one that no machine has, gives a null block.
    MemoryBuffer AllocateBuffer(std::int64_t inSize) noexcept;

    /// Takes a block back and empties the buffer. An empty buffer is allowed.
    void RecycleBuffer(MemoryBuffer& ioBuffer) noexcept;

    /// Frees every unused block, and counts anew what is in use at once. Blocks that are out
    /// stay good.
    void Trim() noexcept;

    /// Bytes in unused blocks, in blocks that are out, and in those that were out at once
    /// since the last `Trim`.
    /// @{
    std::size_t GetUnusedBytes() noexcept;
    std::size_t GetUsedBytes() noexcept;
    std::size_t GetMostUsedBytes() noexcept;
    /// @}

private:
    struct Pool;
    Pool* mPool;
};

}  // namespace TVK
