// What the settings of the KLT tracker imply: windows of a good size, the shape of the
// pyramids, and the border in which no point survives.

#include "KLT/KLTTrackingContext.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "TVK/ContractCheck.h"
#include "image/PixelOps.h"
#include "image/Saturate.h"

namespace DP {
namespace {

// ---- Windows of a bad size -----------------------------------------------------------

constexpr const char* kFile = "Src/KLT/KLTTracker.cpp";  // reports name the engine's source

struct WindowReports {
    const char* mFunction;
    const char* mOddWidth;
    const char* mOddHeight;
    const char* mLeastWidth;
    const char* mLeastHeight;
};

// The blanks before "Changing" differ, and so they stay.
constexpr WindowReports kBorderReports{
    "DP::KLTTracker::UpdateTCBorder",
    "(UpdateTCBorder) Window width must be odd. Changing to %d.\n",
    "(UpdateTCBorder) Window height must be odd. Changing to %d.\n",
    "(UpdateTCBorder) Window width must be at least three. Changing to %d.\n",
    "(UpdateTCBorder) Window height must be at least three. Changing to %d.\n"};
constexpr WindowReports kPyramidReports{
    "DP::KLTTracker::ChangeTCPyramid",
    "(ChangeTCPyramid) Window width must be odd.  Changing to %d.\n",
    "(ChangeTCPyramid) Window height must be odd.  Changing to %d.\n",
    "(ChangeTCPyramid) Window width must be at least three. Changing to %d.\n",
    "(ChangeTCPyramid) Window height must be at least three. Changing to %d.\n"};
constexpr WindowReports kSelectionReports{
    "DP::KLTTracker::SelectGoodFeaturesWithMode",
    "Tracking context's window width must be odd. Changing to %d.\n",
    "Tracking context's window height must be odd.  Changing to %d.\n",
    "Tracking context's window width must be at least three. Changing to %d.\n",
    "Tracking context's window height must be at least three. Changing to %d.\n"};
constexpr WindowReports kTrackingReports{
    "DP::KLTTracker::TrackFeatures",
    "Tracking context's window width must be odd. Changing to %d.\n",
    "Tracking context's window height must be odd. Changing to %d.\n",
    "Tracking context's window width must be at least three. Changing to %d.\n",
    "Tracking context's window height must be at least three. Changing to %d.\n"};

// A template, so that every report of every operation has a flag of its own. The remainder
// is the truncating one: a negative odd size counts as even.
template <const WindowReports& kReports>
void CorrectWindow(TrackingContext& ioContext) {
    if (ioContext.mWindowWidth % 2 != 1) {
        ++ioContext.mWindowWidth;
        AssertWithMessageIn(kFile, kReports.mFunction, kReports.mOddWidth);
    }
    if (ioContext.mWindowHeight % 2 != 1) {
        ++ioContext.mWindowHeight;
        AssertWithMessageIn(kFile, kReports.mFunction, kReports.mOddHeight);
    }
    if (ioContext.mWindowWidth < 3) {
        ioContext.mWindowWidth = 3;
        AssertWithMessageIn(kFile, kReports.mFunction, kReports.mLeastWidth);
    }
    if (ioContext.mWindowHeight < 3) {
        ioContext.mWindowHeight = 3;
        AssertWithMessageIn(kFile, kReports.mFunction, kReports.mLeastHeight);
    }
}

int GaussRadius(float inSigma) {
    int gaussWidth = 0, gaussDerivWidth = 0;
    IP::GetKernelWidths(inSigma, gaussWidth, gaussDerivWidth);
    return gaussWidth / 2;
}

}  // namespace

void CorrectWindowForSelection(TrackingContext& ioContext) {
    CorrectWindow<kSelectionReports>(ioContext);
}

void CorrectWindowForTracking(TrackingContext& ioContext) {
    CorrectWindow<kTrackingReports>(ioContext);
}

// ---- Pyramids and border -------------------------------------------------------------

float SmoothSigmaOf(const TrackingContext& inContext) {
    return static_cast<float>(std::max(inContext.mWindowWidth, inContext.mWindowHeight)) *
           inContext.mSmoothSigmaFactor;
}

float PyramidSigmaOf(const TrackingContext& inContext) {
    return static_cast<float>(inContext.mSubsampling) * inContext.mPyramidSigmaFactor;
}

IP::FramePyramidSettings PyramidSettingsOf(const TrackingContext& inContext) {
    return {inContext.mGradSigma, SmoothSigmaOf(inContext), inContext.mPyramidSigmaFactor,
            inContext.mSubsampling, inContext.mPyramidLevels};
}

void SetLastPyramids(TrackingContext& ioContext, const IP::FramePyramids& inPyramids) {
    ioContext.mLastPyramid = inPyramids.mSmoothed;
    ioContext.mLastPyramidGradX = inPyramids.mGradientX;
    ioContext.mLastPyramidGradY = inPyramids.mGradientY;
}

bool LastPyramidHasSize(const TrackingContext& inContext, const IP::FrameView& inFrame) {
    return inContext.mLastPyramid->GetColumns() == inFrame.mColumns &&
           inContext.mLastPyramid->GetRows() == inFrame.mRows;
}

// A level follows motions of half a window in its own scale, and the motions of the levels
// add up: L levels of subsampling s reach 1 + s + ... + s^(L-1) = (s^L - 1) / (s - 1) half
// windows. Two levels thus reach 3, 5 and 9 for s = 2, 4 and 8; beyond, s stays 8 and
// L = log(7 range + 1) / log 8, rounded up, is the least that reaches far enough. Adding
// 0.99 rounds up with a little mercy.
void ChangeTCPyramid(TrackingContext& ioContext, int inSearchRange) {
    CorrectWindow<kPyramidReports>(ioContext);
    const float half =
        static_cast<float>(std::min(ioContext.mWindowWidth, ioContext.mWindowHeight)) / 2.0f;
    const float range = static_cast<float>(inSearchRange) / half;
    if (range < 1.0f) {
        ioContext.mPyramidLevels = 1;
    } else if (range <= 9.0f) {
        ioContext.mPyramidLevels = 2;
        ioContext.mSubsampling = range <= 3.0f ? 2 : range <= 5.0f ? 4 : 8;
    } else {
        const auto levels =
            static_cast<float>(std::log(7.0 * double{range} + 1.0) / std::log(8.0));
        ioContext.mPyramidLevels = static_cast<int>(double{levels} + 0.99);
        ioContext.mSubsampling = 8;
    }
}

// Each level loses what the level before has lost and a radius of the Gaussian between them,
// in its own pixels, rounded up; half a window more is lost on the last one.
void UpdateTCBorder(TrackingContext& ioContext) {
    CorrectWindow<kBorderReports>(ioContext);
    const int halfWindow = std::max(ioContext.mWindowWidth, ioContext.mWindowHeight) / 2;
    int invalid = GaussRadius(SmoothSigmaOf(ioContext));
    const int pyramidRadius = GaussRadius(PyramidSigmaOf(ioContext));
    std::int64_t scale = 1;
    for (int level = 1; level < ioContext.mPyramidLevels; ++level) {
        const float here = (static_cast<float>(invalid) + static_cast<float>(pyramidRadius)) /
                           static_cast<float>(ioContext.mSubsampling);
        invalid = IP::TruncateNaNLowest(double{here} + 0.99);
        scale = IP::ClampToInt(scale * ioContext.mSubsampling);
    }
    ioContext.mBorderX = ioContext.mBorderY =
        IP::ClampToInt((std::int64_t{invalid} + halfWindow) * scale);
}

}  // namespace DP
