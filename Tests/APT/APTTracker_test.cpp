// The engine: lists, stamps and bookkeeping, and that points follow a motion that is known.

#include "APT/APTTracker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "APTFrames.h"

namespace {

using DP::APTFeature;
using DP::APTFeatureListPtr;
using Testing::EmptyList;
using Testing::FullFrame;
using Testing::ListOf;
using Testing::MakeEngine;
using Testing::MovingClip;
using Testing::NewPoint;

APTFeatureListPtr Select(DP::APTTracker& inEngine, const MovingClip& inClip, int inFrame) {
    const auto list = EmptyList();
    inEngine.SelectFeatures(inClip.Frame(inFrame).data(), inClip.mCols, inClip.mRows,
                            static_cast<unsigned int>(inFrame),
                            {FullFrame(inClip.mCols, inClip.mRows)}, {list});
    return list;
}

APTFeatureListPtr Track(DP::APTTracker& inEngine, const MovingClip& inClip, int inFrame,
                        const APTFeatureListPtr& inList) {
    const auto output = EmptyList();
    inEngine.TrackFeatures(inClip.Frame(inFrame - 1).data(), inClip.Frame(inFrame).data(),
                           inClip.mCols, inClip.mRows, static_cast<unsigned int>(inFrame),
                           {inList}, {output});
    return output;
}

// ---- Known motion --------------------------------------------------------------------

struct Step {
    double mX;
    double mY;
};

class KnownMotion : public testing::TestWithParam<Step> {};

TEST_P(KnownMotion, PointsFollowItToAFractionOfAPixel) {
    MovingClip clip;
    clip.mStepX = GetParam().mX;
    clip.mStepY = GetParam().mY;
    const auto engine = MakeEngine();
    const auto list = Select(*engine, clip, 0);
    const auto tracked = Track(*engine, clip, 1, list);
    ASSERT_GT(DP::CountLiveFeatures(*list), 50u);
    EXPECT_GE(DP::CountLiveFeatures(*tracked), DP::CountLiveFeatures(*list) * 7 / 10);
    std::vector<double> errors;
    for (const APTFeature& feature : *tracked)
        if (feature.mStatus >= 0)
            errors.push_back(
                std::hypot(feature.mDeltaX - clip.mStepX, feature.mDeltaY - clip.mStepY));
    std::sort(errors.begin(), errors.end());
    EXPECT_LT(errors[errors.size() / 2], 0.05) << "median";
    EXPECT_LT(errors[errors.size() * 9 / 10], 0.2) << "90th percentile";
}

INSTANTIATE_TEST_SUITE_P(Steps, KnownMotion,
                         testing::Values(Step{0.4, 0.3}, Step{1.3, -0.7}, Step{-2.6, 1.9},
                                         Step{4.5, -3.5}, Step{0.0, 6.0}),
                         [](const auto& inInfo) {
                             return "Number" + std::to_string(inInfo.index);
                         });

}  // namespace
