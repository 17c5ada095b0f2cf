// RecycledArray: working memory of one call.

#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

#include "TVK/MemoryRecycler.h"

namespace IP {

/// `inCount` values of a plain type in a block from the recycler, **with whatever its last
/// user left there**, aligned to 64 bytes.
///
/// Ownership: the array's own; given back when it dies.
/// Threads: none of its own. Errors: throws std::bad_alloc where there is no block.
template <class T>
class RecycledArray {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    explicit RecycledArray(std::size_t inCount)
        : mRecycler(TVK::MemoryRecycler::Instance()), mCount(inCount) {
        if (mRecycler != NULL && inCount <= std::size_t{PTRDIFF_MAX} / sizeof(T))
            mBuffer = mRecycler->AllocateBuffer(static_cast<std::int64_t>(inCount * sizeof(T)));
        if (!mBuffer.mBlock) throw std::bad_alloc();
    }
    RecycledArray(const RecycledArray&) = delete;
    RecycledArray& operator=(const RecycledArray&) = delete;
    ~RecycledArray() { mRecycler->RecycleBuffer(mBuffer); }

    T* begin() { return static_cast<T*>(mBuffer.mBlock); }
    T* end() { return begin() + mCount; }
    const T* begin() const { return static_cast<const T*>(mBuffer.mBlock); }
    const T* end() const { return begin() + mCount; }
    std::size_t size() const { return mCount; }
    T& operator[](std::size_t inIndex) { return begin()[inIndex]; }
    const T& operator[](std::size_t inIndex) const { return begin()[inIndex]; }

private:
    TVK::ObjectPtr<TVK::MemoryRecycler> mRecycler;
    TVK::MemoryBuffer mBuffer;
    std::size_t mCount;
};

}  // namespace IP
