// The recycler. Unused blocks carry their own bookkeeping: a block that nobody uses has
// room for its links, so keeping it costs no further memory and cannot fail.
//
//     class 0  4 KiB   [block]-[block]
//     class 1  5 KiB                       each class: last in, first out, for a warm cache
//     class 2  6 KiB   [block]
//     ...                                  all classes: one chain by age, oldest first, for
//                                          the bound

#include "TVK/MemoryRecycler.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

#include "platform/Pages.h"
#include "platform/StaticMutex.h"
#include "quillet/ThreadAnnotations.h"

#if defined(__SANITIZE_ADDRESS__)
#define TVK_POISONS_BLOCKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TVK_POISONS_BLOCKS 1
#endif
#endif
#if defined(TVK_POISONS_BLOCKS)
#include <sanitizer/asan_interface.h>
#endif

namespace TVK {
namespace {

// Under the address sanitizer only the bytes that were asked for may be touched, and of an
// unused block its bookkeeping.
void AllowBytes([[maybe_unused]] void* inBlock, [[maybe_unused]] std::size_t inAllowed,
                [[maybe_unused]] std::size_t inBlockSize) {
#if defined(TVK_POISONS_BLOCKS)
    ASAN_UNPOISON_MEMORY_REGION(inBlock, inAllowed);
    ASAN_POISON_MEMORY_REGION(static_cast<char*>(inBlock) + inAllowed, inBlockSize - inAllowed);
#endif
}

constexpr int kSmallestShift = 12;  // 4 KiB
constexpr int kLargestShift = 46;   // 64 TiB: beyond every machine's address space
constexpr int kClassesPerOctave = 4;
constexpr int kClassCount = (kLargestShift - kSmallestShift) * kClassesPerOctave + 1;

// 4, 5, 6, 7, 8, 10, 12, 14, 16, 20, ... KiB: four steps from one power of two to the next, so
// that a block above the least is at most a quarter larger than what was asked for.
std::size_t ClassSize(int inClass) {
    const std::size_t octave = std::size_t{1} << (kSmallestShift + inClass / kClassesPerOctave);
    return octave + octave / kClassesPerOctave * (inClass % kClassesPerOctave);
}

// The smallest class that holds `inSize`, or -1.
int ClassOf(std::int64_t inSize) {
    if (inSize < 0 || inSize > std::int64_t{1} << kLargestShift) return -1;
    const auto size = static_cast<std::size_t>(inSize);
    if (size <= std::size_t{1} << kSmallestShift) return 0;
    const int octave = static_cast<int>(std::bit_width(size - 1)) - 1;  // 2^octave < size
    const std::size_t step = (std::size_t{1} << octave) / kClassesPerOctave;
    const std::size_t above = size - (std::size_t{1} << octave);
    return (octave - kSmallestShift) * kClassesPerOctave +
           static_cast<int>((above + step - 1) / step);
}

// A std::mutex and its lock, by the names that Clang's analysis knows.
class DP_CAPABILITY("mutex") PoolMutex {
public:
    void Lock() DP_ACQUIRE() { mMutex.lock(); }
    void Unlock() DP_RELEASE() { mMutex.unlock(); }

private:
    std::mutex mMutex;
};

class DP_SCOPED_CAPABILITY PoolLock {
public:
    explicit PoolLock(PoolMutex& ioMutex) DP_ACQUIRE(ioMutex) : mMutex(ioMutex) {
        mMutex.Lock();
    }
    ~PoolLock() DP_RELEASE() { mMutex.Unlock(); }
    PoolLock(const PoolLock&) = delete;
    PoolLock& operator=(const PoolLock&) = delete;

private:
    PoolMutex& mMutex;
};

}  // namespace

struct MemoryRecycler::Pool {
    struct UnusedBlock {
        UnusedBlock* mOlder;  // chain by age
        UnusedBlock* mNewer;
        UnusedBlock* mBelow;  // stack of the class
        UnusedBlock* mAbove;
        int mClass;
    };

    PoolMutex mMutex;
    UnusedBlock* mTop[kClassCount] DP_GUARDED_BY(mMutex) = {};
    UnusedBlock* mOldest DP_GUARDED_BY(mMutex) = nullptr;
    UnusedBlock* mNewest DP_GUARDED_BY(mMutex) = nullptr;
    std::size_t mUnusedBytes DP_GUARDED_BY(mMutex) = 0;
    std::size_t mUsedBytes DP_GUARDED_BY(mMutex) = 0;
    std::size_t mMostUsedBytes DP_GUARDED_BY(mMutex) = 0;  // since the last Trim

    // Puts a block on top of its class and at the young end of the chain by age. Its first
    // bytes become the links; what its last user left behind them stays.
    void Insert(void* inBlock, int inClass) DP_REQUIRES(mMutex) {
        AllowBytes(inBlock, sizeof(UnusedBlock), ClassSize(inClass));
        auto* const block =
            new (inBlock) UnusedBlock{mNewest, nullptr, mTop[inClass], nullptr, inClass};
        (mNewest ? mNewest->mNewer : mOldest) = block;
        mNewest = block;
        if (block->mBelow) block->mBelow->mAbove = block;
        mTop[inClass] = block;
        mUnusedBytes += ClassSize(inClass);
    }

