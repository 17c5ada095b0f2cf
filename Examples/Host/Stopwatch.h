// Stopwatch: seconds from a clock that only goes forward.

#pragma once

#include <chrono>

namespace Host {

class Stopwatch {
public:
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
    }

private:
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

}  // namespace Host
