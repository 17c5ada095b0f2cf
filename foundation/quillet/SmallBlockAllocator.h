// SmallBlockAllocator: where the characters of long wide strings live.

#pragma once

#include <cstddef>
#include <new>

#include "TVK/Allocator.h"

namespace quillet::utility {

/// The name under which the host's strings know the allocator.
///
/// Ownership: a block belongs to the container that asked for it; host and libraries may give
///   back each other's.
/// Threads: any number at once.
/// Errors: std::bad_alloc.
/// Frozen: the names, which are part of the exported functions' names; no state.
class SmallBlockAllocator {
public:
    /// The standard allocator interface over `TVK::Allocator`. Without state and always
    /// equal, so strings move freely between the host and the libraries.
    template <class T>
    class STLAllocator {
    public:
        using value_type = T;  ///< what it makes room for

        STLAllocator() noexcept = default;
        /// The same allocator for another type.
        template <class U>
        STLAllocator(const STLAllocator<U>&) noexcept {}

        /// @throws std::bad_alloc without memory, as containers expect.
        T* allocate(std::size_t inCount) {
            if (inCount > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_alloc();
            void* const block = TVK::Allocator::Allocate(inCount * sizeof(T));
            if (!block) throw std::bad_alloc();
            return static_cast<T*>(block);
        }
        /// Gives a block back; `inCount` repeats the count asked for.
        void deallocate(T* inBlock, std::size_t inCount) noexcept {
            TVK::Allocator::Dispose(inBlock, inCount * sizeof(T));
        }

        /// Always: what one made, any other gives back.
        template <class U>
        friend bool operator==(const STLAllocator&, const STLAllocator<U>&) noexcept {
            return true;
        }
    };
};

}  // namespace quillet::utility