    // Takes a block out of both lists, wherever it lies in them: the oldest of all may be at
    // the bottom of its class. The block itself is not touched after that.
    void Remove(UnusedBlock* inBlock) DP_REQUIRES(mMutex) {
        (inBlock->mOlder ? inBlock->mOlder->mNewer : mOldest) = inBlock->mNewer;
        (inBlock->mNewer ? inBlock->mNewer->mOlder : mNewest) = inBlock->mOlder;
        (inBlock->mAbove ? inBlock->mAbove->mBelow : mTop[inBlock->mClass]) = inBlock->mBelow;
        if (inBlock->mBelow) inBlock->mBelow->mAbove = inBlock->mAbove;
        mUnusedBytes -= ClassSize(inBlock->mClass);
    }

    void CountUse(std::size_t inBytes) DP_REQUIRES(mMutex) {
        mUsedBytes += inBytes;
        mMostUsedBytes = std::max(mMostUsedBytes, mUsedBytes);
    }

    // A block has come from the system: what is held in all stays within the bound.
    void KeepWithinBound() DP_REQUIRES(mMutex) {
        FreeOldestDownTo(mMostUsedBytes + kSpareBytes - mUsedBytes);
    }

    // The class's last block, or null.
    void* TakeUnused(int inClass) {
        const PoolLock lock(mMutex);
        UnusedBlock* const block = mTop[inClass];
        if (!block) return nullptr;
        Remove(block);
        CountUse(ClassSize(inClass));
        return block;
    }

    // A new block, or null. The system is asked without the lock, and once more when what
    // lies unused here may be just what it lacks.
    void* TakeFromSystem(int inClass) {
        void* block = platform::AllocatePages(ClassSize(inClass));
        if (!block && GiveBackUnused()) block = platform::AllocatePages(ClassSize(inClass));
        if (!block) return nullptr;
        const PoolLock lock(mMutex);
        CountUse(ClassSize(inClass));
        KeepWithinBound();
        return block;
    }

    bool GiveBackUnused() {
        const PoolLock lock(mMutex);
        const bool hasUnused = mUnusedBytes > 0;
        FreeOldestDownTo(0);
        return hasUnused;
    }

    void FreeOldestDownTo(std::size_t inUnusedBytes) DP_REQUIRES(mMutex) {
        while (mUnusedBytes > inUnusedBytes) {
            UnusedBlock* const block = mOldest;
            const std::size_t size = ClassSize(block->mClass);
            Remove(block);
            AllowBytes(block, size, size);
            platform::FreePages(block);
        }
    }
};

MemoryRecycler::MemoryRecycler() noexcept : mPool(new (std::nothrow) Pool) {}

MemoryRecycler::~MemoryRecycler() {
    Trim();
    delete mPool;
}

// The kept reference. The two statics need no destructor, so a static object of the host
// that makes an image after ours are gone finds them as they are and gets a new recycler.
ObjectPtr<MemoryRecycler> MemoryRecycler::Instance() {
    using Kept = ObjectPtr<MemoryRecycler>;
    static constinit platform::StaticMutex sMutex;
    static constinit Kept* sKept = nullptr;
    static const struct DropAtUnload {
        ~DropAtUnload() {
            const std::lock_guard lock(sMutex);
            delete std::exchange(sKept, nullptr);
        }
    } sDropAtUnload;

    const std::lock_guard lock(sMutex);
    if (!sKept) {
        Kept made(new (std::nothrow) MemoryRecycler);
        if (made == NULL) return made;
        sKept = new (std::nothrow) Kept(made);
        if (!sKept) return made;
    }
    return *sKept;
}

MemoryBuffer MemoryRecycler::AllocateBuffer(std::int64_t inSize) noexcept {
    const int sizeClass = ClassOf(inSize);
    if (sizeClass < 0 || !mPool) return {};
    void* block = mPool->TakeUnused(sizeClass);
    if (!block) block = mPool->TakeFromSystem(sizeClass);
    if (!block) return {};
    AllowBytes(block, static_cast<std::size_t>(inSize), ClassSize(sizeClass));
    return {block, static_cast<std::uintptr_t>(sizeClass)};
}

void MemoryRecycler::RecycleBuffer(MemoryBuffer& ioBuffer) noexcept {
    if (!ioBuffer.mBlock) return;
    const auto sizeClass = static_cast<int>(ioBuffer.mTag);
    const PoolLock lock(mPool->mMutex);
    mPool->mUsedBytes -= ClassSize(sizeClass);
    mPool->Insert(ioBuffer.mBlock, sizeClass);
    ioBuffer = {};
}

void MemoryRecycler::Trim() noexcept {
    if (!mPool) return;
    const PoolLock lock(mPool->mMutex);
    mPool->FreeOldestDownTo(0);
    mPool->mMostUsedBytes = mPool->mUsedBytes;
}

std::size_t MemoryRecycler::GetUnusedBytes() noexcept {
    if (!mPool) return 0;
    const PoolLock lock(mPool->mMutex);
    return mPool->mUnusedBytes;
}

std::size_t MemoryRecycler::GetMostUsedBytes() noexcept {
    if (!mPool) return 0;
    const PoolLock lock(mPool->mMutex);
    return mPool->mMostUsedBytes;
}

std::size_t MemoryRecycler::GetUsedBytes() noexcept {
    if (!mPool) return 0;
    const PoolLock lock(mPool->mMutex);
    return mPool->mUsedBytes;
}

}  // namespace TVK
