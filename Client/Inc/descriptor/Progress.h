// Progress: how far a run is, and whether it shall go on.

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <ranges>
#include <string>
#include <utility>

#include "descriptor/Error.h"

namespace descriptor {

/// How far a run is.
struct Progress {
    std::int64_t done = 0;    ///< frames, or strokes
    std::int64_t total = -1;  ///< of so many; -1: not known
    double part = 0.0;        ///< of the one at work, from 0 to 1: a rough estimate
    bool is_within = false;   ///< asked while one is at work, not between two
};

/// Called before each frame, and within one that takes long every few milliseconds, on the
/// thread that works. False stops the run there: a cut or a tracker's step at work is given
/// up within some 30 ms on a frame of 7680 by 4320. The callback may not call the object that
/// is at work; within a cut it may call no `Selection` (`BusyError`).
using ProgressCallback = std::function<bool(const Progress&)>;

/// @throws Cancelled if the callback says stop. An empty callback never does.
inline void report_progress(const ProgressCallback& inCallback, std::int64_t inDone,
                            std::int64_t inTotal) {
    if (!inCallback || inCallback({inDone, inTotal})) return;
    std::string text("stopped after ");
    text.append(std::to_string(inDone));
    if (inTotal >= 0) text.append(" of ").append(std::to_string(inTotal));
    throw Cancelled(text);
}

namespace detail {

/// Has a callback asked within the computations of this thread, for its lifetime.
class Asking {
public:
    Asking(const ProgressCallback& inCallback, const Progress& inProgress)
        : mCallback(inCallback), mProgress(inProgress), mOuter(current()) {
        mProgress.is_within = true;
        if (mCallback) current() = this;
    }
    ~Asking() { current() = mOuter; }
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;

    /// Null where nobody wants to be asked.
    static Asking* innermost() noexcept { return current(); }

    /// For `DP::IInterruptibleWorkerItem`: at first, and then as often as somebody sees it.
    static bool goes_on(void* ioAsking, double inPart) {
        Asking& self = *static_cast<Asking*>(ioAsking);
        const auto now = std::chrono::steady_clock::now();
        if (self.mLast && now - *self.mLast < std::chrono::milliseconds(5)) return true;
        const Call call(self);
        self.mProgress.part = inPart;
        self.mHasStopped = !self.mCallback(self.mProgress);
        return !self.mHasStopped;
    }
    bool has_stopped() const noexcept { return mHasStopped; }

private:
    // The length of one call of the callback. What it asks of the library itself is no part of
    // the computation that asks it, and its own time does not count towards the next question.
    class Call {
    public:
        explicit Call(Asking& ioAsking)
            : mAsking(ioAsking), mAsked(std::exchange(current(), nullptr)) {}
        ~Call() {
            current() = mAsked;
            mAsking.mLast = std::chrono::steady_clock::now();
        }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

    private:
        Asking& mAsking;
        Asking* mAsked;
    };

    // In a function for the same reason as `last_report`.
    static Asking*& current() noexcept {
        static thread_local Asking* tInnermost = nullptr;
        return tInnermost;
    }

    const ProgressCallback& mCallback;
    Progress mProgress;
    Asking* mOuter;
    std::optional<std::chrono::steady_clock::time_point> mLast;
    bool mHasStopped = false;
};

}  // namespace detail

/// Calls `inStep` with each of the frames (any range of them), and the callback before each
/// and within.
/// @return  how many were done: all, unless the callback said stop. A frame that it stopped
///          within does not count, and may be given to the tracker again.
template <std::ranges::input_range Frames, class Step>
std::int64_t run(Frames&& ioFrames, Step&& inStep, const ProgressCallback& inCallback = {}) {
    std::int64_t total = -1;
    if constexpr (std::ranges::sized_range<Frames>)
        total = static_cast<std::int64_t>(std::ranges::size(ioFrames));
    std::int64_t done = 0;
    for (auto&& frame : ioFrames) {
        if (inCallback && !inCallback({done, total})) break;
        const detail::Asking asking(inCallback, {done, total});
        try {
            inStep(frame);
        } catch (const Cancelled&) {
            if (!asking.has_stopped()) throw;
            break;
        }
        ++done;
    }
    return done;
}

}  // namespace descriptor
