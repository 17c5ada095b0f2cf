// APTParameters: the numbers that the properties and keys of APT and of the region tracker
// are made with.

#pragma once

namespace DP {

/// An argument and no member: property and key hold the numbers in different orders, which
/// are part of their layout. Filled by name in the exported functions, so that no two change
/// places unseen. The region tracker leaves the last two at 0.
struct APTParameters {
    unsigned int mMaxFeatures = 0;
    int mTrackerTag = 0;
    unsigned int mMinFeatureDistance = 0;
    unsigned int mMinFeatures = 0;
    float mStationaryLimit = 0.0f;
    unsigned int mVerifyAgainstReference = 0;
};

}  // namespace DP
