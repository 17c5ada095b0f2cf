// APTLevelDescent: the search of a point from coarse levels to fine ones.
//
// Small motion is found at full resolution at once. Where that fails the search begins one
// level coarser, where the motion is half as long, and comes down from there:
//
//     start 0:  0          start 1:  1 -> 0          start 2:  2 -> 1 -> 0

#pragma once

#include "APT/APTPatchSums.h"
#include "APT/APTTrackerParams.h"

namespace DP {

/// A position in an image, in pixels of one level; y counts downward.
struct APTPoint {
    float mX;
    float mY;
};

/// Below these an update counts as converged.
struct APTTolerances {
    float mTranslation;
    float mWarp;
    float mGain;
    float mOffset;
};

/// How a patch is sought.
struct APTSearch {
    APTMotionModel mModel;
    APTTolerances mTolerances;
    float mMinCorrelation;
    int mMaxIterations;
};

/// Reads what the solver of a level answers, with n the most iterations:
///
///     0 to n - 1   converged at this iteration
///     n            not converged
///     -1 - i       the patch left the level at iteration i, which is below n
///     -2 - n       no solution, or an unknown model
constexpr bool Converged(int inAnswer, int inMost) {
    return inAnswer >= 0 && inAnswer < inMost;
}

/// Ownership: owns nothing; lives for the search of one point.
class APTLevelDescent {
public:
    /// Searches from level 0 alone, then from level 1 down, and so on below `inLevels`.
    /// Of the `inCount` parameters the first two, the translation, are scaled from level to
    /// level like the point, which is one of level 0. Returns the level of the start that
    /// succeeded; or -1, with `outResult` left alone. Start and result may be one array.
    int Run(int inLevels, int inMostIterations, APTPoint inPoint, int inCount,
            const float* inStart, float* outResult);

    /// The same level by level: who solves the levels tells the answers. `inStart` must stay
    /// until `Finish`, which gives what `Run` returns.
    /// @{
    void Begin(int inLevels, int inMostIterations, APTPoint inPoint, int inCount,
               const float* inStart);
    bool IsDone() const { return mIsDone; }
    void Advance(int inAnswer);
    int Finish(float* outResult) const;
    /// @}

protected:
    ~APTLevelDescent() = default;

    /// Improves the parameters at a level; the point is one of that level.
    virtual int Solve(int inLevel, APTPoint inPoint, float* ioParameters) = 0;
    /// Judges what was found at the level where the descent began.
    virtual bool Accept(int) { return true; }

    /// The level that is to be solved next.
    /// @{
    int GetLevel() const { return mLevel; }
    APTPoint GetPoint() const { return mPoint; }
    float* GetParameters() { return mParameters; }
    /// @}

private:
    void BeginAt(int inStart, float inScale);

    int mLevels = 0;
    int mMostIterations = 0;
    int mCount = 0;
    APTPoint mFirstPoint{};
    const float* mFirstParameters = nullptr;
    int mStart = 0;       // where this descent began
    float mScale = 1.0f;  // of that level
    int mLevel = 0;
    APTPoint mPoint{};
    bool mIsDone = true;
    float mParameters[kAPTMaxParameters] = {};
};

}  // namespace DP
