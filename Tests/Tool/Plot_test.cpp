// What a plot shows: marks on the axes, and bars.

#include "Plot.h"

#include <gtest/gtest.h>

namespace {

TEST(AxisMarks, AreRoundNumbersInsideTheRange) {
    using Marks = std::vector<double>;
    EXPECT_EQ(Host::AxisMarks(0.0, 100.0, 5), (Marks{0, 20, 40, 60, 80, 100}));
    EXPECT_EQ(Host::AxisMarks(0.0, 7.0, 8), (Marks{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Host::AxisMarks(-3.0, 12.0, 4), (Marks{0, 5, 10}));
    const Marks small = Host::AxisMarks(0.012, 0.031, 4);
    ASSERT_EQ(small.size(), 4u);
    EXPECT_NEAR(small.front(), 0.015, 1e-12);
    EXPECT_NEAR(small.back(), 0.03, 1e-12);
}

TEST(Histograms, CountEveryValueOnceInBarsOfOneWidth) {
    Host::Plot plot;
    Host::AddHistogram(plot, {1, 1, 2, 5, 9, 10}, 5);
    EXPECT_EQ(plot.mBarWidth, 2.0);
    std::vector<double> heights;
    for (const Host::Point& bar : plot.mBars)
        heights.push_back(bar.mY);
    EXPECT_EQ(heights, (std::vector<double>{3, 0, 1, 0, 2}));
    EXPECT_EQ(plot.mBars[0].mX, 1.0);
    Host::Plot one;
    Host::AddHistogram(one, {4, 4}, 60);
    ASSERT_EQ(one.mBars.size(), 1u);
    EXPECT_EQ(one.mBars[0].mY, 2.0);
}

}  // namespace
