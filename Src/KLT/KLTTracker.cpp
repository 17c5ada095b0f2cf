// The KLT tracker: settings, selection, and the tracking step.
//
// Selection scores every pixel of the full frame by how well a window around it can be
// followed, and takes the best ones first, keeping a distance. The pyramids play no part.
//
// A tracking step follows each feature coarse to fine:
//
//     level 1    x / 4   ->  estimate           a motion of 15 pixels is one of 4 here
//                               | * 4
//     level 0    x       ->  estimate           only what this level says counts
//
// The pyramids of both frames are asked for as descriptors. Those of this frame are the
// first ones of the next step and then come from the cache.

#include "KLT/KLTTracker.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>

#include "KLT/KLTFramePyramids.h"
#include "KLT/KLTGradientBlock.h"
#include "KLT/KLTSelection.h"
#include "KLT/KLTTrackerUtils.h"
#include "TVK/ContractCheck.h"
#include "image/IPConvolveImage.h"
#include "image/Interruption.h"
#include "image/RecycledArray.h"
#include "image/Saturate.h"

namespace DP {
namespace {

// ---- Selection -----------------------------------------------------------------------

struct GradientImages {
    FloatImage mX;
    FloatImage mY;
};

// The frame that gradients are taken from; smoothed here unless that is done already.
FloatImage SelectionImage(const TrackingContext& inContext, const IP::FrameView& inFrame,
                          const FloatImage& inSmoothed) {
    if (inContext.mSmoothBeforeSelecting && inSmoothed != NULL) return inSmoothed;
    const auto image = TVK::MakeObject<IP::Image<float>>(inFrame.mColumns, inFrame.mRows);
    if (inContext.mSmoothBeforeSelecting)
        IP::ComputeSmoothedBytes(inFrame.mPixels, inFrame.mColumns, inFrame.mRows,
                                 SmoothSigmaOf(inContext), image);
    else
        image->ConvertFromBytes(inFrame.mPixels, inFrame.mColumns, inFrame.mRows);
    return image;
}

// Where windows lie inside both the region, which counts y upward, and the image. A region
// with a side that is NaN has no inside.
SelectionBounds BoundsOf(const TVK::ParamRect<float>& inRegion, const IP::FrameView& inFrame,
                         const TrackingContext& inContext) {
    const std::int64_t step =
        std::max<std::int64_t>(std::int64_t{inContext.mSkippedPixels} + 1, 1);
    for (const float side : {inRegion.mLeft, inRegion.mTop, inRegion.mRight, inRegion.mBottom})
        if (std::isnan(side)) return {0, 0, 0, 0, step};
    const int halfWidth = inContext.mWindowWidth / 2;
    const int halfHeight = inContext.mWindowHeight / 2;
    const float bottom = static_cast<float>(inFrame.mRows) - inRegion.mBottom;
    const float top = static_cast<float>(inFrame.mRows) - inRegion.mTop;
    return {std::max(IP::ClampNaNLowest(std::min(inRegion.mLeft, inRegion.mRight)), halfWidth),
            std::min(IP::ClampNaNLowest(std::max(inRegion.mLeft, inRegion.mRight)),
                     inFrame.mColumns - halfWidth),
            std::max(IP::ClampNaNLowest(std::min(bottom, top)), halfHeight),
            std::min(IP::ClampNaNLowest(std::max(bottom, top)), inFrame.mRows - halfHeight),
            step};
}

// The limit is twice what the integer holds. What lies above and between becomes the lowest
// integer, sorts last and never qualifies.
void ReportTooLarge() {
    AssertWithMessage("DP::KLTTracker::SelectGoodFeaturesWithMode",
                      "(_KLTSelectGoodFeatures) minimum eigenvalue %f is greater than the "
                      "capacity of an TVK::SInt32; setting to maximum value");
}

bool HasSize(const IP::PyramidPtr<float>& inPyramid, const IP::FrameView& inFrame) {
    return inPyramid->GetColumns() == inFrame.mColumns && inPyramid->GetRows() == inFrame.mRows;
}

// The gradients that are scored: in sequential mode a top-up scores the kept frame.
GradientImages SelectionGradients(const TrackingContext& inContext, int inMode,
                                  const IP::FrameView& inFrame, const FloatImage& inSmoothed) {
    if (inMode == KLTTracker::kReplaceLost && inContext.mSequentialMode &&
        inContext.mLastPyramid != NULL && HasSize(inContext.mLastPyramid, inFrame))
        return {inContext.mLastPyramidGradX->GetLevel(0),
                inContext.mLastPyramidGradY->GetLevel(0)};
    const FloatImage image = SelectionImage(inContext, inFrame, inSmoothed);
    const auto makeImage = [&] {
        return TVK::MakeObject<IP::Image<float>>(inFrame.mColumns, inFrame.mRows);
    };
    const GradientImages result{makeImage(), makeImage()};
    IP::ComputeGradients(image, inContext.mGradSigma, result.mX, result.mY);
    return result;
}

void CorrectMinDist(TrackingContext& ioContext) {
    if (ioContext.mMinDist >= 0) return;
    AssertWithMessage("DP::KLTTracker::SelectGoodFeaturesWithMode",
                      "(_KLTSelectGoodFeatures) Tracking context field "
                      "mTrackingContext.mMinDist is negative (%d); setting to zero");
    ioContext.mMinDist = 0;
}

// Makes a region's list. Works on a copy: a new record reads as live, so a caller whose
// memory runs out midway must find its list as it was. The kept list may be the output.
void FillList(SortedPoints& ioPoints, const IP::FrameView& inFrame,
              const TrackingContext& inContext, unsigned int inMaxFeatures,
              const KLTFeatureListPtr* inKept, KLTFeatureList& ioList) {
    KLTFeatureList list = ioList;
    list.resize(inMaxFeatures);
    if (inKept && &**inKept != &ioList) list = **inKept;
    EnforceMinimumDistance(ioPoints, inFrame.mColumns, inFrame.mRows, inContext.mMinDist,
                           inContext.mMinEigenvalue, inKept == nullptr, list);
    ioList.swap(list);
}

void SetLastPyramids(const IP::FramePyramids& inPyramids, TrackingContext& ioContext) {
    ioContext.mLastPyramid = inPyramids.mSmoothed;
    ioContext.mLastPyramidGradX = inPyramids.mGradientX;
    ioContext.mLastPyramidGradY = inPyramids.mGradientY;
}

}  // namespace

KLTTracker::KLTTracker(unsigned int inMaxFeatures) : mMaxFeatures(inMaxFeatures) {
    constexpr int kSearchRange = 15;  // pixels from frame to frame
    ChangeTCPyramid(kSearchRange);
    UpdateTCBorder();
}

void KLTTracker::SelectGoodFeatures(const unsigned char* inImage, int inCols, int inRows,
                                    long long inFrame, const Rects& inROIRects,
                                    Lists& outFeatureListPtrVec) {
    mCurrentFrame = inFrame;
    SelectGoodFeaturesWithMode(inImage, inCols, inRows, kSelectAll, inROIRects, {},
                               outFeatureListPtrVec);
}

void KLTTracker::ReplaceLostFeatures(const unsigned char* inImage, int inCols, int inRows,
                                     const Rects& inROIRects, Lists inFeatureListPtrVec,
                                     Lists& outFeatureListPtrVec,
                                     const FloatImage& inSmoothed) {
    SelectGoodFeaturesWithMode(inImage, inCols, inRows, kReplaceLost, inROIRects,
                               inFeatureListPtrVec, outFeatureListPtrVec, inSmoothed);
}

void KLTTracker::SelectGoodFeaturesWithMode(const unsigned char* inImage, int inCols,
                                            int inRows, int inMode, const Rects& inROIRects,
                                            Lists inFeatureListPtrVec,
                                            Lists& outFeatureListPtrVec,
                                            const FloatImage& inSmoothed) {
    ContractCheck(inROIRects.size() == outFeatureListPtrVec.size());
    TrackingContext& context = mTrackingContext;
    CorrectWindowForSelection(context);
    const IP::FrameView frame{inImage, inCols, inRows};

    // The count of points runs on from region to region while the writing starts over, so
    // a further region sorts and walks what is left of the earlier ones as well. The list
    // has room for all of them, and what is not written yet has a value of 0.
    const std::size_t pixels = static_cast<std::size_t>(std::max(inCols, 0)) *
                               static_cast<std::size_t>(std::max(inRows, 0));
    if (pixels > UINT32_MAX) throw std::bad_alloc();  // the points alone would take 32 GB
    const std::size_t room = pixels * inROIRects.size();
    IP::RecycledArray<std::int32_t> values(room);
    IP::RecycledArray<std::uint32_t> indices(room);
    const PointList points{values.begin(), indices.begin()};
    if (inROIRects.size() > 1) {
        std::fill(values.begin(), values.end(), 0);
        std::fill(indices.begin(), indices.end(), 0u);
    }
    std::size_t count = 0;

    const GradientImages gradients = SelectionGradients(context, inMode, frame, inSmoothed);
    if (gradients.mX->GetData() == nullptr || gradients.mY->GetData() == nullptr)
        return;  // reported; the host's ThrowError came back

    for (std::size_t k = 0; k < inROIRects.size(); ++k) {
        const SelectionBounds bounds = BoundsOf(inROIRects[k], frame, context);
        count += CollectPoints(*gradients.mX, *gradients.mY, bounds, context.mWindowWidth,
                               context.mWindowHeight, ReportTooLarge, points);
        SortedPoints sorted(points, count);
        CorrectMinDist(context);
        FillList(sorted, frame, context, mMaxFeatures,
                 inMode == kSelectAll ? nullptr : &inFeatureListPtrVec[k],
                 *outFeatureListPtrVec[k]);
        if (k + 1 < inROIRects.size()) sorted.Finish();
    }
    if (context.mSequentialMode)
        SetLastPyramids(IP::ComputeFramePyramids(frame, PyramidSettingsOf(context)), context);
}

// ---- The tracking step ---------------------------------------------------------------

namespace {

// Image and gradients of one level of a frame; no gradients where windows make their own.
struct Level {
    FloatImage mImage;
    FloatImage mGradX;
    FloatImage mGradY;
};

bool IsComplete(const IP::FramePyramids& inPyramids) {
    return inPyramids.mSmoothed != NULL && inPyramids.mGradientX != NULL &&
           inPyramids.mGradientY != NULL;
}

// The levels of a frame, taken out of its pyramids once for all its points.
std::vector<Level> LevelsOf(const RequestedPyramids& inFrame, int inLevelCount) {
    const IP::FramePyramids& pyramids = inFrame.mPyramids;
    std::vector<Level> levels;
    if (!IsComplete(pyramids)) return levels;
    for (int level = 0; level < inLevelCount; ++level) {
        levels.push_back({pyramids.mSmoothed->GetLevel(level), {}, {}});
        if (level == 0 && inFrame.mLacksLevelZero) continue;
        levels.back().mGradX = pyramids.mGradientX->GetLevel(level);
        levels.back().mGradY = pyramids.mGradientY->GetLevel(level);
    }
    return levels;
}

// A point on its way through the levels: where it is in the first frame and where it is
// thought to be in the second, in pixels of one level.
struct Descent {
    float mX1, mY1, mX2, mY2;
    std::int32_t mStatus;
};

// One division a level, as the way down has one multiplication a level.
Descent AtCoarsestScale(const KLTFeature& inFeature, const TrackingContext& inContext) {
    const auto subsampling = static_cast<float>(inContext.mSubsampling);
    float x = inFeature.mX;
    float y = inFeature.mY;
    for (int level = 0; level < inContext.mPyramidLevels; ++level) {
        x /= subsampling;
        y /= subsampling;
    }
    return {x, y, x, y, kKLTTracked};
}

// Coarse to fine. Of the coarser levels only a singular system, which ends the search with
// the positions in that level's scale, and a window outside the image are remembered.
void DescendLevels(const std::vector<Level>& inFirst, const std::vector<Level>& inSecond,
                   const TrackingContext& inContext, Descent& ioPoint) {
    const auto subsampling = static_cast<float>(inContext.mSubsampling);
    for (std::size_t k = inFirst.size(); k-- > 0;) {
        for (float* const position : {&ioPoint.mX1, &ioPoint.mY1, &ioPoint.mX2, &ioPoint.mY2})
            *position *= subsampling;
        ioPoint.mStatus = TrackFeature(
            ioPoint.mX1, ioPoint.mY1, ioPoint.mX2, ioPoint.mY2, inFirst[k].mImage,
            inFirst[k].mGradX, inFirst[k].mGradY, inSecond[k].mImage, inSecond[k].mGradX,
            inSecond[k].mGradY, inContext.mWindowWidth, inContext.mWindowHeight,
            inContext.mStepFactor, inContext.mMaxIterations, inContext.mMinDeterminant,
            inContext.mMinDisplacement, inContext.mMaxResidue, inContext.mLightingInsensitive);
        if (ioPoint.mStatus == kKLTSmallDet || ioPoint.mStatus == kKLTOutOfBounds) return;
    }
}

// Level 0 alone is larger than the caches near by.
void ReadAhead(const std::vector<Level>& inFirst, const std::vector<Level>& inSecond,
               const KLTFeature& inFeature) {
    if (inFeature.mValue < 0 || inFirst.empty() || inSecond.empty()) return;
    for (const FloatImage& image : {inFirst[0].mImage, inSecond[0].mImage})
        KLTGradientBlock::ReadAhead(*image, inFeature.mX, inFeature.mY);
}

void RecordPoint(const Descent& inPoint, const IP::FrameView& inFrame,
                 const TrackingContext& inContext, KLTFeature& ioFeature) {
    const bool isOutside = inPoint.mStatus == kKLTOutOfBounds ||
                           IsOutOfBounds(inPoint.mX2, inPoint.mY2, inFrame.mColumns,
                                         inFrame.mRows, inContext.mBorderX, inContext.mBorderY);
    if (isOutside || inPoint.mStatus != kKLTTracked) {
        ioFeature.mX = -1.0f;
        ioFeature.mY = -1.0f;
        ioFeature.mValue = isOutside ? std::int32_t{kKLTOutOfBounds} : inPoint.mStatus;
        return;
    }
    ioFeature.mDeltaX = inPoint.mX2 - ioFeature.mX;
    ioFeature.mDeltaY = inPoint.mY2 - ioFeature.mY;
    ioFeature.mX = inPoint.mX2;
    ioFeature.mY = inPoint.mY2;
    ioFeature.mValue = kKLTTracked;
    ioFeature.mAge = static_cast<std::int32_t>(static_cast<std::uint32_t>(ioFeature.mAge) + 1u);
}

// The pyramids kept in sequential mode.
RequestedPyramids LastPyramids(const TrackingContext& inContext, const IP::FrameView& inFrame) {
    if (!HasSize(inContext.mLastPyramid, inFrame))
        AssertWithMessage("DP::KLTTracker::TrackFeatures",
                          "(TrackFeatures) Size of incoming image (%d by %d) is different from "
                          "size of previous image (%d by %d)\n");
    return {{inContext.mLastPyramid, inContext.mLastPyramidGradX, inContext.mLastPyramidGradY}};
}

}  // namespace

FloatImage KLTTracker::TrackFeatures(const unsigned char* inPrevImage,
                                     const unsigned char* inCurrImage, int inCols, int inRows,
                                     long long inFrame, Lists inFeatureListPtrVec,
                                     Lists& outFeatureListPtrVec) {
    mCurrentFrame = inFrame;
    TrackingContext& context = mTrackingContext;
    CorrectWindowForTracking(context);
    const auto computer = FindPyramidComputer(mSourceID);
    const bool needsPlanes =
        context.mSequentialMode || context.mLightingInsensitive ||
        !KLTGradientBlock::HoldsWindow(context.mWindowWidth, context.mWindowHeight);
    const auto request = [&](const unsigned char* inImage, long long inNumber) {
        return RequestFramePyramids(computer, mSourceID, inNumber, {inImage, inCols, inRows},
                                    PyramidSettingsOf(context), needsPlanes);
    };
    const IP::FrameView frame{inCurrImage, inCols, inRows};
    // The difference of the frame numbers is one of 32 bits, and wraps.
    const auto previous = static_cast<std::int32_t>(static_cast<std::uint32_t>(inFrame) -
                                                    static_cast<std::uint32_t>(mFrameStep));
    const RequestedPyramids first = context.mSequentialMode && context.mLastPyramid != NULL
                                        ? LastPyramids(context, frame)
                                        : request(inPrevImage, previous);
    const RequestedPyramids second = request(inCurrImage, inFrame);
    const std::vector<Level> firstLevels = LevelsOf(first, context.mPyramidLevels);
    const std::vector<Level> secondLevels = LevelsOf(second, context.mPyramidLevels);
    const bool hasPyramids = IsComplete(first.mPyramids) && IsComplete(second.mPyramids);

    for (std::size_t k = 0; k < inFeatureListPtrVec.size(); ++k) {
        KLTFeatureList working = *inFeatureListPtrVec[k];
        for (std::size_t i = 0; i < working.size(); ++i) {
            KLTFeature& feature = working[i];
            IP::Checkpoint(std::int64_t(i), std::int64_t(working.size()));
            if (i + 1 < working.size()) ReadAhead(firstLevels, secondLevels, working[i + 1]);
            if (feature.mValue < 0) continue;
            if (!hasPyramids) throw TVK::NullInterfaceException();
            Descent point = AtCoarsestScale(feature, context);
            DescendLevels(firstLevels, secondLevels, context, point);
            RecordPoint(point, frame, context, feature);
        }
        *outFeatureListPtrVec[k] = working;
    }
    if (context.mSequentialMode) SetLastPyramids(second.mPyramids, context);
    inFeatureListPtrVec.clear();
    return second.mIsNew && !secondLevels.empty() ? secondLevels[0].mImage : FloatImage();
}

}  // namespace DP
