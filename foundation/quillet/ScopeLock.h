// ScopeLock: a lock that ends with its scope.

#pragma once

#include "quillet/RecursiveMutex.h"

namespace quillet::threads {

/// Holds a `RecursiveMutex` to the end of a scope, also when the scope is left by an
/// exception.
///
/// Ownership: the mutex is another's and must outlive the lock.
/// Threads: one; that which made it.
/// Errors: none.
/// Frozen: nothing; it is compiled into its users.
class DP_SCOPED_CAPABILITY ScopeLock {
public:
    /// Blocks until the calling thread owns the mutex, which must outlive the lock.
    explicit ScopeLock(RecursiveMutex& ioMutex) DP_ACQUIRE(ioMutex) : mMutex(ioMutex) {
        mMutex.Lock(nullptr);
    }
    ~ScopeLock() DP_RELEASE() { mMutex.Unlock(); }
    ScopeLock(const ScopeLock&) = delete;
    ScopeLock& operator=(const ScopeLock&) = delete;

private:
    RecursiveMutex& mMutex;
};

}  // namespace quillet::threads
