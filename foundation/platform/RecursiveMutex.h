/// @file
/// What a recursive mutex of the standard library leaves behind.
///
/// Ownership: none.
/// Threads: the caller is the last who knows the mutex.
/// Errors: none.
/// Frozen: nothing; the function is compiled into who asks.

#pragma once

#include <mutex>

#include "TVK/LanguageCheck.h"

namespace platform {

/// To be called by the destructor of the mutex's owner. Under MinGW-w64 a mutex takes a block
/// of the heap when it is first locked, and the destructor of std::recursive_mutex, unlike that
/// of std::mutex, does not give it back.
inline void GiveBack([[maybe_unused]] std::recursive_mutex& ioMutex) noexcept {
#if defined(_WIN32) && defined(__GLIBCXX__)
    pthread_mutex_destroy(ioMutex.native_handle());
#endif
}

}  // namespace platform
