// Handover: things that one thread makes and another takes, a few at a time.

#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace Host {

/// A queue of at most `inMost` things.
///
/// Threads: any may call any operation.
template <class T>
class Handover {
public:
    explicit Handover(std::size_t inMost) : mMost(inMost) {}

    /// Waits for room. False once the queue is closed: the thing is dropped.
    bool Give(T inThing) {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [this] { return mClosed || mThings.size() < mMost; });
        if (mClosed) return false;
        mThings.push_back(std::move(inThing));
        mChanged.notify_all();
        return true;
    }
    /// Waits for a thing; nothing once the queue is closed and empty.
    std::optional<T> Take() {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [this] { return mClosed || !mThings.empty(); });
        if (mThings.empty()) return std::nullopt;
        std::optional<T> thing(std::move(mThings.front()));
        mThings.pop_front();
        mChanged.notify_all();
        return thing;
    }
    void Close() {
        const std::lock_guard lock(mMutex);
        mClosed = true;
        mChanged.notify_all();
    }

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::deque<T> mThings;
    std::size_t mMost;
    bool mClosed = false;
};

}  // namespace Host
