// Where threads of a test wait for each other.

#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

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

/// Says when, and orders nothing by it: what touches the same memory before and behind it needs
/// a lock, and the thread sanitizer sees each time where there is none.
class LooseSignal {
public:
    void Give() { mIsGiven.store(true, std::memory_order_relaxed); }
    void Await() const {
        while (!mIsGiven.load(std::memory_order_relaxed))
            std::this_thread::yield();
    }

private:
    std::atomic<bool> mIsGiven{false};
};

}  // namespace Testing
