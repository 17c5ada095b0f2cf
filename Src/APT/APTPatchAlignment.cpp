// Alignment of one patch by Gauss-Newton steps: the tracker of Lucas and Kanade (1981), with
// template and image in the roles of the inverse compositional form (Baker and Matthews,
// "Lucas-Kanade 20 Years On", 2004), so that what is costly is done once for a template.
//
//     T(x) = I(x + t)        t is sought; T from the previous frame, I the current one
//
// Gradients and the normal matrix come from the template T and are fixed before the
// iterations of a level, so that an iteration costs one sample of the current image and one
// pass over the patch. The gradients are differences over two pixels and are not halved:
// the halves are factors 1/2 and 1/4 of the sums.
//
// A start fails, and the next coarser one is tried (APTLevelDescent.h), without convergence,
// where the patch left the image, and where what was found does not look like the template.
//
// A singular system gives infinities or NaN. They never count as converged, and no sample
// can be taken there, so the point is lost and nothing else happens.

#include "APT/APTPatchAlignment.h"

#include <algorithm>
#include <cmath>

#include "Lapack/Cholesky.h"
#include "image/ReadAhead.h"
#include "image/Saturate.h"

namespace DP {
namespace {

constexpr int kPlanes = 3;  // T, Gx, Gy

// Floats of a template's block with its ring.
int RingFloats(const APTPatchShape& inShape) {
    return (inShape.GetColumns() + 2) * (inShape.GetRows() + 2) * inShape.mChannels;
}

// By the determinant, without a test: a singular matrix gives infinities or NaN.
APTInverse InvertGradientMatrix(const APTPatchKernels& inKernels, const APTTemplate& inTemplate,
                                const APTPatchShape& inShape) {
    float sums[3];
    inKernels.mGradientSums(inTemplate, inShape.GetBlockFloats(), sums);
    const float h00 = 0.25f * sums[0];
    const float h01 = 0.25f * sums[1];
    const float h11 = 0.25f * sums[2];
    const float determinant = h00 * h11 - h01 * h01;
    return {h11 / determinant, -h01 / determinant, h00 / determinant};
}

// Gain and offset of each channel, fitted from the patch to the template by least squares.
// A flat patch divides by 0.
void FitGains(const float* inTemplate, const float* inPatch, const APTPatchShape& inShape,
              float* outGains) {
    const float pixels = static_cast<float>(inShape.GetPixels());
    for (int c = 0; c < inShape.mChannels; ++c) {
        const float sumI = ChannelSum(inPatch, inShape, c);
        const float sumT = ChannelSum(inTemplate, inShape, c);
        const float sumIT = ChannelDot(inPatch, inTemplate, inShape, c);
        const float sumII = ChannelDot(inPatch, inPatch, inShape, c);
        const float divisor = pixels * sumII - sumI * sumI;
        outGains[2 * c] = (pixels * sumIT - sumI * sumT) / divisor;
        outGains[2 * c + 1] = (sumII * sumT - sumIT * sumI) / divisor;
    }
}

// What is fixed for all iterations of a level, and one iteration, of the models with gain
// and offset.
class LevelSolver {
public:
    LevelSolver(APTWorkspace& ioWorkspace, const APTTemplate& inTemplate,
                const APTSearch& inSearch)
        : mWorkspace(ioWorkspace),
          mShape(ioWorkspace.mShape),
          mTemplate(inTemplate),
          mModel(inSearch.mModel),
          mTolerances(inSearch.mTolerances),
          mGeometric{inTemplate.mGradientX, inTemplate.mGradientY},
          mColumns{mGeometric, 2, inTemplate.mTemplate, true} {}

    // What does not depend on the current image, once for a level. False for a singular system.
    bool SetUp() {
        switch (mModel) {
            case kAPTModelFittedGainOffset:
                mInverse = InvertGradientMatrix(*mWorkspace.mKernels, mTemplate, mShape);
                return true;
            case kAPTModelReserved:
                return true;
            case kAPTModelTranslation:  // has a solver of its own
                break;
            case kAPTModelGainOffset:
                FillNormalMatrix(mColumns, mShape, mWorkspace.mMatrix);
                return CholeskyFactorise(mWorkspace.mMatrix, Order()) == CholeskyOutcome::kDone;
        }
        return false;
    }

    // One step from the sampled patch. False for a system without a solution.
    bool Step(bool& outConverged) {
        outConverged = false;
        if (mModel == kAPTModelReserved) return true;
        if (!ComputeUpdate()) return false;
        float* const parameters = mWorkspace.mCurrent;
        const float* const update = mWorkspace.mUpdate;
        parameters[0] += update[0];
        parameters[1] += update[1];
        outConverged = std::abs(update[0]) < mTolerances.mTranslation &&
                       std::abs(update[1]) < mTolerances.mTranslation;
        if (mModel == kAPTModelGainOffset &&
            !UpdateGains(update + 2, mTolerances.mGain, mTolerances.mOffset, mShape.mChannels,
                         parameters + 2))
            outConverged = false;
        return true;
    }

private:
    int Order() const { return mColumns.GetOrder(mShape.mChannels); }

