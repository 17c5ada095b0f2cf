// Interruption: a long loop tells how far it is, and hears whether it shall go on.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace IP {

/// Ends a computation that shall not go on. It is no error, so it is no `std::exception`: only
/// the one who watches catches it.
struct Interrupted {};

/// Watches what its thread computes, for its lifetime. Watches nest: the innermost is told.
///
/// Threads: its own. Errors: what the question throws passes through.
class Watch {
public:
    /// @param inDone  from 0 to 1, never falling.
    using Question = bool (*)(void* inContext, double inDone);

    Watch(Question inGoesOn, void* inContext);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    /// From now on 0 to `inOf` stands for this part of the whole.
    void EnterStage(double inBegin, double inEnd);

    /// Nobody watches what is computed while the question is asked.
    bool GoesOn(std::int64_t inDone, std::int64_t inOf);

private:
    Question mGoesOn;
    void* mContext;
    Watch* mOuter;
    double mBegin = 0;
    double mEnd = 1;
    double mDone = 0;
};

namespace detail {
inline constinit thread_local Watch* tWatch = nullptr;
}

/// Nobody watches what its thread computes, for its lifetime.
///
/// Threads: its own.
class Unwatched {
public:
    Unwatched();
    ~Unwatched();
    Unwatched(const Unwatched&) = delete;
    Unwatched& operator=(const Unwatched&) = delete;

private:
    Watch* mOuter;
};

inline bool IsWatched() { return detail::tWatch != nullptr; }

/// At the head of a loop over rows or points: `inDone` of `inOf` of them are done. False if
/// somebody watches and says stop.
inline bool GoesOn(std::int64_t inDone, std::int64_t inOf) {
    if (detail::tWatch == nullptr) [[likely]]
        return true;
    return detail::tWatch->GoesOn(inDone, inOf);
}

/// The same where an exception may leave the loop.
/// @throws Interrupted for stop.
inline void Checkpoint(std::int64_t inDone, std::int64_t inOf) {
    if (!GoesOn(inDone, inOf)) throw Interrupted();
}

/// The same for loops of short steps.
inline void SparseCheckpoint(std::int64_t inDone, std::int64_t inOf) {
    constexpr std::int64_t kStepsAtOnce = 1 << 16;
    if (inDone % kStepsAtOnce == 0) Checkpoint(inDone, inOf);
}

/// Calls `inStep(begin, count)` for some pages of memory after the other and asks in between:
/// those that are new to the process take the system long.
/// @throws Interrupted for stop.
template <class T, class Step>
void ForPages(std::size_t inCount, Step inStep) {
    constexpr std::size_t kAtOnce = (std::size_t{4} << 20) / sizeof(T);
    for (std::size_t begin = 0; begin < inCount; begin += kAtOnce) {
        Checkpoint(0, 0);
        inStep(begin, std::min(kAtOnce, inCount - begin));
    }
}

template <class T>
void FillPages(T* outValues, std::size_t inCount, T inValue) {
    ForPages<T>(inCount, [&](std::size_t inBegin, std::size_t inNow) {
        std::fill_n(outValues + inBegin, inNow, inValue);
    });
}

/// Names the part of the whole that comes next.
inline void EnterStage(double inBegin, double inEnd) {
    if (detail::tWatch != nullptr) detail::tWatch->EnterStage(inBegin, inEnd);
}

}  // namespace IP
