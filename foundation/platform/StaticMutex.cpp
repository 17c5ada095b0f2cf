// On Windows a slim reader-writer lock, taken by one writer at a time. Unlocked it is a null
// pointer, so that the constant initialiser in the header makes it; it needs no clean-up.

#include "platform/StaticMutex.h"

#if defined(_WIN32)

#include <windows.h>

namespace platform {
namespace {

static_assert(sizeof(SRWLOCK) == sizeof(void*));  // and all zero: SRWLOCK_INIT

SRWLOCK* LockOf(void*& ioLock) { return reinterpret_cast<SRWLOCK*>(&ioLock); }

}  // namespace

void StaticMutex::lock() { AcquireSRWLockExclusive(LockOf(mLock)); }
void StaticMutex::unlock() { ReleaseSRWLockExclusive(LockOf(mLock)); }

}  // namespace platform

#endif
