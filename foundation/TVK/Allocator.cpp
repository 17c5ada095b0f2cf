#include "TVK/Allocator.h"

#include <cstdint>
#include <cstdlib>

namespace TVK {

void* Allocator::Allocate(std::size_t inSize) noexcept {
    // Two pointers into a larger block would have no difference.
    if (inSize > static_cast<std::size_t>(PTRDIFF_MAX)) return nullptr;
    // Null means that there is no memory, so a block without a size has an address as well.
    return std::malloc(inSize != 0 ? inSize : 1);
}

void Allocator::Dispose(void* inBlock, std::size_t) noexcept { std::free(inBlock); }

}  // namespace TVK
