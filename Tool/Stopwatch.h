// Stopwatches: seconds that have passed, and seconds of work.

#pragma once

#include <time.h>

#include <chrono>

namespace Host {

/// Time as on the wall: how long a run takes.
class Stopwatch {
public:
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    }

private:
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

/// The processor's time for this thread: how long the library works. All of it happens on
/// the calling thread, and the time that other programs have the processor is not its own.
class WorkStopwatch {
public:
    double Seconds() const { return Now() - mStart; }

private:
    static double Now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
    }
    double mStart = Now();
};

}  // namespace Host
