#include "Support/HeapCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> sAllocations{0};

void* AllocateOrNull(std::size_t inSize, std::size_t inAlignment) noexcept {
    ++sAllocations;
    const std::size_t size = (inSize + inAlignment - 1) / inAlignment * inAlignment;
    return std::aligned_alloc(inAlignment, size != 0 ? size : inAlignment);
}

void* Allocate(std::size_t inSize, std::size_t inAlignment) {
    if (void* const block = AllocateOrNull(inSize, inAlignment)) return block;
    throw std::bad_alloc();
}

}  // namespace

namespace Testing {

long HeapAllocations() { return sAllocations.load(); }

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
void operator delete(void* inBlock) noexcept { std::free(inBlock); }
void operator delete[](void* inBlock) noexcept { std::free(inBlock); }
void operator delete(void* inBlock, std::size_t) noexcept { std::free(inBlock); }
void operator delete[](void* inBlock, std::size_t) noexcept { std::free(inBlock); }
void operator delete(void* inBlock, std::align_val_t) noexcept { std::free(inBlock); }
void operator delete[](void* inBlock, std::align_val_t) noexcept { std::free(inBlock); }
void operator delete(void* inBlock, std::size_t, std::align_val_t) noexcept {
    std::free(inBlock);
}
void operator delete[](void* inBlock, std::size_t, std::align_val_t) noexcept {
    std::free(inBlock);
}
