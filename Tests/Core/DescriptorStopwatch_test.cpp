// The rule by which two clocks make one answer.

#include "DescriptorStopwatch.h"
#include "Support/Test.h"

namespace {

using namespace DP;

// The counter is believed while the ticks agree; they overrule one that jumps by more than
// half a second or does not work. A frequency that is not positive counts as 1.
TEST(DescriptorStopwatch, MakesOneAnswerOfTwoClocks) {
    const struct {
        std::int64_t mCounter;
        double mFrequency;
        bool mUsable;
        std::uint32_t mTicks;
        double mSeconds;
    } cases[] = {{2500, 1000, true, 2400, 2.5},   {2500, 1000, true, 2000, 2.5},
                 {2500, 1000, true, 1999, 1.999}, {2500, 1000, true, 3001, 3.001},
                 {2500, 1000, false, 2400, 2.4},  {3, 0, true, 3000, 3},
                 {3, -5, true, 3000, 3},          {-200, 1000, true, 0, 0}};
    for (const auto& [counter, frequency, isUsable, ticks, seconds] : cases)
        EXPECT_EQ(DescriptorStopwatch::SecondsFrom(counter, frequency, isUsable, ticks),
                  seconds);
}

// The ticks alone would give whole milliseconds.
TEST(DescriptorStopwatch, AsksTheCounterForItsFrequency) {
    DescriptorStopwatch watch;
    double milliseconds = 0;
    for (int i = 0; i < 1000 && milliseconds == std::floor(milliseconds); ++i)
        milliseconds = 1000 * watch.ElapsedSeconds();
    EXPECT_NE(milliseconds, std::floor(milliseconds));
}

}  // namespace
