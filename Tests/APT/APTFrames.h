// Clips and lists for the tests of the APT tracker.

#pragma once

#include "APT/APTTracker.h"
#include "Support/Test.h"

namespace Testing {

/// A rendered clip that moves by the same step from frame to frame.
struct MovingClip {
    int mCols = 160;
    int mRows = 120;
    double mStepX = 1.3;
    double mStepY = -0.7;
    std::uint32_t mSeed = 1;

    std::vector<float> Frame(int inNumber) const {
        return TexturedFrame(mCols, mRows, -mStepX * inNumber, -mStepY * inNumber, mSeed);
    }
};

inline DP::APTFeatureListPtr EmptyList() { return TVK::MakeObject<DP::APTFeatureList>(); }

/// A list of one new point.
inline DP::APTFeatureListPtr ListOf(std::initializer_list<DP::APTFeature> inFeatures) {
    return TVK::MakeObject<DP::APTFeatureList>(inFeatures);
}

inline DP::APTFeature NewPoint(float inX, float inY) {
    DP::APTFeature feature;
    feature.mX = inX;
    feature.mY = inY;
    feature.mStatus = 1;
    return feature;
}

inline TVK::ParamRect<float> FullFrame(int inCols, int inRows) {
    return {0.0f, 0.0f, float(inCols), float(inRows)};
}

/// An engine set up from `inParams`.
inline DP::APTTrackerPtr MakeEngine(const DP::APTTrackerParams& inParams = {}) {
    const auto engine = TVK::MakeObject<DP::APTTracker>();
    engine->mParams = inParams;
    engine->ApplyParams();
    return engine;
}

}  // namespace Testing
