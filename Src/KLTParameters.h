// KLTParameters: the numbers that a KLT property and a KLT key are made with.

#pragma once

namespace DP {

/// An argument and no member: property and key hold the four in different orders, which are
/// part of their layout. Filled by name in the exported functions, so that no two change
/// places unseen.
struct KLTParameters {
    unsigned int mMaxFeatures = 0;
    int mFrameStep = 0;
    unsigned int mMinFeatureDistance = 0;
    unsigned int mMinFeatures = 0;
};

}  // namespace DP
