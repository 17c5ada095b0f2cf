#include "platform/Pages.h"

#include <algorithm>
#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#elif defined(__linux__)
#include <sys/mman.h>
#endif

namespace platform {

#if defined(_WIN32)

// Straight from the system, which begins each block on 64 KiB of addresses: there are plenty.
void* AllocatePages(std::size_t inSize) noexcept {
    return VirtualAlloc(nullptr, inSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void FreePages(void* inBlock) noexcept {
    if (inBlock) VirtualFree(inBlock, 0, MEM_RELEASE);
}

#else

namespace {

constexpr std::size_t kPage = 4096;

}  // namespace

#if defined(__linux__) && defined(MADV_HUGEPAGE) && defined(MADV_POPULATE_WRITE)

// With its pages there already if it is no larger than an HD frame of floats: whoever asks for
// more may mean to use a corner of it, and whoever fills it may be asked to stop in between,
// which clearing pages is not. What the system does not know it refuses, and nothing is lost.
void* AllocatePages(std::size_t inSize) noexcept {
    // What is larger than half a huge page takes a whole one, and so can lie on it.
    constexpr std::size_t kHugePage = std::size_t{2} << 20;
    constexpr std::size_t kLeastFilled = std::size_t{64} << 10;
    constexpr std::size_t kMostFilled = std::size_t{16} << 20;
    const bool isHuge = inSize > kHugePage / 2;
    const std::size_t size = isHuge ? std::max(inSize, kHugePage) : inSize;
    void* block = nullptr;  // std::aligned_alloc wants a multiple of the alignment
    if (posix_memalign(&block, isHuge ? kHugePage : kPage, size) != 0) return nullptr;
    if (isHuge) madvise(block, size / kHugePage * kHugePage, MADV_HUGEPAGE);
    if (inSize >= kLeastFilled && inSize <= kMostFilled)
        madvise(block, inSize / kPage * kPage, MADV_POPULATE_WRITE);
    return block;
}

#else

void* AllocatePages(std::size_t inSize) noexcept {
    void* block = nullptr;
    return posix_memalign(&block, kPage, inSize) == 0 ? block : nullptr;
}

#endif

void FreePages(void* inBlock) noexcept { std::free(inBlock); }

#endif

}  // namespace platform
