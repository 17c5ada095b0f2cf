// APTPatchAlignment: where a patch of the previous frame lies in the current one.
//
// The pieces: a bilinear sampler, the templates of a point at every level, the solver for
// one level, and the driver from coarse to fine.

#pragma once

#include <optional>
#include <vector>

#include "APT/APTImagePyramid.h"
#include "APT/APTLevelDescent.h"
#include "APT/APTPatchKernels.h"
#include "APT/APTPatchSums.h"

namespace DP {

/// The templates of one point: per level the patch T and its gradients Gx and Gy. What the
/// steps `BuildPatchPyramid` and `SampleTemplate` do in one go is done here on demand.
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
    /// Makes room for `inLevels` levels. Without it there is no level.
    void Init(const APTPatchShape& inShape, int inLevels);
    bool IsEmpty() const { return mCapacity == 0; }

    /// Starts a point of level 0. Returns the number of levels at which the template fits:
    /// counted from level 0 on, without gaps, at most `inLevels` and at most what `Init`
    /// made room for.
    int Locate(int inLevels, APTPoint inPoint, APTImagePyramid& inPyramid);
    int GetLevelCount() const { return mLevelCount; }
    const APTPatchShape& GetShape() const { return mShape; }

    APTTemplate GetLevel(int inLevel);
    /// Fetches the template of level 0.
    void ReadAhead() const;
    void Keep();

private:
    void Sample(int inLevel);
    float* GetPlane(int inLevel, int inPlane);

    APTPatchShape mShape;
    int mCapacity = 0;    // levels
    int mLevelCount = 0;  // levels with a template
    int mSampled = 0;     // of these, those whose planes are filled
    APTPoint mPoint{};
    APTImagePyramid* mPyramid = nullptr;
    const APTPatchKernels* mKernels = &GetAPTPatchKernels();
    std::vector<float> mData;  // levels by 3 planes (T, Gx, Gy) by the floats of a block
    std::vector<float> mRing;  // the patch with one pixel around it
};

/// Where each pixel of a patch, or each float of a block, lies from the middle.
struct APTPatchOffsets {
    /// One entry for each pixel, or with `inRepeat` channels one for each float.
    void Init(const APTPatchShape& inShape, int inRepeat);
    APTOffsets Get() const { return {mDX.data(), mDY.data()}; }

    std::vector<float> mDX;  // filled up with zeros to a multiple of 16
    std::vector<float> mDY;
};

/// Scratch for one solve. Made once, used for every point.
struct APTWorkspace {
    void Init(const APTPatchShape& inShape);

    const APTPatchKernels* mKernels = &GetAPTPatchKernels();
    APTPatchShape mShape;
    std::vector<float> mPatch;     // a block: the patch sampled last
    std::vector<float> mResidual;  // a block
    std::vector<float> mColumns;   // 4 blocks: the warp's columns with an offset
    APTPatchOffsets mPixelOffsets;
    APTPatchOffsets mFloatOffsets;
    float mMatrix[kAPTMaxParameters * kAPTMaxParameters] = {};
    float mUpdate[kAPTMaxParameters] = {};
    float mCurrent[kAPTMaxParameters] = {};  // the solver's parameters
};

/// Samples blocks of one size around positions in a level: the step `SamplePatch`, and with a
/// ring of a pixel that of templates. The limits differ by one between
/// the axes: on the right the last column may be used, at the bottom the last row may not.
class APTBlockSampler {
public:
    /// Blocks of the shape's patch, with `inRing` pixels more on each side. The level's pyramid
    /// must outlive the sampler.
    APTBlockSampler(const APTPatchKernels& inKernels, const APTPatchShape& inShape, int inRing,
                    const APTImageLevel& inLevel);

    /// Whether the block around a position lies in the level.
    bool Fits(APTPoint inPoint) const;
    /// False, and nothing written, where it does not.
    bool Sample(APTPoint inPoint, float* outBlock) const;

private:
    struct Place;
    bool Find(APTPoint inPoint, Place& outPlace) const;

    const APTPatchKernels& mKernels;
    APTImageLevel mLevel;
    int mChannels;
    int mReachX;  // of a block, from the pixel in its middle
    int mReachY;
    int mRight;  // the last pixel that may be in the middle
    int mBottom;
};

/// A symmetric 2 by 2 matrix, and its product with a vector.
struct APTInverse {
    float m00;
    float m01;
    float m11;

    APTPoint Apply(float inB0, float inB1) const {
        return {m00 * inB0 + m01 * inB1, m01 * inB0 + m11 * inB1};
    }
};

/// The iterations of one level in the model of translation alone.
class APTTranslationSolver {
public:
    /// As `SolveLevel`; all of them must outlive the solver.
    APTTranslationSolver(APTWorkspace& ioWorkspace, const APTTemplate& inTemplate,
                         const APTImageLevel& inLevel, APTPoint inPoint,
                         const APTSearch& inSearch, float* ioParameters);

    /// Does one iteration. False once there is an answer.
    bool Iterate();
    int GetAnswer() const { return mAnswer; }

private:
    APTWorkspace& mWorkspace;
    APTTemplate mTemplate;
    APTBlockSampler mSampler;
    APTPoint mPoint;
    float mTolerance;
    int mMostIterations;
    float* mParameters;
    APTInverse mInverse;
    APTPoint mTranslation;
    int mIteration = 0;
    int mAnswer = 0;
};

/// Solves one level, starting from and ending in `ioParameters`, which change only on
/// convergence. `inPoint` is a position in that level. The answer is told by the questions
/// of APTLevelDescent.h.
int SolveLevel(APTWorkspace& ioWorkspace, const APTTemplate& inTemplate,
               const APTImageLevel& inLevel, APTPoint inPoint, const APTSearch& inSearch,
               float* ioParameters);

/// Number of parameters of a model: translation, then gain and offset of each channel.
int ParameterCount(APTMotionModel inModel, int inChannels);

/// The search of a point from coarse to fine, in steps: each waits for the one before it,
/// but the steps of several points can be done in turns, so that the machine works on one
/// point where it would wait for another.
///
/// The correlation limit is applied once in a descent, at the level where it begins.
class APTPatchSearch final : public APTLevelDescent {
public:
    /// What is sought, the place of its templates, and where; all of them must outlive the
    /// search. The point is one of level 0.
    APTPatchSearch(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
                   APTImagePyramid& inPyramid, APTPoint inPoint, const APTSearch& inSearch,
                   const float* inStart);

    /// Does an iteration, or in other models than translation a level. False at the end.
    bool Step();

private:
    int Solve(int inLevel, APTPoint inPoint, float* ioParameters) override;
    bool Accept(int inLevel) override;

    APTWorkspace& mWorkspace;
    APTPatchPyramid& mTemplates;
    APTImagePyramid& mPyramid;
    const APTSearch& mSearch;
    std::optional<APTTranslationSolver> mTranslation;  // of the level that is being solved
};

/// Aligns a point: level 0 alone first, then from one level coarser, and so on. Returns the
/// level of the start that succeeded, or -1 and leaves the result alone.
int AlignPatch(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
               APTImagePyramid& inPyramid, APTPoint inPoint, const APTSearch& inSearch,
               const float* inStart, float* outResult);

}  // namespace DP
