#include "KLT/KLTLevelDescent.h"

#include "KLT/KLTGradientBlock.h"

namespace DP {
namespace {

bool IsComplete(const IP::FramePyramids& inPyramids) {
    return inPyramids.mSmoothed != NULL && inPyramids.mGradientX != NULL &&
           inPyramids.mGradientY != NULL;
}

// A point on its way through the levels: where it is in the first frame and where it is
// thought to be in the second, in pixels of one level.
struct Estimate {
    float mX1, mY1, mX2, mY2;
};

// One division a level, as the way down has one multiplication a level: a power of the
// subsampling would round otherwise. The point is sought first where it was.
Estimate AtCoarsestScale(const KLTFeature& inFeature, const TrackingContext& inContext) {
    const auto subsampling = static_cast<float>(inContext.mSubsampling);
    float x = inFeature.mX;
    float y = inFeature.mY;
    for (int level = 0; level < inContext.mPyramidLevels; ++level) {
        x /= subsampling;
        y /= subsampling;
    }
    return {x, y, x, y};
}

}  // namespace

KLTLevelDescent::KLTLevelDescent(const RequestedPyramids& inFirst,
                                 const RequestedPyramids& inSecond,
                                 const TrackingContext& inContext)
    : mContext(inContext),
      mHasPyramids(IsComplete(inFirst.mPyramids) && IsComplete(inSecond.mPyramids)),
      mFirst(LevelsOf(inFirst, inContext.mPyramidLevels)),
      mSecond(LevelsOf(inSecond, inContext.mPyramidLevels)) {}

std::vector<KLTLevelDescent::Level> KLTLevelDescent::LevelsOf(const RequestedPyramids& inFrame,
                                                              int inLevelCount) {
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

FloatImage KLTLevelDescent::SmoothedSecond() const {
    return mSecond.empty() ? FloatImage() : mSecond[0].mImage;
}

// Level 0 alone is larger than the caches near by.
void KLTLevelDescent::ReadAhead(const KLTFeature& inFeature) const {
    if (inFeature.mValue < 0 || mFirst.empty() || mSecond.empty()) return;
    for (const FloatImage& image : {mFirst[0].mImage, mSecond[0].mImage})
        KLTGradientBlock::ReadAhead(*image, inFeature.mX, inFeature.mY);
}

// Of the coarser levels only a singular system, which ends the search with the positions in
// that level's scale, and a window outside the image are remembered.
KLTFoundPoint KLTLevelDescent::Descend(const KLTFeature& inFeature) const {
    const auto subsampling = static_cast<float>(mContext.mSubsampling);
    Estimate point = AtCoarsestScale(inFeature, mContext);
    std::int32_t status = kKLTTracked;
    for (std::size_t k = mFirst.size(); k-- > 0;) {
        for (float* const position : {&point.mX1, &point.mY1, &point.mX2, &point.mY2})
            *position *= subsampling;
        const Level& first = mFirst[k];
        const Level& second = mSecond[k];
        status = TrackFeature(point.mX1, point.mY1, point.mX2, point.mY2, first.mImage,
                              first.mGradX, first.mGradY, second.mImage, second.mGradX,
                              second.mGradY, mContext.mWindowWidth, mContext.mWindowHeight,
                              mContext.mStepFactor, mContext.mMaxIterations,
                              mContext.mMinDeterminant, mContext.mMinDisplacement,
                              mContext.mMaxResidue, mContext.mLightingInsensitive);
        if (status == kKLTSmallDet || status == kKLTOutOfBounds) break;
    }
    return {point.mX2, point.mY2, status};
}

}  // namespace DP
