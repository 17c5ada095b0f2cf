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
#include <cstring>

#include "DP/DescriptorFactory.h"
#include "KLT/KLTSelection.h"
#include "KLT/KLTTrackerUtils.h"
#include "Pyramid/ImagePyramidDescriptorData.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"
#include "TVK/ContractCheck.h"
#include "image/IPConvolveImage.h"
#include "image/PixelOps.h"
#include "image/RecycledArray.h"
#include "image/Truncate.h"

namespace DP {
namespace {

// ---- Windows of a bad size -----------------------------------------------------------

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
        AssertWithMessage(kReports.mFunction, kReports.mOddWidth);
    }
    if (ioContext.mWindowHeight % 2 != 1) {
        ++ioContext.mWindowHeight;
        AssertWithMessage(kReports.mFunction, kReports.mOddHeight);
    }
    if (ioContext.mWindowWidth < 3) {
        ioContext.mWindowWidth = 3;
        AssertWithMessage(kReports.mFunction, kReports.mLeastWidth);
    }
    if (ioContext.mWindowHeight < 3) {
        ioContext.mWindowHeight = 3;
        AssertWithMessage(kReports.mFunction, kReports.mLeastHeight);
    }
}

int GaussRadius(float inSigma) {
    int gaussWidth = 0, gaussDerivWidth = 0;
    IP::GetKernelWidths(inSigma, gaussWidth, gaussDerivWidth);
    return gaussWidth / 2;
}

int ClampedToInt(std::int64_t inValue) {
    return static_cast<int>(std::clamp<std::int64_t>(inValue, INT32_MIN, INT32_MAX));
}

// A side of a region as a pixel index.
int ClippedToInt(float inValue) {
    return IP::TruncateToInt(std::clamp(double{inValue}, -2147483648.0, 2147483647.0));
}

// ---- Selection -----------------------------------------------------------------------

struct GradientImages {
    FloatImage mX;
    FloatImage mY;
};

GradientImages ComputeSelectionGradients(const TrackingContext& inContext, float inSmoothSigma,
                                         const unsigned char* inImage, int inCols, int inRows) {
    const auto makeImage = [&] {
        return TVK::MakeObject<IP::Image<float>>(inCols, inRows);
    };
    const FloatImage image = makeImage();
    if (inContext.mSmoothBeforeSelecting)
        IP::ComputeSmoothedBytes(inImage, inCols, inRows, inSmoothSigma, image);
    else
        image->ConvertFromBytes(inImage, inCols, inRows);
    const GradientImages result{makeImage(), makeImage()};
    IP::ComputeGradients(image, inContext.mGradSigma, result.mX, result.mY);
    return result;
}

// Where windows lie inside both the region, which counts y upward, and the image. A region
// with a side that is NaN has no inside.
SelectionBounds BoundsOf(const TVK::ParamRect<float>& inRegion, int inCols, int inRows,
                         const TrackingContext& inContext) {
    const std::int64_t step =
        std::max<std::int64_t>(std::int64_t{inContext.mSkippedPixels} + 1, 1);
    for (const float side : {inRegion.mLeft, inRegion.mTop, inRegion.mRight, inRegion.mBottom})
        if (std::isnan(side)) return {0, 0, 0, 0, step};
    const int halfWidth = inContext.mWindowWidth / 2;
    const int halfHeight = inContext.mWindowHeight / 2;
    const float bottom = static_cast<float>(inRows) - inRegion.mBottom;
    const float top = static_cast<float>(inRows) - inRegion.mTop;
    return {
        std::max(ClippedToInt(std::min(inRegion.mLeft, inRegion.mRight)), halfWidth),
        std::min(ClippedToInt(std::max(inRegion.mLeft, inRegion.mRight)), inCols - halfWidth),
        std::max(ClippedToInt(std::min(bottom, top)), halfHeight),
        std::min(ClippedToInt(std::max(bottom, top)), inRows - halfHeight), step};
}

// The limit is twice what the integer holds. What lies above and between becomes the lowest
// integer, sorts last and never qualifies.
void ReportTooLarge() {
    AssertWithMessage("DP::KLTTracker::SelectGoodFeaturesWithMode",
                      "(_KLTSelectGoodFeatures) minimum eigenvalue %f is greater than the "
                      "capacity of an TVK::SInt32; setting to maximum value");
}

bool HasSize(const IP::PyramidPtr<float>& inPyramid, int inCols, int inRows) {
    return inPyramid->GetColumns() == inCols && inPyramid->GetRows() == inRows;
}

