// RecursiveMutex: a lock that its owner may take again.

#pragma once

#include <mutex>

#include "TVK/Export.h"
#include "quillet/ThreadAnnotations.h"

namespace quillet::threads {

/// Ownership: held by value, or shared through `TVK::ObjectPtr`; it does not move.
/// Threads: made for being shared. `Unlock` belongs to the thread that locked, once for
///   each `Lock`.
/// Errors: none, short of locking it some billions of times in a row.
/// Frozen: the operations; hosts reach mutexes through pointers.
class DP_CAPABILITY("mutex") TVK_API RecursiveMutex {
public:
    RecursiveMutex();
    ~RecursiveMutex();
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    /// Blocks until the calling thread owns the mutex. `inName` is for a lock profiler
    /// and may be null; this implementation has no use for it.
    void Lock(const char* inName) DP_ACQUIRE();
    /// Gives back one `Lock` of the calling thread.
    void Unlock() DP_RELEASE();

private:
    std::recursive_mutex mMutex;
};

}  // namespace quillet::threads
