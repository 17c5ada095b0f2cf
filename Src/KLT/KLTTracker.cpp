// The KLT tracker, in outline: which steps a frame takes, in their order. Each step stands in a
// file of its own.
//
// Selection scores every pixel of the full frame by how well a window around it can be
// followed, and takes the best ones first, keeping a distance. The pyramids play no part.
//
// A tracking step asks for the pyramids of both frames as descriptors, follows each feature
// coarse to fine, and records where it was found. The pyramids of this frame are the first
// ones of the next step and then come from the cache.

#include "KLT/KLTTracker.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "KLT/KLTFeatureRecord.h"
#include "KLT/KLTFramePyramids.h"
#include "KLT/KLTGradientBlock.h"
#include "KLT/KLTLevelDescent.h"
#include "KLT/KLTSelection.h"
#include "KLT/KLTSelectionGradients.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"
#include "image/RecycledArray.h"

namespace DP {
namespace {

// ---- Selection -----------------------------------------------------------------------

// The limit is twice what the integer holds. What lies above and between becomes the lowest
// integer, sorts last and never qualifies.
void ReportTooLarge() {
    AssertWithMessage("DP::KLTTracker::SelectGoodFeaturesWithMode",
                      "(_KLTSelectGoodFeatures) minimum eigenvalue %f is greater than the "
                      "capacity of an TVK::SInt32; setting to maximum value");
}

void CorrectMinDist(TrackingContext& ioContext) {
    if (ioContext.mMinDist >= 0) return;
    AssertWithMessage("DP::KLTTracker::SelectGoodFeaturesWithMode",
                      "(_KLTSelectGoodFeatures) Tracking context field "
                      "mTrackingContext.mMinDist is negative (%d); setting to zero");
    ioContext.mMinDist = 0;
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
    SelectIn({inImage, inCols, inRows}, inSmoothed, inROIRects, &inFeatureListPtrVec,
             outFeatureListPtrVec);
}

void KLTTracker::SelectGoodFeaturesWithMode(const unsigned char* inImage, int inCols,
                                            int inRows, int inMode, const Rects& inROIRects,
                                            Lists inFeatureListPtrVec,
                                            Lists& outFeatureListPtrVec) {
    SelectIn({inImage, inCols, inRows}, {}, inROIRects,
             inMode == kSelectAll ? nullptr : &inFeatureListPtrVec, outFeatureListPtrVec);
}

void KLTTracker::SelectIn(const IP::FrameView& inFrame, const FloatImage& inSmoothed,
                          const Rects& inROIRects, const Lists* inKept,
                          Lists& outFeatureListPtrVec) {
    ContractCheck(inROIRects.size() == outFeatureListPtrVec.size());
    TrackingContext& context = mTrackingContext;
    CorrectWindowForSelection(context);

    // The count of points runs on from region to region while the writing starts over, so
    // a further region sorts and walks what is left of the earlier ones as well. The list
    // has room for all of them, and what is not written yet has a value of 0.
    const std::size_t pixels = static_cast<std::size_t>(std::max(inFrame.mColumns, 0)) *
                               static_cast<std::size_t>(std::max(inFrame.mRows, 0));
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

    const GradientImages gradients =
        SelectionGradients(context, inFrame, inSmoothed, inKept != nullptr);
    if (gradients.mX->GetData() == nullptr || gradients.mY->GetData() == nullptr)
        return;  // reported; the host's ThrowError came back

    for (std::size_t k = 0; k < inROIRects.size(); ++k) {
        const SelectionBounds bounds = BoundsOf(inROIRects[k], inFrame, context);
        count += CollectPoints(*gradients.mX, *gradients.mY, bounds, context.mWindowWidth,
                               context.mWindowHeight, ReportTooLarge, points);
        SortedPoints sorted(points, count);
        CorrectMinDist(context);
        FillList(sorted, inFrame, context, mMaxFeatures, inKept ? &(*inKept)[k] : nullptr,
                 *outFeatureListPtrVec[k]);
        if (k + 1 < inROIRects.size()) sorted.Finish();
    }
    if (context.mSequentialMode)
        SetLastPyramids(context, IP::ComputeFramePyramids(inFrame, PyramidSettingsOf(context)));
}

// ---- The tracking step ---------------------------------------------------------------

namespace {

// The pyramids kept in sequential mode.
RequestedPyramids LastPyramids(const TrackingContext& inContext, const IP::FrameView& inFrame) {
    if (!LastPyramidHasSize(inContext, inFrame))
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
    const KLTLevelDescent levels(first, second, context);

    for (std::size_t k = 0; k < inFeatureListPtrVec.size(); ++k) {
        KLTFeatureList working = *inFeatureListPtrVec[k];
        for (std::size_t i = 0; i < working.size(); ++i) {
            KLTFeature& feature = working[i];
            IP::Checkpoint(std::int64_t(i), std::int64_t(working.size()));
            if (i + 1 < working.size()) levels.ReadAhead(working[i + 1]);
            if (feature.mValue < 0) continue;
            if (!levels.HasPyramids()) throw TVK::NullInterfaceException();
            RecordTracked(levels.Descend(feature), frame, context, feature);
        }
        *outFeatureListPtrVec[k] = working;
    }
    if (context.mSequentialMode) SetLastPyramids(context, second.mPyramids);
    inFeatureListPtrVec.clear();
    return second.mIsNew ? levels.SmoothedSecond() : FloatImage();
}

}  // namespace DP