// The gradients that are scored: in sequential mode a top-up scores the kept frame.
GradientImages SelectionGradients(const TrackingContext& inContext, float inSmoothSigma,
                                  int inMode, const unsigned char* inImage, int inCols,
                                  int inRows) {
    const bool usesLastPyramid = inMode == KLTTracker::kReplaceLost &&
                                 inContext.mSequentialMode && inContext.mLastPyramid != NULL &&
                                 HasSize(inContext.mLastPyramid, inCols, inRows);
    if (!usesLastPyramid)
        return ComputeSelectionGradients(inContext, inSmoothSigma, inImage, inCols, inRows);
    return {inContext.mLastPyramidGradX->GetLevel(0), inContext.mLastPyramidGradY->GetLevel(0)};
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
void FillList(SortedPoints& ioPoints, int inCols, int inRows, const TrackingContext& inContext,
              unsigned int inMaxFeatures, const KLTFeatureListPtr* inKept,
              KLTFeatureList& ioList) {
    KLTFeatureList list = ioList;
    list.resize(inMaxFeatures);
    if (inKept && &**inKept != &ioList) list = **inKept;
    EnforceMinimumDistance(ioPoints, inCols, inRows, inContext.mMinDist,
                           inContext.mMinEigenvalue, inKept == NULL, list);
    ioList.swap(list);
}

}  // namespace

// ---- Context -------------------------------------------------------------------------

KLTTracker::KLTTracker(unsigned int inMaxFeatures) : mMaxFeatures(inMaxFeatures) {
    constexpr int kSearchRange = 15;
    ChangeTCPyramid(kSearchRange);
    UpdateTCBorder();
}

float KLTTracker::ComputeSmoothSigma() const {
    return static_cast<float>(
               std::max(mTrackingContext.mWindowWidth, mTrackingContext.mWindowHeight)) *
           mTrackingContext.mSmoothSigmaFactor;
}

float KLTTracker::ComputePyramidSigma() const {
    return static_cast<float>(mTrackingContext.mSubsampling) *
           mTrackingContext.mPyramidSigmaFactor;
}

void KLTTracker::ChangeTCPyramid(int inSearchRange) {
    TrackingContext& context = mTrackingContext;
    CorrectWindow<kPyramidReports>(context);
    const float half =
        static_cast<float>(std::min(context.mWindowWidth, context.mWindowHeight)) / 2.0f;
    const float range = static_cast<float>(inSearchRange) / half;
    if (range < 1.0f) {
        context.mPyramidLevels = 1;
    } else if (range <= 9.0f) {
        context.mPyramidLevels = 2;
        context.mSubsampling = range <= 3.0f ? 2 : range <= 5.0f ? 4 : 8;
    } else {
        const auto levels =
            static_cast<float>(std::log(7.0 * double{range} + 1.0) / std::log(8.0));
        context.mPyramidLevels = static_cast<int>(double{levels} + 0.99);
        context.mSubsampling = 8;
    }
}

void KLTTracker::UpdateTCBorder() {
    TrackingContext& context = mTrackingContext;
    CorrectWindow<kBorderReports>(context);
    const int halfWindow = std::max(context.mWindowWidth, context.mWindowHeight) / 2;
    int invalid = GaussRadius(ComputeSmoothSigma());
    const int pyramidRadius = GaussRadius(ComputePyramidSigma());
    std::int64_t scale = 1;
    for (int level = 1; level < context.mPyramidLevels; ++level) {
        const float here = (static_cast<float>(invalid) + static_cast<float>(pyramidRadius)) /
                           static_cast<float>(context.mSubsampling);
        invalid = IP::TruncateToInt(double{here} + 0.99);  // rounded up
        scale = ClampedToInt(scale * context.mSubsampling);
    }
    context.mBorderX = context.mBorderY =
        ClampedToInt((std::int64_t{invalid} + halfWindow) * scale);
}

IP::FramePyramidSettings KLTTracker::PyramidSettings() const {
    return {mTrackingContext.mGradSigma, ComputeSmoothSigma(),
            mTrackingContext.mPyramidSigmaFactor, mTrackingContext.mSubsampling,
            mTrackingContext.mPyramidLevels};
}

IP::FramePyramids KLTTracker::LastPyramids() const {
    return {mTrackingContext.mLastPyramid, mTrackingContext.mLastPyramidGradX,
            mTrackingContext.mLastPyramidGradY};
}

