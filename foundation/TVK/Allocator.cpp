#include "TVK/Allocator.h"

#include <cstdint>
#include <cstdlib>

namespace TVK {

void* Allocator::Allocate(std::size_t inSize) noexcept {
    if (inSize > static_cast<std::size_t>(PTRDIFF_MAX)) return nullptr;
    return std::malloc(inSize != 0 ? inSize : 1);
}

void Allocator::Dispose(void* inBlock, std::size_t) noexcept { std::free(inBlock); }

}  // namespace TVK
