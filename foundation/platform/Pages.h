/// @file
/// Large blocks of memory from the system, for the recycler alone.
///
/// Pages. The system gives memory page by page, as each is first touched, and a plane has
/// thousands of small ones; walking a column of it costs a look into the page tables a pixel.
/// So large blocks lie on huge pages, where the system has them for who asks, and the pages
/// of a block are asked for all at once.
///
/// Ownership: the caller gives every block back by `FreePages`.
/// Threads: any number at once.
/// Errors: no memory gives null.
/// Frozen: nothing.

#pragma once

#include <cstddef>

#include "TVK/LanguageCheck.h"

namespace platform {

/// A block that begins on a page of 4096 bytes, or null. `inSize` is a multiple of 1024.
void* AllocatePages(std::size_t inSize) noexcept;

/// Null is allowed.
void FreePages(void* inBlock) noexcept;

}  // namespace platform
