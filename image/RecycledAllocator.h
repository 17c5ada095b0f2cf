// RecycledAllocator: large vectors on pages that the system need not clear again.

#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <vector>

#include "TVK/MemoryRecycler.h"

namespace IP {

/// A standard allocator whose large blocks come from the recycler and go back to it, so that
/// a vector as large as a frame costs a run over a clip its pages once. Small blocks are the
/// heap's. Each large block begins with what it takes to give it back:
///
///     [ recycler, buffer ... 64 bytes ][ values ... ]
///
/// Ownership: a block's; it holds the recycler until then.
/// Threads: any. Errors: throws std::bad_alloc where there is no block.
template <class T>
class RecycledAllocator {
public:
    static_assert(std::is_trivially_copyable_v<T>);
    using value_type = T;

    RecycledAllocator() = default;
    template <class U>
    RecycledAllocator(const RecycledAllocator<U>&) {}

    T* allocate(std::size_t inCount) {
        if (!IsLarge(inCount)) return static_cast<T*>(::operator new(inCount * sizeof(T)));
        Header header{TVK::MemoryRecycler::Instance(), {}};
        if (header.mRecycler != NULL && inCount <= (PTRDIFF_MAX - kHeaderBytes) / sizeof(T))
            header.mBuffer = header.mRecycler->AllocateBuffer(
                static_cast<std::int64_t>(kHeaderBytes + inCount * sizeof(T)));
        auto* const block = static_cast<unsigned char*>(header.mBuffer.mBlock);
        if (!block) throw std::bad_alloc();
        new (block) Header(header);
        return static_cast<T*>(static_cast<void*>(block + kHeaderBytes));
    }

    void deallocate(T* inValues, std::size_t inCount) {
        if (!IsLarge(inCount)) return ::operator delete(inValues);
        void* const block =
            static_cast<unsigned char*>(static_cast<void*>(inValues)) - kHeaderBytes;
        auto* const kept = static_cast<Header*>(block);
        Header header = *kept;
        kept->~Header();
        header.mRecycler->RecycleBuffer(header.mBuffer);
    }

    bool operator==(const RecycledAllocator&) const { return true; }

private:
    struct Header {
        TVK::ObjectPtr<TVK::MemoryRecycler> mRecycler;
        TVK::MemoryBuffer mBuffer;
    };
    static constexpr std::size_t kHeaderBytes = TVK::MemoryRecycler::kAlignment;
    static_assert(sizeof(Header) <= kHeaderBytes && alignof(T) <= kHeaderBytes);

    static bool IsLarge(std::size_t inCount) {
        constexpr std::size_t kLeastBytes = 64 << 10;
        return inCount >= kLeastBytes / sizeof(T);
    }
};

template <class T>
using RecycledVector = std::vector<T, RecycledAllocator<T>>;

}  // namespace IP
