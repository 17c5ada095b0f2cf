#include "Support/HeapCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> sAllocations{0};
std::atomic<long> sLive{0};
std::atomic<std::size_t> sLargest{0};
std::atomic<long> sUntilFailure{0};

void* AllocateOrNull(std::size_t inSize, std::size_t inAlignment) noexcept {
    ++sAllocations;
    if (sUntilFailure > 0 && --sUntilFailure == 0) return nullptr;
    if (inSize > sLargest) sLargest = inSize;
    const std::size_t size = (inSize + inAlignment - 1) / inAlignment * inAlignment;
    void* const block = std::aligned_alloc(inAlignment, size != 0 ? size : inAlignment);
    if (block) ++sLive;
    return block;
}

void* Allocate(std::size_t inSize, std::size_t inAlignment) {
    if (void* const block = AllocateOrNull(inSize, inAlignment)) return block;
    throw std::bad_alloc();
}

void Free(void* inBlock) noexcept {
    if (inBlock) --sLive;
    std::free(inBlock);
}

}  // namespace

namespace Testing {

long HeapAllocations() { return sAllocations.load(); }
long LiveHeapBlocks() { return sLive.load(); }
std::size_t LargestHeapAllocation() { return sLargest.load(); }
void ResetLargestHeapAllocation() { sLargest = 0; }
void FailHeapAllocation(long inNumber) { sUntilFailure = inNumber; }

}  // namespace Testing

// Every form, so that none of them meets the run time's own counterpart.
void* operator new(std::size_t inSize) { return Allocate(inSize, alignof(std::max_align_t)); }
void* operator new[](std::size_t inSize) { return Allocate(inSize, alignof(std::max_align_t)); }
void* operator new(std::size_t inSize, std::align_val_t inAlignment) {
    return Allocate(inSize, static_cast<std::size_t>(inAlignment));
}
void* operator new[](std::size_t inSize, std::align_val_t inAlignment) {
    return Allocate(inSize, static_cast<std::size_t>(inAlignment));
}
void* operator new(std::size_t inSize, const std::nothrow_t&) noexcept {
    return AllocateOrNull(inSize, alignof(std::max_align_t));
}
void* operator new[](std::size_t inSize, const std::nothrow_t&) noexcept {
    return AllocateOrNull(inSize, alignof(std::max_align_t));
}
void operator delete(void* inBlock) noexcept { Free(inBlock); }
void operator delete[](void* inBlock) noexcept { Free(inBlock); }
void operator delete(void* inBlock, std::size_t) noexcept { Free(inBlock); }
void operator delete[](void* inBlock, std::size_t) noexcept { Free(inBlock); }
void operator delete(void* inBlock, std::align_val_t) noexcept { Free(inBlock); }
void operator delete[](void* inBlock, std::align_val_t) noexcept { Free(inBlock); }
void operator delete(void* inBlock, std::size_t, std::align_val_t) noexcept { Free(inBlock); }
void operator delete[](void* inBlock, std::size_t, std::align_val_t) noexcept { Free(inBlock); }
