// TrackingContext: the settings of the KLT tracker, and what follows from them.

#pragma once

#include <cstdint>

#include "image/IPFramePyramids.h"

namespace DP {

/// The settings of a tracker. Nothing outside the library reaches them: the defaults are
/// what runs. Sizes and distances are in pixels of the full frame. What is computed follows
/// from the rest by the two functions below.
struct TrackingContext {
    std::int32_t mMinDist = 10;      // between selected features
    std::int32_t mWindowWidth = 7;   // odd, at least 3
    std::int32_t mWindowHeight = 7;  // odd, at least 3
    bool mSequentialMode = false;    // keep the last pyramids here, not in the cache alone
    bool mSmoothBeforeSelecting = true;
    bool mLightingInsensitive = false;   // match with gain and offset
    std::int32_t mMinEigenvalue = 1;     // least score that is selected
    float mMinDeterminant = 0.01f;       // below it there is too little texture
    float mMinDisplacement = 0.1f;       // a smaller step ends the search
    std::int32_t mMaxIterations = 10;    // per feature and level
    float mMaxResidue = 10.0f;           // largest mean absolute difference of the windows
    float mGradSigma = 1.0f;             // of the gradients
    float mSmoothSigmaFactor = 0.1f;     // times the larger side of the window
    float mPyramidSigmaFactor = 0.9f;    // times the subsampling
    float mStepFactor = 1.0f;            // on the error of each iteration
    std::int32_t mSkippedPixels = 0;     // between candidates of selection
    std::int32_t mBorderX = 0;           // lost to the convolutions at each side; computed
    std::int32_t mBorderY = 0;           // the same at top and bottom; computed
    std::int32_t mPyramidLevels = 0;     // computed
    std::int32_t mSubsampling = 0;       // computed
    IP::PyramidPtr<float> mLastPyramid;  // these three in sequential mode only
    IP::PyramidPtr<float> mLastPyramidGradX;
    IP::PyramidPtr<float> mLastPyramidGradY;
};

/// Chooses levels and subsampling for motions up to `inSearchRange` pixels.
void ChangeTCPyramid(TrackingContext& ioContext, int inSearchRange);

/// Works out how far from the edges a window lies in valid data on every level.
void UpdateTCBorder(TrackingContext& ioContext);

/// Makes the sides of the window odd and at least 3, and reports what it changes; one for
/// each operation that begins with it, since each has words of its own.
/// @{
void CorrectWindowForSelection(TrackingContext& ioContext);
void CorrectWindowForTracking(TrackingContext& ioContext);
/// @}

/// Sigmas in pixels: of the frame before everything else, and between levels.
/// @{
float SmoothSigmaOf(const TrackingContext& inContext);
float PyramidSigmaOf(const TrackingContext& inContext);
/// @}

IP::FramePyramidSettings PyramidSettingsOf(const TrackingContext& inContext);

/// Keeps a frame's pyramids for the next step of sequential mode.
void SetLastPyramids(TrackingContext& ioContext, const IP::FramePyramids& inPyramids);

/// Whether the pyramids that are kept, which there are, are those of a frame of this size.
bool LastPyramidHasSize(const TrackingContext& inContext, const IP::FrameView& inFrame);

}  // namespace DP
