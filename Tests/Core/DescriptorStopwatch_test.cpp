// The rule by which two clocks make one answer.

#include "DescriptorStopwatch.h"
#include "Support/Test.h"

namespace {

using namespace DP;

double Seconds(std::int64_t inCounter, double inFrequency, bool inUsable,
               std::uint32_t inTicks) {
    return DescriptorStopwatch::SecondsFrom(inCounter, inFrequency, inUsable, inTicks);
}

TEST(DescriptorStopwatch, CounterIsBelievedWhileTheTicksAgree) {
    EXPECT_EQ(Seconds(2500, 1000.0, true, 2400), 2.5);
    EXPECT_EQ(Seconds(2500, 1000.0, true, 2000), 2.5) << "exactly half a second apart";
}

TEST(DescriptorStopwatch, TicksOverruleACounterThatJumpsOrDoesNotWork) {
    EXPECT_EQ(Seconds(2500, 1000.0, true, 1999), 1.999);
    EXPECT_EQ(Seconds(2500, 1000.0, true, 3001), 3.001);
    EXPECT_EQ(Seconds(2500, 1000.0, false, 2400), 2.4);
}

TEST(DescriptorStopwatch, FrequencyThatIsNotPositiveCountsAsOne) {
    EXPECT_EQ(Seconds(3, 0.0, true, 3000), 3.0);
    EXPECT_EQ(Seconds(3, -5.0, true, 3000), 3.0);
}

TEST(DescriptorStopwatch, NeverAnswersANegativeTime) {
    EXPECT_EQ(Seconds(-200, 1000.0, true, 0), 0.0);
}

}  // namespace
