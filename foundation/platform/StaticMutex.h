/// @file
/// A mutex for static storage, for the recycler alone.
///
/// Ownership: the system has nothing to give back.
/// Threads: made for being shared. Not recursive.
/// Errors: none.
/// Frozen: nothing.

#pragma once

#include <mutex>

#include "TVK/LanguageCheck.h"

namespace platform {

/// Ready before any code of the library runs, and after all of it has: its initial value is a
/// constant and it needs no destructor. That is what std::mutex is on most systems; under
/// MinGW-w64 it has both a constructor and a destructor that do something.
class StaticMutex {
public:
    constexpr StaticMutex() = default;
    StaticMutex(const StaticMutex&) = delete;
    StaticMutex& operator=(const StaticMutex&) = delete;

#if defined(_WIN32)
    void lock();
    void unlock();

private:
    void* mLock = nullptr;  // an SRWLOCK
#else
    void lock() { mMutex.lock(); }
    void unlock() { mMutex.unlock(); }

private:
    std::mutex mMutex;
#endif
};

}  // namespace platform