void KLTTracker::SetLastPyramids(const IP::FramePyramids& inPyramids) {
    mTrackingContext.mLastPyramid = inPyramids.mSmoothed;
    mTrackingContext.mLastPyramidGradX = inPyramids.mGradientX;
    mTrackingContext.mLastPyramidGradY = inPyramids.mGradientY;
}

// ---- Selection -----------------------------------------------------------------------

void KLTTracker::SelectGoodFeatures(const unsigned char* inImage, int inCols, int inRows,
                                    long long inFrame, const Regions& inROIRects,
                                    Lists& outFeatureListPtrVec) {
    mCurrentFrame = inFrame;
    SelectGoodFeaturesWithMode(inImage, inCols, inRows, kSelectAll, inROIRects, {},
                               outFeatureListPtrVec);
}

void KLTTracker::ReplaceLostFeatures(const unsigned char* inImage, int inCols, int inRows,
                                     const Regions& inROIRects, Lists inFeatureListPtrVec,
                                     Lists& outFeatureListPtrVec) {
    SelectGoodFeaturesWithMode(inImage, inCols, inRows, kReplaceLost, inROIRects,
                               inFeatureListPtrVec, outFeatureListPtrVec);
}

void KLTTracker::SelectGoodFeaturesWithMode(const unsigned char* inImage, int inCols,
                                            int inRows, int inMode, const Regions& inROIRects,
                                            Lists inFeatureListPtrVec,
                                            Lists& outFeatureListPtrVec) {
    ContractCheck(inROIRects.size() == outFeatureListPtrVec.size());
    TrackingContext& context = mTrackingContext;
    CorrectWindow<kSelectionReports>(context);

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

    const GradientImages gradients =
        SelectionGradients(context, ComputeSmoothSigma(), inMode, inImage, inCols, inRows);
    if (gradients.mX->GetData() == NULL || gradients.mY->GetData() == NULL)
        return;  // reported; the host's ThrowError came back

    for (std::size_t k = 0; k < inROIRects.size(); ++k) {
        const SelectionBounds bounds = BoundsOf(inROIRects[k], inCols, inRows, context);
        count += CollectPoints(*gradients.mX, *gradients.mY, bounds, context.mWindowWidth,
                               context.mWindowHeight, ReportTooLarge, points);
        SortedPoints sorted(points, count);
        CorrectMinDist(context);
        FillList(sorted, inCols, inRows, context, mMaxFeatures,
                 inMode == kSelectAll ? NULL : &inFeatureListPtrVec[k],
                 *outFeatureListPtrVec[k]);
        if (k + 1 < inROIRects.size()) sorted.Finish();
    }
    if (context.mSequentialMode)
        SetLastPyramids(IP::ComputeFramePyramids(inImage, inCols, inRows, PyramidSettings()));
}

// ---- The tracking step ---------------------------------------------------------------

// Null pyramids if the descriptor system has no item or no computer for them, or if the
// frame was missing when they were made.
IP::FramePyramids KLTTracker::RequestPyramids(const Ref<IDescriptorComputer>& inComputer,
                                              const unsigned char* inImage, int inCols,
                                              int inRows, long long inFrame) const {
    const IP::FramePyramidSettings settings = PyramidSettings();
    const Ref<IDescriptorDataKey> key = CreateImagePyramidDescriptorDataKey(
        mSourceID, inFrame, settings.mGradientSigma, settings.mSmoothSigma,
        settings.mPyramidSigmaFactor, settings.mSubsampling, settings.mLevelCount, inCols,
        inRows);
    const Ref<IDescriptorWorkerItem> item =
        CreateDescriptorWorkerItem(kDescriptorDataTypeImagePyramid);
    if (item == NULL || inComputer == NULL) return {};

    item->SetDataKey(key);
    Ref<ImagePyramidDescriptorWorkerItem>(item)->SetPyramidImage(inImage);
    const Ref<ImagePyramidDescriptorData> data(inComputer->GetDescriptorData(item, true));
    return {data->GetSmoothedPyramid(), data->GetGradientXPyramid(),
            data->GetGradientYPyramid()};
}

