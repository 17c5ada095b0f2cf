// APTPatchAlignment: where a patch of the previous frame lies in the current one.
//
// The pieces: a bilinear sampler, the templates of a point at every level, the solver for
// one level, and the driver from coarse to fine.

#pragma once

#include <vector>

#include "APT/APTImagePyramid.h"
#include "APT/APTPatchSums.h"
#include "APT/APTTrackerParams.h"

namespace DP {

/// The templates of one point: per level the patch T and its gradients Gx and Gy.
///
/// `Locate` finds out at how many levels there is a template, and `GetLevel` samples one
/// when it is first asked for; most points need level 0 alone. `Keep` samples all of them,
/// for a point whose frame will be gone.
///
/// Ownership: owns its floats; reads the pyramid given to `Locate` until `Keep` or the next
///   `Locate`.
/// Threads: one at a time.
class APTPatchPyramid {
public:
    struct Level {
        const float* mTemplate;
        const float* mGradientX;
        const float* mGradientY;
    };

    /// Makes room for `inLevels` levels. Without it there is no level.
    void Init(const APTPatchShape& inShape, int inLevels);
    bool IsEmpty() const { return mCapacity == 0; }

    /// Starts a point at level-0 position (inX, inY). Returns the number of levels at which
    /// the template fits: counted from level 0 on, without gaps, at most `inLevels` and at
    /// most what `Init` made room for.
    int Locate(int inLevels, float inX, float inY, APTImagePyramid& inPyramid);
    int GetLevelCount() const { return mLevelCount; }
    const APTPatchShape& GetShape() const { return mShape; }

    Level GetLevel(int inLevel);
    void Keep();

private:
    void Sample(int inLevel);
    float* GetPlane(int inLevel, int inPlane);

    APTPatchShape mShape;
    int mCapacity = 0;    // levels
    int mLevelCount = 0;  // levels with a template
    int mSampled = 0;     // of these, those whose planes are filled
    float mX = 0.0f;
    float mY = 0.0f;
    APTImagePyramid* mPyramid = nullptr;
    std::vector<float> mData;
    std::vector<float> mScratch;
};

/// Scratch for one solve. Made once, used for every point.
struct APTWorkspace {
    void Init(const APTPatchShape& inShape);

    APTPatchShape mShape;
    std::vector<float> mPatch;  // sampled last
    std::vector<float> mResidual;
    std::vector<float> mColumns;  // geometric columns of the warp
    std::vector<float> mScratch;  // interpolation
    float mMatrix[kAPTMaxParameters * kAPTMaxParameters] = {};
    float mUpdate[kAPTMaxParameters] = {};
    float mCurrent[kAPTMaxParameters] = {};  // the solver's parameters
    float mDriver[kAPTMaxParameters] = {};   // the driver's
};

/// Below these an update counts as converged.
struct APTTolerances {
    float mTranslation;
    float mWarp;
    float mGain;
    float mOffset;
};

/// floor(inValue) where it is an int; false for all other values, NaN among them.
bool FloorToInt(float inValue, int& outFloor);

/// Samples the patch around (inX, inY) at a level. False, and nothing written, where the
/// patch leaves the level. The limits differ by one between the axes: on the right the last
/// column may be used, at the foot the last row may not.
bool SamplePatch(float inX, float inY, const APTPatchShape& inShape, APTImagePyramid& inPyramid,
                 int inLevel, float* outPatch, float* ioScratch);

/// Solves one level, starting from and ending in `ioParameters`, which change only on
/// convergence. Returns, with n the iteration limit:
///   0 to n - 1   converged at this iteration
///   n            not converged
///   -1 - i       the patch left the level at iteration i
///   -2 - n       no solution, or an unknown model
int SolveLevel(APTWorkspace& ioWorkspace, const APTPatchPyramid::Level& inTemplate, float inX,
               float inY, APTImagePyramid& inPyramid, int inLevel, float* ioParameters,
               APTMotionModel inModel, const APTTolerances& inTolerances, int inIterationLimit);

/// Number of parameters of a model: translation, then gain and offset of each channel.
int ParameterCount(APTMotionModel inModel, int inChannels);

/// Aligns a point: level 0 alone first, then from one level coarser, and so on. Returns the
/// level of the start that succeeded, or -1 and leaves the result alone.
///
/// Positions are those of level 0. The correlation limit is applied once in a descent, at
/// the level where it begins.
int AlignPatch(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
               APTImagePyramid& inPyramid, float inX, float inY, const float* inStart,
               float* outResult, APTMotionModel inModel, const APTTolerances& inTolerances,
               float inCorrelationLimit, int inIterationLimit);

/// The driver behind `AlignPatch` and its kin. `inSolve(level, x, y, parameters)` answers
/// as `SolveLevel`; `inAccept(level)` judges the first level of a descent.
template <class Solve, class Accept>
int DescendLevels(int inLevels, int inParameterCount, float inX, float inY,
                  const float* inStart, float* outResult, float* ioParameters,
                  int inIterationLimit, Solve inSolve, Accept inAccept) {
    float scale = 1.0f;  // powers of two: as exact as halving again and again
    for (int start = 0; start < inLevels; ++start, scale *= 0.5f) {
        for (int i = 0; i < inParameterCount; ++i)
            ioParameters[i] = i < 2 ? inStart[i] * scale : inStart[i];
        float x = inX * scale;
        float y = inY * scale;
        for (int level = start;; --level) {
            const int iteration = inSolve(level, x, y, ioParameters);
            if (iteration < 0 || iteration >= inIterationLimit) break;
            if (level == start && !inAccept(level)) break;
            if (level == 0) {
                for (int i = 0; i < inParameterCount; ++i)
                    outResult[i] = ioParameters[i];
                return start;
            }
            ioParameters[0] *= 2.0f;
            ioParameters[1] *= 2.0f;
            x *= 2.0f;
            y *= 2.0f;
        }
    }
    return -1;
}

}  // namespace DP
