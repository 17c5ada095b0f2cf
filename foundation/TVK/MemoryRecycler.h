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
/// most a quarter of a block is waste. Each is aligned to 64 bytes.
///
/// Bound: unused blocks sum up to at most `kMaxUnusedBytes`. A block given back beyond
/// that pushes out those that have lain unused the longest; so old sizes make room for
/// new ones when a host changes from one frame size to another. A single block beyond the
/// bound is freed at once.
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
    /// 512 MiB: a dozen float frames of 3840x2160 with their pyramids.
    static constexpr std::size_t kMaxUnusedBytes = std::size_t{512} << 20;
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

    /// Frees every unused block. Blocks that are out stay good.
    void Trim() noexcept;

    /// Bytes in unused blocks, and in blocks that are out.
    /// @{
    std::size_t GetUnusedBytes() noexcept;
    std::size_t GetUsedBytes() noexcept;
    /// @}

private:
    struct Pool;
    Pool* mPool;
};

}  // namespace TVK
