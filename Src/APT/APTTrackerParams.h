// APTTrackerParams: the numbers of the APT tracker. The defaults are its constants; the
// descriptor and the exported tracker change only the first two, the stationary limit and
// the switch of the verification.

#pragma once

#include <cstdint>

namespace DP {

/// What is sought between a patch and the image; see APTPatchAlignment.h.
enum APTMotionModel : std::int32_t {
    kAPTModelTranslation = 0,
    kAPTModelReserved = 1,  // never converges
    kAPTModelGainOffset = 2,
    kAPTModelFittedGainOffset = 3,
};

struct APTTrackerParams {
    std::uint64_t mMaxFeatures = 500;        // slots of a list, and points of a selection
    std::uint64_t mMinFeatureDistance = 10;  // radius of the disc cleared around a point
    std::uint64_t mPatchHalfWidth = 5;
    std::uint64_t mPatchHalfHeight = 5;
    std::uint64_t mBorder = 5;          // margin of selection, on all four sides
    float mMinEigenRelative = 0.001f;   // of the clamped best corner
    float mMinEigenPerPixel = 1.0f;     // floor, per patch pixel
    float mMaxEigenPerPixel = 6000.0f;  // clamp of the best corner, per patch pixel
    bool mSmoothImage = true;
    float mSmoothSigmaFactor = 0.1f;      // of the patch size
    std::uint64_t mMaxIterations = 15;    // per level
    double mTranslationTolerance = 0.1f;  // pixels; the single-precision number
    double mWarpTolerance = 0.05;
    std::uint64_t mPyramidLevels = 3;
    APTMotionModel mTrackingModel = kAPTModelTranslation;
    APTMotionModel mVerifyModel = kAPTModelGainOffset;
    bool mVerifyAgainstReference = false;
    double mGainTolerance = 0.05;
    double mOffsetTolerance = 1.0;
    double mMinCorrelation = 0.5;
    double mStationaryLimit = 0.0;  // a point that moves no more is dropped
};

}  // namespace DP