IP::FramePyramids KLTTracker::FirstPyramids(const Ref<IDescriptorComputer>& inComputer,
                                            const unsigned char* inPrevImage, int inCols,
                                            int inRows, long long inFrame) const {
    if (!mTrackingContext.mSequentialMode || mTrackingContext.mLastPyramid == NULL) {
        // The difference of the frame numbers is one of 32 bits, and wraps.
        const auto previous = static_cast<std::int32_t>(static_cast<std::uint32_t>(inFrame) -
                                                        static_cast<std::uint32_t>(mFrameStep));
        return RequestPyramids(inComputer, inPrevImage, inCols, inRows, previous);
    }
    if (!HasSize(mTrackingContext.mLastPyramid, inCols, inRows))
        AssertWithMessage("DP::KLTTracker::TrackFeatures",
                          "(TrackFeatures) Size of incoming image (%d by %d) is different from "
                          "size of previous image (%d by %d)\n");
    return LastPyramids();
}

void KLTTracker::TrackFeatures(const unsigned char* inPrevImage,
                               const unsigned char* inCurrImage, int inCols, int inRows,
                               long long inFrame, Lists inFeatureListPtrVec,
                               Lists& outFeatureListPtrVec) {
    mCurrentFrame = inFrame;
    CorrectWindow<kTrackingReports>(mTrackingContext);
    const Ref<IDescriptorComputer> computer = CreateDescriptorComputer(
        CreateDescriptorProperty(mSourceID, kDescriptorDataTypeImagePyramid));
    const IP::FramePyramids first =
        FirstPyramids(computer, inPrevImage, inCols, inRows, inFrame);
    const IP::FramePyramids second =
        RequestPyramids(computer, inCurrImage, inCols, inRows, inFrame);
    const bool hasPyramids = first.mSmoothed != NULL && first.mGradientX != NULL &&
                             first.mGradientY != NULL && second.mSmoothed != NULL &&
                             second.mGradientX != NULL && second.mGradientY != NULL;

    for (std::size_t k = 0; k < inFeatureListPtrVec.size(); ++k) {
        KLTFeatureList working = *inFeatureListPtrVec[k];
        for (KLTFeature& feature : working) {
            if (feature.mValue < 0) continue;
            if (!hasPyramids) throw TVK::NullInterfaceException();
            TrackOneFeature(first, second, inCols, inRows, feature);
        }
        *outFeatureListPtrVec[k] = working;
    }
    if (mTrackingContext.mSequentialMode) SetLastPyramids(second);
    inFeatureListPtrVec.clear();
}

// Coarse to fine. Of the coarser levels only a singular system, which ends the search with
// the positions in that level's scale, and a window outside the image are remembered.
void KLTTracker::TrackOneFeature(const IP::FramePyramids& inFirst,
                                 const IP::FramePyramids& inSecond, int inCols, int inRows,
                                 KLTFeature& ioFeature) const {
    const TrackingContext& context = mTrackingContext;
    const auto subsampling = static_cast<float>(context.mSubsampling);
    float xin = ioFeature.mX;
    float yin = ioFeature.mY;
    for (int level = 0; level < context.mPyramidLevels; ++level) {
        xin /= subsampling;
        yin /= subsampling;
    }
    float xout = xin;
    float yout = yin;

    std::int32_t status = kKLTTracked;
    for (int level = context.mPyramidLevels - 1; level >= 0; --level) {
        xin *= subsampling;
        yin *= subsampling;
        xout *= subsampling;
        yout *= subsampling;
        status = TrackFeature(
            xin, yin, xout, yout, inFirst.mSmoothed->GetLevel(level),
            inFirst.mGradientX->GetLevel(level), inFirst.mGradientY->GetLevel(level),
            inSecond.mSmoothed->GetLevel(level), inSecond.mGradientX->GetLevel(level),
            inSecond.mGradientY->GetLevel(level), context.mWindowWidth, context.mWindowHeight,
            context.mStepFactor, context.mMaxIterations, context.mMinDeterminant,
            context.mMinDisplacement, context.mMaxResidue, context.mLightingInsensitive);
        if (status == kKLTSmallDet || status == kKLTOutOfBounds) break;
    }

    if (status == kKLTOutOfBounds ||
        IsOutOfBounds(xout, yout, inCols, inRows, context.mBorderX, context.mBorderY))
        status = kKLTOutOfBounds;
    if (status != kKLTTracked) {
        ioFeature.mX = -1.0f;
        ioFeature.mY = -1.0f;
        ioFeature.mValue = status;
        return;
    }
    ioFeature.mDeltaX = xout - ioFeature.mX;
    ioFeature.mDeltaY = yout - ioFeature.mY;
    ioFeature.mX = xout;
    ioFeature.mY = yout;
    ioFeature.mValue = kKLTTracked;
    ioFeature.mAge = static_cast<std::int32_t>(static_cast<std::uint32_t>(ioFeature.mAge) + 1u);
}

}  // namespace DP
