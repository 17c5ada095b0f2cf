// DescriptorStopwatch: seconds since its construction, by two clocks.

#pragma once

#include <cstdint>

namespace DP {

/// Reads a high-resolution counter and checks it against a coarse tick count, which
/// overrules a counter that jumps. Not safe under threads: the first reading stores the
/// frequency.
class DescriptorStopwatch {
public:
    DescriptorStopwatch();

    double ElapsedSeconds();

    /// The rule of `ElapsedSeconds` on given readings: the counter's difference over
    /// `inFrequency` (1.0 where that is not above 0), or the ticks (milliseconds,
    /// wrapping) if the counter is not usable or half a second off. Never negative.
    static double SecondsFrom(std::int64_t inCounterDifference, double inFrequency,
                              bool inCounterUsable, std::uint32_t inTickDifference);

private:
    std::int64_t mStartCounter = 0;
    double mFrequency = 0.0;
    std::uint32_t mStartTicks = 0;
    bool mCounterUsable = true;
    [[maybe_unused]] bool mReserved = false;
};

}  // namespace DP
