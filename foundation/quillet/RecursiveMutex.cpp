// Out of line: a host locks by the library's code, whatever it was compiled with itself.

#include "quillet/RecursiveMutex.h"

#include "platform/RecursiveMutex.h"

namespace quillet::threads {

RecursiveMutex::RecursiveMutex() = default;
RecursiveMutex::~RecursiveMutex() { platform::GiveBack(mMutex); }
void RecursiveMutex::Lock(const char*) { mMutex.lock(); }
void RecursiveMutex::Unlock() { mMutex.unlock(); }

}  // namespace quillet::threads
