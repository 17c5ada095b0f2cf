// One frame of a region run. The first selects points inside the rectangle; each later one
// carries them on, fits one motion to those that agree, moves the rectangle by it, drops points
// that lie outside of it now, and fills the free slots:
//
//     points -> motion -> rectangle -> points inside it
//
// Rectangles count y upward from the bottom of the image, points count y downward; what turns
// one into the other is always the number of rows less the one.

#include "RegionTracker/RegionTrackerWrapper.h"

#include <algorithm>
#include <cstdint>

#include "DP/IAPTDescriptor.h"
#include "Image.h"
#include "RegionTracker/RegionOf.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"
#include "image/Saturate.h"

namespace DP {
namespace {

using Lists = APTTracker::Lists;
using Rects = APTTracker::Rects;

/// The frame number as the engine takes it.
/// @throws TVK::NullInterfaceException for a null key.
unsigned int FrameOf(const Ref<IDescriptorDataKey>& inDataKey) {
    return static_cast<unsigned int>(inDataKey->GetFrameNumber());
}

struct Range {
    std::int64_t mBegin;
    std::int64_t mEnd;
    Range CutTo(std::int64_t inEnd) const {
        return {std::clamp<std::int64_t>(mBegin, 0, inEnd),
                std::clamp<std::int64_t>(mEnd, 0, inEnd)};
    }
};

// Whitens what of a block lies on the plane.
void FillBlock(unsigned char* ioPlane, int inCols, int inRows, Range inColumns, Range inLines) {
    const Range columns = inColumns.CutTo(std::max(inCols, 0));
    const Range lines = inLines.CutTo(std::max(inRows, 0));
    for (std::int64_t y = lines.mBegin; y < lines.mEnd; ++y)
        for (std::int64_t x = columns.mBegin; x < columns.mEnd; ++x)
            ioPlane[y * inCols + x] = 255;
}

bool IsInGroup(const MotionGroups& inGroups, int inGroup, int inIndex) {
    if (inGroup < 0 || static_cast<std::size_t>(inGroup) >= inGroups.size()) return false;
    const MotionGroup& group = inGroups[static_cast<std::size_t>(inGroup)];
    return std::find(group.begin(), group.end(), inIndex) != group.end();
}

// The picture of all live points, each drawn by `inDraw(overlay, index, feature)`.
template <class Draw>
void WriteOverlay(const unsigned char* inImage, int inCols, int inRows, const char* inPath,
                  const APTFeatureListPtr& inFeatures, const RegionPtr& inRegion, Draw inDraw) {
    using Overlay = CAFU::FeatureOverlay;
    Overlay overlay(inImage, inCols, inRows);
    if (!overlay.HasPlanes())
        AssertWithMessage("DP::RegionTrackerWrapper::WriteFeatureListRectToPPM",
                          Overlay::kOutOfMemory);
    int index = 0;
    for (const APTFeature& feature : *inFeatures) {
        if (feature.mStatus >= 0) inDraw(overlay, index, feature);
        ++index;
    }
    RegionTrackerWrapper::DrawRectOnPlanes(
        overlay.GetPlane(Overlay::kRed), overlay.GetPlane(Overlay::kGreen),
        overlay.GetPlane(Overlay::kBlue), inCols, inRows, inRegion);
    overlay.Write(inPath);
}

}  // namespace

RegionTrackerWrapper::RegionTrackerWrapper(int inRows, int inCols,
                                           TVK::ObjectPtr<APTTracker> inTracker)
    : mTracker(inTracker), mCols(inCols), mRows(inRows) {}

// ---- One frame -----------------------------------------------------------------------

void RegionTrackerWrapper::UpdateRegion(const float* inPrevImage, const float* inCurrImage,
                                        Ref<IDescriptorDataKey> inDataKey,
                                        Ref<IRegionTrackerDescriptorData> inPrevData,
                                        APTFeatureListPtr& outFeatures, RegionPtr& outRegion) {
    ContractCheck(inCurrImage != NULL);
    ContractCheck(mTracker != NULL);
    outFeatures = TVK::MakeObject<APTFeatureList>();
    const APTTracker::StepGuard guard(*mTracker);
    const APTFeatureListPtr prevFeatures = Ref<IAPTDescriptorData>(inPrevData)->GetFeatures();
    const RegionPtr prevRegion = inPrevData->GetRegion();
    if (prevFeatures != NULL) {
        TrackRegion(prevFeatures, prevRegion, inPrevImage, inCurrImage, inDataKey, outFeatures,
                    outRegion);
        return;
    }
    mTracker->mStartFrame = static_cast<std::uint64_t>(inDataKey->GetFrameNumber());
    const Rects rects{RegionOf(prevRegion)};
    Lists lists{outFeatures};
    mTracker->SelectFeatures(inCurrImage, mCols, mRows, FrameOf(inDataKey), rects, lists);
    outRegion = prevRegion;
}

void RegionTrackerWrapper::TrackRegion(APTFeatureListPtr inPrevFeatures, RegionPtr inPrevRegion,
                                       const float* inPrevImage, const float* inCurrImage,
                                       Ref<IDescriptorDataKey> inDataKey,
                                       APTFeatureListPtr& outFeatures, RegionPtr& outRegion) {
    Lists lists{outFeatures};
    const unsigned int frame = FrameOf(inDataKey);
    IP::EnterStage(0.0, 0.6);
    mTracker->TrackFeatures(inPrevImage, inCurrImage, mCols, mRows, frame, {inPrevFeatures},
                            lists);
    outRegion = TVK::MakeObject<TVK::ParamRect<float>>();
    MotionGroups groups;
    int selectedGroup = 0;
    FitRegionMotion(outFeatures, inPrevFeatures, mRows, &RegionOf(inPrevRegion),
                    outRegion.Get(), groups, &selectedGroup);

    IP::EnterStage(0.6, 1.0);
    const Rects rects{*outRegion};
    MarkFeaturesOutsideRects(rects, mRows, lists);
    mTracker->ReplenishFeatures(inCurrImage, mCols, mRows, frame, rects, lists);
}

// By whole pixels, toward zero, of the point as rectangles see it. The edges belong to the
// rectangle; NaN is below every rectangle and goes.
bool RegionTrackerWrapper::MarkFeaturesOutsideRects(
    const std::vector<TVK::ParamRect<float>>& inRects, int inRows,
    std::vector<APTFeatureListPtr>& ioFls) {
    ContractCheck(inRects.size() == ioFls.size(), false);
    for (std::size_t i = 0; i < inRects.size(); ++i) {
        const TVK::ParamRect<float>& rect = inRects[i];
        for (APTFeature& feature : *ioFls[i]) {
            const auto px = static_cast<float>(IP::TruncateNaNLowest(feature.mX));
            const auto py = static_cast<float>(
                IP::TruncateNaNLowest(static_cast<float>(inRows) - feature.mY));
            if (px < rect.mLeft || px > rect.mRight || py < rect.mTop || py > rect.mBottom)
                feature.mStatus = kAPTFeatureInactive;
        }
    }
    return false;
}

// ---- Pictures ------------------------------------------------------------------------

// Rows of the picture, so that `upper` is the smaller number: horizontal lines are two pixels
// thick, vertical ones one. What lies off the plane is left out.
void RegionTrackerWrapper::DrawRectOnPlane(unsigned char* inImage, int inCols, int inRows,
                                           RegionPtr inRegion) {
    ContractCheck(inRegion != NULL);
    ContractCheck(inImage != NULL);
    const TVK::ParamRect<float>& rect = *inRegion;
    const float cols = static_cast<float>(inCols);
    const float rows = static_cast<float>(inRows);
    const std::int64_t x0 = IP::TruncateNaNLowest(std::max(0.0f, rect.mLeft));
    const std::int64_t x1 = IP::TruncateNaNLowest(std::min(cols, rect.mRight));
    const std::int64_t upper =
        std::max(0, IP::TruncateNaNLowest(rows - std::min(rows, rect.mBottom)));
    const std::int64_t lower =
        std::min(inRows, IP::TruncateNaNLowest(rows - std::max(0.0f, rect.mTop)));
    const auto fill = [&](Range inColumns, Range inLines) {
        FillBlock(inImage, inCols, inRows, inColumns, inLines);
    };
    if (x0 < x1) {
        fill({x0, x1}, {upper, upper + 2});
        fill({x0, x1}, {lower, lower + 2});
    }
    if (upper < lower) {
        fill({x1, x1 + 1}, {upper, lower});
        fill({x0, x0 + 1}, {upper, lower});
    }
}

void RegionTrackerWrapper::DrawRectOnPlanes(unsigned char* inRedImage,
                                            unsigned char* inGreenImage,
                                            unsigned char* inBlueImage, int inCols, int inRows,
                                            RegionPtr inRegion) {
    ContractCheck(inRegion != NULL);
    ContractCheck(inRedImage != NULL);
    ContractCheck(inGreenImage != NULL);
    ContractCheck(inBlueImage != NULL);
    for (unsigned char* const plane : {inRedImage, inGreenImage, inBlueImage})
        DrawRectOnPlane(plane, inCols, inRows, inRegion);
}

void RegionTrackerWrapper::WriteFeatureListRectToPPM(const unsigned char* inImage, int inCols,
                                                     int inRows, const char* inPath,
                                                     APTFeatureListPtr inFeatures,
                                                     RegionPtr inRegion) {
    WriteOverlay(inImage, inCols, inRows, inPath, inFeatures, inRegion,
                 [](CAFU::FeatureOverlay& ioOverlay, int inIndex, const APTFeature& inFeature) {
                     ioOverlay.DrawFeature(static_cast<unsigned int>(inIndex), inFeature.mX,
                                           inFeature.mY);
                 });
}

void RegionTrackerWrapper::WriteFeatureListRectToPPM(const unsigned char* inImage, int inCols,
                                                     int inRows, const char* inPath,
                                                     APTFeatureListPtr inFeatures,
                                                     RegionPtr inRegion,
                                                     const MotionGroups& inGroups,
                                                     int inSelectedGroup) {
    const int other = inSelectedGroup < 1 ? 1 : 0;
    WriteOverlay(
        inImage, inCols, inRows, inPath, inFeatures, inRegion,
        [&](CAFU::FeatureOverlay& ioOverlay, int inIndex, const APTFeature& inFeature) {
            const auto plane =
                IsInGroup(inGroups, inSelectedGroup, inIndex) ? CAFU::FeatureOverlay::kBlue
                : IsInGroup(inGroups, other, inIndex)         ? CAFU::FeatureOverlay::kGreen
                                                              : CAFU::FeatureOverlay::kRed;
            ioOverlay.DrawFeature(plane, inFeature.mX, inFeature.mY);
        });
}

}  // namespace DP
