// A cache reads both clocks for every result that it stores or gives out. The fine one
// measures; the coarse one, which must cost next to nothing, tells where the fine one has
// jumped.

#include "platform/Clock.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <time.h>
#endif

namespace platform {

#if defined(_WIN32)

bool QueryPerformanceCounter(std::int64_t& outCounter) {
    LARGE_INTEGER value;
    if (!::QueryPerformanceCounter(&value)) return false;
    outCounter = value.QuadPart;
    return true;
}

bool QueryPerformanceFrequency(std::int64_t& outCountsPerSecond) {
    LARGE_INTEGER value;
    if (!::QueryPerformanceFrequency(&value)) return false;
    outCountsPerSecond = value.QuadPart;
    return true;
}

std::uint32_t GetTickCount() { return ::GetTickCount(); }

#else

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;

bool ReadClock(clockid_t inClock, std::int64_t& outNanoseconds) {
    timespec now;
    if (clock_gettime(inClock, &now) != 0) return false;
    outNanoseconds = std::int64_t{now.tv_sec} * kNanosecondsPerSecond + now.tv_nsec;
    return true;
}

}  // namespace

bool QueryPerformanceCounter(std::int64_t& outCounter) {
    return ReadClock(CLOCK_MONOTONIC, outCounter);
}

bool QueryPerformanceFrequency(std::int64_t& outCountsPerSecond) {
    outCountsPerSecond = kNanosecondsPerSecond;
    return true;
}

std::uint32_t GetTickCount() {
// The clock of the last timer interrupt, which is read without asking the hardware.
#if defined(CLOCK_MONOTONIC_COARSE)
    constexpr clockid_t kClock = CLOCK_MONOTONIC_COARSE;
#else
    constexpr clockid_t kClock = CLOCK_MONOTONIC;
#endif
    std::int64_t nanoseconds = 0;
    ReadClock(kClock, nanoseconds);
    // Wraps after 49.7 days, as on Windows: callers take differences of 32 bits.
    return static_cast<std::uint32_t>(nanoseconds / kNanosecondsPerMillisecond);
}

#endif

}  // namespace platform
