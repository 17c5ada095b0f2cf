// Two clocks watch each other: the counter is fine and may jump where a processor's is out of
// step; the tick count is coarse and does not.

#include "DescriptorStopwatch.h"

#include <cmath>

#include "platform/Clock.h"

namespace DP {

DescriptorStopwatch::DescriptorStopwatch() {
    platform::QueryPerformanceCounter(mStartCounter);
    mStartTicks = platform::GetTickCount();
}

double DescriptorStopwatch::ElapsedSeconds() {
    std::int64_t counter = 0;
    platform::QueryPerformanceCounter(counter);
    // Asked for once: it is the same until the machine is started again.
    if (mFrequency == 0.0) {
        std::int64_t frequency = 0;
        mCounterUsable = platform::QueryPerformanceFrequency(frequency);
        mFrequency = static_cast<double>(frequency);
    }
    return SecondsFrom(counter - mStartCounter, mFrequency, mCounterUsable,
                       platform::GetTickCount() - mStartTicks);
}

double DescriptorStopwatch::SecondsFrom(std::int64_t inCounterDifference, double inFrequency,
                                        bool inCounterUsable, std::uint32_t inTickDifference) {
    const double counterSeconds =
        static_cast<double>(inCounterDifference) / (inFrequency > 0.0 ? inFrequency : 1.0);
    const double tickSeconds = inTickDifference / 1000.0;
    // Half a second apart is more than the ticks' coarseness explains.
    const bool useTicks = !inCounterUsable || std::abs(counterSeconds - tickSeconds) > 0.5;
    const double seconds = useTicks ? tickSeconds : counterSeconds;
    return seconds < 0.0 ? 0.0 : seconds;
}

}  // namespace DP
