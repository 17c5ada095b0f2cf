// The clocks of the system, as the stopwatch reads them.

#include "platform/Clock.h"
#include "Support/Test.h"

namespace {

TEST(Clock, CounterAndTicksNeverRunBackwardsAndTheCounterMoves) {
    std::int64_t frequency = 0, first = 0, last = 0;
    ASSERT_TRUE(platform::QueryPerformanceFrequency(frequency));
    EXPECT_GT(frequency, 0);
    ASSERT_TRUE(platform::QueryPerformanceCounter(first));
    last = first;
    std::uint32_t ticks = platform::GetTickCount();
    for (int i = 0; i < 1000; ++i) {
        std::int64_t counter = 0;
        platform::QueryPerformanceCounter(counter);
        const std::uint32_t now = platform::GetTickCount();
        ASSERT_GE(counter, last);
        ASSERT_LT(now - ticks, 0x80000000u);
        last = counter;
        ticks = now;
    }
    EXPECT_GT(last, first);
}

}  // namespace
