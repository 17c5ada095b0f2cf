// The engine's bookkeeping: which slot holds which point, and what becomes of it. A list has
// `mCapacity` slots; a point keeps its slot for life, and a slot whose status is negative is
// free. Positions are in pixels, y downward; rectangles come with y upward, as hosts have them.

#include "APT/APTTracker.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include "TVK/ContractCheck.h"
#include "TVK/Exception.h"
#include "image/Interruption.h"

namespace DP {
namespace {

constexpr std::uint64_t kMostLevels = 32;  // every side is 1 pixel by then

void RequireImage(const float* inImage) {
    if (!inImage) throw TVK::NullInterfaceException();
}

void RequireLists(const APTTracker::Lists& inLists) {
    for (const auto& list : inLists)
        if (list == NULL) throw TVK::NullInterfaceException();
}

// A new point in a slot; what else the slot holds stays.
void Fill(APTFeature& outFeature, const APTCandidate& inCandidate, unsigned int inFrame) {
    outFeature.mX = inCandidate.mX;
    outFeature.mY = inCandidate.mY;
    outFeature.mStatus = static_cast<std::int32_t>(inFrame + 1u);
    outFeature.mAge = 0;
}

std::size_t CountFree(const APTFeatureList& inFeatures) {
    return inFeatures.size() - CountLiveFeatures(inFeatures);
}

}  // namespace

unsigned int CountLiveFeatures(const APTFeatureList& inFeatures) {
    return static_cast<unsigned int>(
        std::count_if(inFeatures.begin(), inFeatures.end(),
                      [](const APTFeature& inFeature) { return inFeature.mStatus >= 0; }));
}

void APTTracker::ApplyParams() {
    mSelection.ApplyParams(mParams);
    const APTPatchShape shape{static_cast<int>(mParams.mPatchHalfWidth),
                              static_cast<int>(mParams.mPatchHalfHeight), kChannels};
    const int levels = static_cast<int>(std::min(mParams.mPyramidLevels, kMostLevels));
    for (Lane& lane : mLanes) {
        lane.mWorkspace.Init(shape);
        lane.mTemplates.Init(shape, levels);
    }
    if (mParams.mVerifyAgainstReference)
        mVerification.Init(shape, levels, mParams.mMaxFeatures);
    mCapacity = mParams.mMaxFeatures;
}

// ---- Selection -----------------------------------------------------------------------

TVK::ParamRect<float> APTTracker::NormaliseRect(const TVK::ParamRect<float>& inRect,
                                                int inWidth, int inHeight) const {
    const float width = static_cast<float>(inWidth);
    const float height = static_cast<float>(inHeight);
    // As large as the frame is the whole frame, in either direction of y.
    if (inRect.mRight - inRect.mLeft == width && inRect.mBottom - inRect.mTop == height)
        return inRect;
    return {inRect.mLeft, height - inRect.mBottom, inRect.mRight, height - inRect.mTop};
}

void APTTracker::SelectFeatures(const float* inImage, int inWidth, int inHeight,
                                unsigned int inFrame, const Rects& inROIRects,
                                const Lists& outFeatureListPtrVec) {
    ContractCheck(inROIRects.size() == outFeatureListPtrVec.size());
    if (inROIRects.empty()) return;
    RequireImage(inImage);
    RequireLists(outFeatureListPtrVec);
    mSelection.SetImage(inImage, inWidth, inHeight);
    for (std::size_t i = 0; i < inROIRects.size(); ++i) {
        mSelection.FindCorners(nullptr, nullptr,
                               NormaliseRect(inROIRects[i], inWidth, inHeight), mCapacity,
                               i + 1 == inROIRects.size());
        APTFeatureList& list = *outFeatureListPtrVec[i];
        list.resize(mCapacity);
        const auto& selected = mSelection.GetSelected();
        for (std::size_t slot = 0; slot < list.size(); ++slot)
            if (slot < selected.size())
                Fill(list[slot], selected[slot], inFrame);
            else
                list[slot].mStatus = kAPTFeatureInactive;
    }
}

void APTTracker::ReplenishFeatures(const float* inImage, int inWidth, int inHeight,
                                   unsigned int inFrame, const Rects& inROIRects,
                                   const Lists& ioFeatureListPtrVec) {
    if (inROIRects.empty()) return;
    RequireImage(inImage);
    RequireLists(ioFeatureListPtrVec);
    const std::size_t count = std::min(inROIRects.size(), ioFeatureListPtrVec.size());
    if (std::all_of(ioFeatureListPtrVec.begin(), ioFeatureListPtrVec.end(),
                    [](const auto& inList) { return CountFree(*inList) == 0; }))
        return;  // whatever was selected would be dropped
    mSelection.SetImage(inImage, inWidth, inHeight);
    for (std::size_t i = 0; i < count; ++i) {
        APTFeatureList& list = *ioFeatureListPtrVec[i];
        const bool isLast = i + 1 == count;
        // An earlier rectangle's discs are the image that the next one is selected in, so its
        // selection is made in full; the last one needs no more than it can place.
        const std::size_t limit = isLast ? std::min(CountFree(list), mCapacity) : mCapacity;
        mSelection.FindCorners(list.data(), list.data() + list.size(),
                               NormaliseRect(inROIRects[i], inWidth, inHeight), limit, isLast);
        auto candidate = mSelection.GetSelected().begin();
        const auto end = mSelection.GetSelected().end();
        for (APTFeature& feature : list) {
            if (candidate == end) break;
            if (feature.mStatus < 0) Fill(feature, *candidate++, inFrame);
        }
    }
}

// ---- Tracking ------------------------------------------------------------------------

// A step that the host stops must leave the engine as it was: the same step is then asked for
// again. Without a watch nobody can stop it, and no copy is made.
APTTracker::StepGuard::StepGuard(APTTracker& ioTracker)
    : mTracker(ioTracker), mFailures(std::uncaught_exceptions()) {
    if (IP::IsWatched())
        mBefore.emplace(
            Memory{ioTracker.mVerification, ioTracker.mLost, ioTracker.mStartFrame});
}

APTTracker::StepGuard::~StepGuard() {
    if (!mBefore || std::uncaught_exceptions() == mFailures) return;
    mTracker.mVerification = std::move(mBefore->mVerification);
    mTracker.mLost = mBefore->mLost;
    mTracker.mStartFrame = mBefore->mStartFrame;
}

void APTTracker::TrackFeatures(const float* inPrevImage, const float* inCurrImage, int inWidth,
                               int inHeight, unsigned int, const Lists& inFeatureListPtrVec,
                               const Lists& outFeatureListPtrVec) {
    RequireImage(inPrevImage);
    RequireImage(inCurrImage);
    RequireLists(inFeatureListPtrVec);
    RequireLists(outFeatureListPtrVec);
    const int levels = static_cast<int>(std::min(mParams.mPyramidLevels, kMostLevels));
    mPrevPyramid.Reset(inPrevImage, inWidth, inHeight, kChannels, levels);
    IP::Checkpoint(0, 0);
    mCurrPyramid.Reset(inCurrImage, inWidth, inHeight, kChannels, levels);
    const std::size_t count = std::min(inFeatureListPtrVec.size(), outFeatureListPtrVec.size());
    for (std::size_t i = 0; i < count; ++i) {
        const APTFeatureListPtr input = inFeatureListPtrVec[i];
        TrackFeatureList(*input, *outFeatureListPtrVec[i]);
    }
}

void APTTracker::TrackFeatureList(const APTFeatureList& inFeatures,
                                  APTFeatureList& outFeatures) {
    outFeatures.resize(mCapacity);
    const bool isVerified = mParams.mVerifyAgainstReference && mVerification.Exists();
    if (isVerified) mVerification.Capture(inFeatures, mPrevPyramid);
    AlignFeatures(inFeatures, outFeatures);
    if (isVerified) {
        mVerification.HandOver(outFeatures);
        mVerification.VerifyFeatures(mCurrPyramid, GetSearch(mParams.mVerifyModel),
                                     outFeatures);
    }
    FinishStep(inFeatures, outFeatures);
}

// From frame to frame, some points in turns: an iteration waits for memory and for the sums
// before it, and those of another point have use for that time. Each point is solved by itself
// and written to its own slot, so the turns change no bit. A slot that was lost before stays
// free.
void APTTracker::AlignFeatures(const APTFeatureList& inFeatures, APTFeatureList& outFeatures) {
    const APTSearch search = GetSearch(mParams.mTrackingModel);
    float start[kAPTMaxParameters] = {};
    // Translation, then gain and offset of each channel: no motion, gain 1.
    for (int c = 0; c < kChannels; ++c)
        start[2 + 2 * c] = 1.0f;
    const std::size_t slots = std::min(inFeatures.size(), outFeatures.size());
    std::size_t next = 0;
    const auto beginNext = [&](Lane& outLane) {
        for (; next < slots && inFeatures[next].mStatus < 0; ++next)
            outFeatures[next].mStatus = kAPTFeatureInactive;
        if (next == slots) return false;
        IP::Checkpoint(std::int64_t(next), std::int64_t(slots));
        BeginSearch(inFeatures[next], next, search, start, outLane);
        ++next;
        if (next < slots) ReadAhead(inFeatures[next]);
        return true;
    };
    Lane* running[kSideBySide];
    std::size_t count = 0;
    for (Lane& lane : mLanes)
        if (beginNext(lane)) running[count++] = &lane;
    while (count > 0)
        for (std::size_t k = 0; k < count;) {
            Lane& lane = *running[k];
            if (lane.mSearch->Step()) {
                ++k;
                continue;
            }
            RecordSearch(inFeatures[lane.mSlot], lane, outFeatures[lane.mSlot]);
            lane.mSearch.reset();
            if (!beginNext(lane)) running[k] = running[--count];
        }
}

void APTTracker::BeginSearch(const APTFeature& inFeature, std::size_t inSlot,
                             const APTSearch& inSearch, const float* inStart, Lane& outLane) {
    const APTPoint point{inFeature.mX, inFeature.mY};
    outLane.mSlot = inSlot;
    outLane.mTemplates.Locate(mPrevPyramid.GetLevelCount(), point, mPrevPyramid);
    outLane.mSearch.emplace(outLane.mWorkspace, outLane.mTemplates, mCurrPyramid, point,
                            inSearch, inStart);
}

// A lost point leaves the position of its output record alone.
void APTTracker::RecordSearch(const APTFeature& inFeature, const Lane& inLane,
                              APTFeature& outFeature) {
    float result[kAPTMaxParameters];
    if (inLane.mSearch->Finish(result) < 0) {
        outFeature.mStatus = kAPTFeatureLost;
        ++mLost;
        return;
    }
    outFeature.mX = inFeature.mX + result[0];
    outFeature.mY = inFeature.mY + result[1];
    outFeature.mStatus = kAPTFeatureTracked;
}

// What the search of a point reads first. The next frame's block has a pixel of motion more.
void APTTracker::ReadAhead(const APTFeature& inFeature) const {
    if (inFeature.mStatus < 0) return;
    const APTPatchShape& shape = mLanes[0].mWorkspace.mShape;
    for (const APTImagePyramid* const pyramid : {&mPrevPyramid, &mCurrPyramid})
        pyramid->ReadAhead(inFeature.mX, inFeature.mY, shape.mHalfWidth + 2,
                           shape.mHalfHeight + 2);
}

// Age and motion of the points that came through, and the end of those that stand still.
void APTTracker::FinishStep(const APTFeatureList& inFeatures,
                            APTFeatureList& ioFeatures) const {
    const std::size_t slots = std::min(inFeatures.size(), ioFeatures.size());
    for (std::size_t i = 0; i < slots; ++i) {
        APTFeature& feature = ioFeatures[i];
        if (feature.mStatus != kAPTFeatureTracked) continue;
        feature.mAge = inFeatures[i].mAge + 1;
        feature.mDeltaX = feature.mX - inFeatures[i].mX;
        feature.mDeltaY = feature.mY - inFeatures[i].mY;
        if (std::abs(static_cast<double>(feature.mDeltaX)) <= mParams.mStationaryLimit &&
            std::abs(static_cast<double>(feature.mDeltaY)) <= mParams.mStationaryLimit)
            feature.mStatus = kAPTFeatureInactive;
    }
}

APTSearch APTTracker::GetSearch(APTMotionModel inModel) const {
    return {
        inModel,
        {static_cast<float>(mParams.mTranslationTolerance),
         static_cast<float>(mParams.mWarpTolerance), static_cast<float>(mParams.mGainTolerance),
         static_cast<float>(mParams.mOffsetTolerance)},
        static_cast<float>(mParams.mMinCorrelation),
        static_cast<int>(std::min<std::uint64_t>(mParams.mMaxIterations, 1u << 30))};
}

}  // namespace DP
