// Where threads of a test wait for each other.

#pragma once

#include <condition_variable>
#include <mutex>

namespace Testing {

/// Once, for so many threads. In place of std::barrier and std::latch, whose waiters GCC 12's
/// library does not always wake under MinGW-w64.
class StartLine {
public:
    explicit StartLine(int inThreads) : mMissing(inThreads) {}
    void Meet() {
        std::unique_lock lock(mMutex);
        if (--mMissing == 0) mAllHere.notify_all();
        mAllHere.wait(lock, [this] { return mMissing <= 0; });
    }

private:
    std::mutex mMutex;
    std::condition_variable mAllHere;
    int mMissing;
};

}  // namespace Testing