    // Residual, right-hand side and solution: (x, y), then gain and offset of each channel
    // where the model has them among the unknowns. Fitted gains are solved for before the
    // motion.
    bool ComputeUpdate() {
        const float* const patch = mWorkspace.mPatch.data();
        float* const residual = mWorkspace.mResidual.data();
        float* const gains = mWorkspace.mCurrent + 2;
        float* const update = mWorkspace.mUpdate;
        if (mModel == kAPTModelFittedGainOffset)
            FitGains(mTemplate.mTemplate, patch, mShape, gains);
        FillGainResidual(mTemplate.mTemplate, patch, gains, mShape, residual);
        if (mModel == kAPTModelFittedGainOffset) {
            const APTPoint d =
                mInverse.Apply(0.5f * BlockDot(residual, mTemplate.mGradientX, mShape),
                               0.5f * BlockDot(residual, mTemplate.mGradientY, mShape));
            update[0] = d.mX;
            update[1] = d.mY;
            return true;
        }
        FillRightSide(mColumns, residual, mShape, update);
        return CholeskySolve(mWorkspace.mMatrix, Order(), update) == CholeskyOutcome::kDone;
    }

    APTWorkspace& mWorkspace;
    const APTPatchShape& mShape;
    APTTemplate mTemplate;
    APTMotionModel mModel;
    APTTolerances mTolerances;
    const float* mGeometric[2];
    APTColumns mColumns;
    APTInverse mInverse{};
};

}  // namespace

// ---- Sampling ------------------------------------------------------------------------

struct APTBlockSampler::Place {
    int mX;
    int mY;
    float mFractionX;
    float mFractionY;
};

APTBlockSampler::APTBlockSampler(const APTPatchKernels& inKernels, const APTPatchShape& inShape,
                                 int inRing, const APTImageLevel& inLevel)
    : mKernels(inKernels),
      mLevel(inLevel),
      mChannels(inShape.mChannels),
      mReachX(inShape.mHalfWidth + inRing),
      mReachY(inShape.mHalfHeight + inRing),
      mRight(inLevel.GetWidth() - mReachX - 2),
      mBottom(inLevel.GetHeight() - mReachY - 3) {}

bool APTBlockSampler::Find(APTPoint inPoint, Place& outPlace) const {
    if (!IP::FloorUnlessNaN(inPoint.mX, outPlace.mX) ||
        !IP::FloorUnlessNaN(inPoint.mY, outPlace.mY))
        return false;
    if (outPlace.mX < mReachX || outPlace.mX > mRight || outPlace.mY < mReachY ||
        outPlace.mY > mBottom)
        return false;
    outPlace.mFractionX = inPoint.mX - static_cast<float>(outPlace.mX);
    outPlace.mFractionY = inPoint.mY - static_cast<float>(outPlace.mY);
    return true;
}

bool APTBlockSampler::Fits(APTPoint inPoint) const {
    Place place;
    return Find(inPoint, place);
}

bool APTBlockSampler::Sample(APTPoint inPoint, float* outBlock) const {
    Place place;
    if (!Find(inPoint, place)) return false;
    const float* const source = mLevel.GetBlock(place.mX - mReachX, place.mY - mReachY,
                                                place.mX + mReachX + 1, place.mY + mReachY + 1);
    mKernels.mInterpolate(
        {source, mLevel.GetRowLength(), mChannels, place.mFractionX, place.mFractionY},
        {(2 * mReachX + 1) * mChannels, 2 * mReachY + 1}, outBlock);
    return true;
}

// ---- Templates -----------------------------------------------------------------------

void APTPatchPyramid::Init(const APTPatchShape& inShape, int inLevels) {
    mCapacity = 0;  // empty until everything is there
    mShape = inShape;
    mLevelCount = mSampled = 0;
    mData.assign(static_cast<std::size_t>(inLevels) * kPlanes *
                     static_cast<std::size_t>(inShape.GetBlockFloats()),
                 0.0f);
    mRing.resize(static_cast<std::size_t>(RingFloats(inShape)));
    mCapacity = inLevels;
}

int APTPatchPyramid::Locate(int inLevels, APTPoint inPoint, APTImagePyramid& inPyramid) {
    mPyramid = &inPyramid;
    mPoint = inPoint;
    mLevelCount = mSampled = 0;
    const int levels = std::min({inLevels, mCapacity, inPyramid.GetLevelCount()});
    float scale = 1.0f;
    for (; mLevelCount < levels; ++mLevelCount, scale *= 0.5f) {
        const APTBlockSampler sampler(*mKernels, mShape, 1, {inPyramid, mLevelCount});
        if (!sampler.Fits({inPoint.mX * scale, inPoint.mY * scale})) break;
    }
    return mLevelCount;
}

APTTemplate APTPatchPyramid::GetLevel(int inLevel) {
    for (; mSampled <= inLevel; ++mSampled)
        Sample(mSampled);
    return {GetPlane(inLevel, 0), GetPlane(inLevel, 1), GetPlane(inLevel, 2)};
}

void APTPatchPyramid::ReadAhead() const {
    IP::ReadAhead(mData.data(), static_cast<std::size_t>(kPlanes * mShape.GetBlockFloats()));
}

void APTPatchPyramid::Keep() {
    for (; mSampled < mLevelCount; ++mSampled)
        Sample(mSampled);
    mPyramid = nullptr;
}

float* APTPatchPyramid::GetPlane(int inLevel, int inPlane) {
    return mData.data() + (inLevel * kPlanes + inPlane) * mShape.GetBlockFloats();
}

// Value and gradients in one go: the ring of one pixel around the patch gives the gradients
// their neighbours and is dropped.
void APTPatchPyramid::Sample(int inLevel) {
    const float scale = std::ldexp(1.0f, -inLevel);
    const APTBlockSampler sampler(*mKernels, mShape, 1, {*mPyramid, inLevel});
    if (!sampler.Sample({mPoint.mX * scale, mPoint.mY * scale}, mRing.data()))
        return;  // `Locate` saw to it
    mKernels->mDifferentiate(
        mRing.data(), {mShape.GetColumns() * mShape.mChannels, mShape.GetRows()},
        mShape.mChannels, GetPlane(inLevel, 0), GetPlane(inLevel, 1), GetPlane(inLevel, 2));
}

// ---- One level -----------------------------------------------------------------------

void APTPatchOffsets::Init(const APTPatchShape& inShape, int inRepeat) {
    mDX.clear();
    mDY.clear();
    for (int dy = -inShape.mHalfHeight; dy <= inShape.mHalfHeight; ++dy)
        for (int dx = -inShape.mHalfWidth; dx <= inShape.mHalfWidth; ++dx)
            for (int i = 0; i < inRepeat; ++i) {
                mDX.push_back(static_cast<float>(dx));
                mDY.push_back(static_cast<float>(dy));
            }
    const std::size_t lanes = kAPTLanes;
    const std::size_t floats = (mDX.size() + lanes - 1) / lanes * lanes;
    mDX.resize(floats, 0.0f);
    mDY.resize(floats, 0.0f);
}

void APTWorkspace::Init(const APTPatchShape& inShape) {
    const auto block = static_cast<std::size_t>(inShape.GetBlockFloats());
    mPatch.assign(block, 0.0f);
    mResidual.assign(block, 0.0f);
    mColumns.assign(4 * block, 0.0f);
    mPixelOffsets.Init(inShape, 1);
    mFloatOffsets.Init(inShape, inShape.mChannels);
    mShape = inShape;
}

int ParameterCount(APTMotionModel inModel, int inChannels) {
    switch (inModel) {
        case kAPTModelReserved:
            return 4;
        case kAPTModelGainOffset:
            return 2 * inChannels + 2;
        default:
            return 2;
    }
}

// With what is sought in registers.
APTTranslationSolver::APTTranslationSolver(APTWorkspace& ioWorkspace,
                                           const APTTemplate& inTemplate,
                                           const APTImageLevel& inLevel, APTPoint inPoint,
                                           const APTSearch& inSearch, float* ioParameters)
    : mWorkspace(ioWorkspace),
      mTemplate(inTemplate),
      mSampler(*ioWorkspace.mKernels, ioWorkspace.mShape, 0, inLevel),
      mPoint(inPoint),
      mTolerance(inSearch.mTolerances.mTranslation),
      mMostIterations(inSearch.mMaxIterations),
      mParameters(ioParameters),
      mInverse(InvertGradientMatrix(*ioWorkspace.mKernels, inTemplate, ioWorkspace.mShape)),
      mTranslation{ioParameters[0], ioParameters[1]} {}

// t <- t + H^-1 J^T r with the 2 by 2 matrix H of the template's gradients, inverted
// beforehand.
bool APTTranslationSolver::Iterate() {
    mAnswer = mMostIterations;
    if (mIteration >= mMostIterations) return false;
    float* const patch = mWorkspace.mPatch.data();
    APTPoint& t = mTranslation;
    if (!mSampler.Sample({mPoint.mX + t.mX, mPoint.mY + t.mY}, patch)) {
        mAnswer = -1 - mIteration;
        return false;
    }
    float sums[2];
    mWorkspace.mKernels->mTranslationSums(mTemplate, patch, mWorkspace.mShape.GetBlockFloats(),
                                          sums);
    const APTPoint d = mInverse.Apply(0.5f * sums[0], 0.5f * sums[1]);
    t.mX += d.mX;
    t.mY += d.mY;
    mWorkspace.mUpdate[0] = d.mX;
    mWorkspace.mUpdate[1] = d.mY;
    if (!(std::abs(d.mX) < mTolerance && std::abs(d.mY) < mTolerance))
        return ++mIteration < mMostIterations;
    mParameters[0] = t.mX;
    mParameters[1] = t.mY;
    mAnswer = mIteration;
    return false;
}

int SolveLevel(APTWorkspace& ioWorkspace, const APTTemplate& inTemplate,
               const APTImageLevel& inLevel, APTPoint inPoint, const APTSearch& inSearch,
               float* ioParameters) {
    if (inSearch.mModel == kAPTModelTranslation) {
        APTTranslationSolver solver(ioWorkspace, inTemplate, inLevel, inPoint, inSearch,
                                    ioParameters);
        while (solver.Iterate()) {
        }
        return solver.GetAnswer();
    }
    const int failed = -2 - inSearch.mMaxIterations;
    const int count = ParameterCount(inSearch.mModel, ioWorkspace.mShape.mChannels);
    float* const current = ioWorkspace.mCurrent;
    std::copy_n(ioParameters, count, current);
    LevelSolver solver(ioWorkspace, inTemplate, inSearch);
    if (!solver.SetUp()) return failed;
    const APTBlockSampler sampler(*ioWorkspace.mKernels, ioWorkspace.mShape, 0, inLevel);
    for (int i = 0; i < inSearch.mMaxIterations; ++i) {
        if (!sampler.Sample({inPoint.mX + current[0], inPoint.mY + current[1]},
                            ioWorkspace.mPatch.data()))
            return -1 - i;
        bool isConverged = false;
        if (!solver.Step(isConverged)) return failed;
        if (!isConverged) continue;
        std::copy_n(current, count, ioParameters);
        return i;
    }
    return inSearch.mMaxIterations;
}

// ---- From coarse to fine -------------------------------------------------------------

APTPatchSearch::APTPatchSearch(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
                               APTImagePyramid& inPyramid, APTPoint inPoint,
                               const APTSearch& inSearch, const float* inStart)
    : mWorkspace(ioWorkspace), mTemplates(ioTemplates), mPyramid(inPyramid), mSearch(inSearch) {
    Begin(ioTemplates.GetLevelCount(), inSearch.mMaxIterations, inPoint,
          ParameterCount(inSearch.mModel, ioTemplates.GetShape().mChannels), inStart);
}

bool APTPatchSearch::Step() {
    if (IsDone()) return false;
    if (mSearch.mModel != kAPTModelTranslation) {
        Advance(Solve(GetLevel(), GetPoint(), GetParameters()));
        return !IsDone();
    }
    if (!mTranslation)
        mTranslation.emplace(mWorkspace, mTemplates.GetLevel(GetLevel()),
                             APTImageLevel(mPyramid, GetLevel()), GetPoint(), mSearch,
                             GetParameters());
    if (mTranslation->Iterate()) return true;
    const int answer = mTranslation->GetAnswer();
    mTranslation.reset();
    Advance(answer);
    return !IsDone();
}

int APTPatchSearch::Solve(int inLevel, APTPoint inPoint, float* ioParameters) {
    return SolveLevel(mWorkspace, mTemplates.GetLevel(inLevel), {mPyramid, inLevel}, inPoint,
                      mSearch, ioParameters);
}

bool APTPatchSearch::Accept(int inLevel) {
    float correlation = 0.0f;
    return NormalisedCorrelation(mTemplates.GetLevel(inLevel).mTemplate,
                                 mWorkspace.mPatch.data(), mTemplates.GetShape(),
                                 correlation) &&
           !(mSearch.mMinCorrelation > correlation);
}

int AlignPatch(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
               APTImagePyramid& inPyramid, APTPoint inPoint, const APTSearch& inSearch,
               const float* inStart, float* outResult) {
    if (!ioTemplates.GetShape().HasSupportedChannels()) return -1;
    APTPatchSearch search(ioWorkspace, ioTemplates, inPyramid, inPoint, inSearch, inStart);
    while (search.Step()) {
    }
    return search.Finish(outResult);
}

}  // namespace DP
