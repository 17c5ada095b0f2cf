// Stopwatches: seconds that have passed, and seconds of work.

#pragma once

#include <chrono>

#include "System.h"

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
    double Seconds() const { return ThreadSeconds() - mStart; }

private:
    double mStart = ThreadSeconds();
};

}  // namespace Host
