// Coarse to fine, from the finest level that works. Level k has half the sides of level k - 1,
// so a position there and the first two parameters, the translation, are halved; the others
// (warp, gain, offset) mean the same at every level.

#include "APT/APTLevelDescent.h"

#include <algorithm>

namespace DP {

int APTLevelDescent::Run(int inLevels, int inMostIterations, APTPoint inPoint, int inCount,
                         const float* inStart, float* outResult) {
    Begin(inLevels, inMostIterations, inPoint, inCount, inStart);
    while (!mIsDone)
        Advance(Solve(mLevel, mPoint, mParameters));
    return Finish(outResult);
}

void APTLevelDescent::Begin(int inLevels, int inMostIterations, APTPoint inPoint, int inCount,
                            const float* inStart) {
    mLevels = inLevels;
    mMostIterations = inMostIterations;
    mCount = inCount;
    mFirstPoint = inPoint;
    mFirstParameters = inStart;
    BeginAt(0, 1.0f);
}

// Scales are powers of two: as exact as halving again and again.
void APTLevelDescent::BeginAt(int inStart, float inScale) {
    mStart = mLevel = inStart;
    mScale = inScale;
    mIsDone = inStart >= mLevels;
    if (mIsDone) return;
    std::copy_n(mFirstParameters, mCount, mParameters);
    mParameters[0] *= inScale;
    mParameters[1] *= inScale;
    mPoint = {mFirstPoint.mX * inScale, mFirstPoint.mY * inScale};
}

// A level is judged once, where the search is least certain: finer ones only refine it.
void APTLevelDescent::Advance(int inAnswer) {
    if (!Converged(inAnswer, mMostIterations) || (mLevel == mStart && !Accept(mLevel)))
        return BeginAt(mStart + 1, mScale * 0.5f);
    mIsDone = mLevel == 0;
    if (mIsDone) return;
    mParameters[0] *= 2.0f;
    mParameters[1] *= 2.0f;
    mPoint = {mPoint.mX * 2.0f, mPoint.mY * 2.0f};
    --mLevel;
}

int APTLevelDescent::Finish(float* outResult) const {
    if (mStart >= mLevels) return -1;
    std::copy_n(mParameters, mCount, outResult);
    return mStart;
}

}  // namespace DP
