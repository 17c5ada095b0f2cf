// ScopeLock: holds a RecursiveMutex to the end of a scope, also when the scope is left by
// an exception.

#pragma once

#include "quillet/RecursiveMutex.h"

namespace quillet::threads {

class ScopeLock {
public:
    explicit ScopeLock(RecursiveMutex& ioMutex) : mMutex(ioMutex) { mMutex.Lock(nullptr); }
    ~ScopeLock() { mMutex.Unlock(); }
    ScopeLock(const ScopeLock&) = delete;
    ScopeLock& operator=(const ScopeLock&) = delete;

private:
    RecursiveMutex& mMutex;
};

}  // namespace quillet::threads
