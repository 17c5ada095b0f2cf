// Alignment of one patch by Gauss-Newton steps.
//
//     T(x) = I(x + t)        t is sought; T from the previous frame, I the current one
//
// Gradients and the normal matrix come from the template T and are fixed before the
// iterations of a level, so that an iteration costs one sample of the current image and one
// pass over the patch. The gradients are differences over two pixels and are not halved:
// the halves are factors 1/2 and 1/4 of the sums.
//
// Small motion is found at full resolution at once. Where that fails (no convergence, the
// patch left the image, or what was found does not look like the template) the search
// begins one level coarser, where the motion is half as long, and comes down from there:
//
//     start 0:  0          start 1:  1 -> 0          start 2:  2 -> 1 -> 0
//
// A singular system gives infinities or NaN. They never count as converged, and no sample
// can be taken there, so the point is lost and nothing else happens.

#include "APT/APTPatchAlignment.h"

#include <algorithm>
#include <cmath>

#include "Lapack/Cholesky.h"

namespace DP {
namespace {

constexpr int kPlanes = 3;  // T, Gx, Gy

// Four neighbours side by side, the last four of a row overlapping those before: a value
// that is computed twice is the same value.
constexpr int kBlock = 4;

inline void LerpFour(const float* inFrom, const float* inTo, float inFraction, float* outRow) {
    float values[kBlock];
    for (int i = 0; i < kBlock; ++i)
        values[i] = (inTo[i] - inFrom[i]) * inFraction + inFrom[i];
    for (int i = 0; i < kBlock; ++i)
        outRow[i] = values[i];
}

inline void LerpRow(const float* inFrom, const float* inTo, float inFraction, int inCount,
                    float* outRow) {
    if (inCount < kBlock) {
        for (int i = 0; i < inCount; ++i)
            outRow[i] = (inTo[i] - inFrom[i]) * inFraction + inFrom[i];
        return;
    }
    for (int i = 0; i + kBlock <= inCount; i += kBlock)
        LerpFour(inFrom + i, inTo + i, inFraction, outRow + i);
    const int last = inCount - kBlock;
    LerpFour(inFrom + last, inTo + last, inFraction, outRow + last);
}

// `inRows` rows of `inCount` floats, first along the rows and then between them. The source
// has a row and a pixel more.
void Interpolate(const float* inSource, std::ptrdiff_t inRowLength, int inChannels,
                 float inFractionX, float inFractionY, int inCount, int inRows, float* outBlock,
                 float* ioScratch) {
    for (int row = 0; row <= inRows; ++row) {
        const float* const source = inSource + row * inRowLength;
        LerpRow(source, source + inChannels, inFractionX, inCount, ioScratch + row * inCount);
    }
    for (int row = 0; row < inRows; ++row) {
        const float* const upper = ioScratch + row * inCount;
        LerpRow(upper, upper + inCount, inFractionY, inCount, outBlock + row * inCount);
    }
}

struct PixelPosition {
    int mX;
    int mY;
    float mFractionX;
    float mFractionY;
};

bool SplitPosition(float inX, float inY, PixelPosition& outPosition) {
    if (!FloorToInt(inX, outPosition.mX) || !FloorToInt(inY, outPosition.mY)) return false;
    outPosition.mFractionX = inX - static_cast<float>(outPosition.mX);
    outPosition.mFractionY = inY - static_cast<float>(outPosition.mY);
    return true;
}

// Whether a block that reaches `inReachX` and `inReachY` pixels to the left and up, and one
// pixel (along y two) more to the right and down, lies in the level.
bool LiesInside(const PixelPosition& inPosition, int inReachX, int inReachY,
                const APTImagePyramid& inPyramid, int inLevel) {
    const int width = inPyramid.GetWidth(inLevel);
    const int height = inPyramid.GetHeight(inLevel);
    return width >= 2 * inReachX + 2 && height >= 2 * inReachY + 3 &&
           inPosition.mX >= inReachX && inPosition.mX <= width - inReachX - 2 &&
           inPosition.mY >= inReachY && inPosition.mY <= height - inReachY - 3;
}

// The block of 2 reach + 1 columns and rows around a position.
void SampleBlock(const PixelPosition& inPosition, int inReachX, int inReachY,
                 APTImagePyramid& inPyramid, int inLevel, float* outBlock, float* ioScratch) {
    const float* const source =
        inPyramid.GetBlock(inLevel, inPosition.mX - inReachX, inPosition.mY - inReachY,
                           inPosition.mX + inReachX + 1, inPosition.mY + inReachY + 1);
    const int channels = inPyramid.GetChannels();
    Interpolate(source, inPyramid.GetRowLength(inLevel), channels, inPosition.mFractionX,
                inPosition.mFractionY, (2 * inReachX + 1) * channels, 2 * inReachY + 1,
                outBlock, ioScratch);
}

// Floats of a template's block with its ring, and of the interpolation of that block.
int RingFloats(const APTPatchShape& inShape) {
    return (inShape.GetColumns() + 2) * (inShape.GetRows() + 2) * inShape.mChannels;
}
int InterpolationFloats(const APTPatchShape& inShape) {
    return (inShape.GetColumns() + 2) * (inShape.GetRows() + 3) * inShape.mChannels;
}

struct Inverse {
    float m00;
    float m01;
    float m11;
};

// By the determinant, without a test: a singular matrix gives infinities or NaN.
Inverse InvertGradientMatrix(const APTPatchPyramid::Level& inTemplate,
                             const APTPatchShape& inShape) {
    const float h00 = 0.25f * BlockDot(inTemplate.mGradientX, inTemplate.mGradientX, inShape);
    const float h01 = 0.25f * BlockDot(inTemplate.mGradientX, inTemplate.mGradientY, inShape);
    const float h11 = 0.25f * BlockDot(inTemplate.mGradientY, inTemplate.mGradientY, inShape);
    const float determinant = h00 * h11 - h01 * h01;
    return {h11 / determinant, -h01 / determinant, h00 / determinant};
}

void ApplyInverse(const Inverse& inInverse, float inB0, float inB1, float* outUpdate) {
    outUpdate[0] = inInverse.m00 * inB0 + inInverse.m01 * inB1;
    outUpdate[1] = inInverse.m01 * inB0 + inInverse.m11 * inB1;
}

// The translation's residual and right-hand side in one pass: the order of each sum is that
// of `BlockDot`.
void TranslationRightSide(const APTPatchPyramid::Level& inTemplate, const float* inPatch,
                          const APTPatchShape& inShape, float& outB0, float& outB1) {
    float lanes0[kAPTLanes] = {};
    float lanes1[kAPTLanes] = {};
    const int count = inShape.GetBlockFloats();
    for (int i = 0; i < count; i += kAPTLanes)
        for (int lane = 0; lane < kAPTLanes; ++lane) {
            const float residual = inTemplate.mTemplate[i + lane] - inPatch[i + lane];
            lanes0[lane] += residual * inTemplate.mGradientX[i + lane];
            lanes1[lane] += residual * inTemplate.mGradientY[i + lane];
        }
    outB0 = 0.5f * FoldLanes(lanes0);
    outB1 = 0.5f * FoldLanes(lanes1);
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

// What is fixed for all iterations of a level, and one iteration.
class LevelSolver {
public:
    LevelSolver(APTWorkspace& ioWorkspace, const APTPatchPyramid::Level& inTemplate,
                APTMotionModel inModel, const APTTolerances& inTolerances)
        : mWorkspace(ioWorkspace),
          mShape(ioWorkspace.mShape),
          mTemplate(inTemplate),
          mModel(inModel),
          mTolerances(inTolerances),
          mGeometric{inTemplate.mGradientX, inTemplate.mGradientY},
          mColumns{mGeometric, 2, inTemplate.mTemplate, true} {}

    bool SetUp() {
        switch (mModel) {
            case kAPTModelTranslation:
            case kAPTModelFittedGainOffset:
                mInverse = InvertGradientMatrix(mTemplate, mShape);
                return true;
            case kAPTModelReserved:
                return true;
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

    bool ComputeUpdate() {
        const float* const patch = mWorkspace.mPatch.data();
        float* const residual = mWorkspace.mResidual.data();
        float* const gains = mWorkspace.mCurrent + 2;
        float* const update = mWorkspace.mUpdate;
        if (mModel == kAPTModelTranslation) {
            float b0 = 0.0f;
            float b1 = 0.0f;
            TranslationRightSide(mTemplate, patch, mShape, b0, b1);
            ApplyInverse(mInverse, b0, b1, update);
            return true;
        }
        if (mModel == kAPTModelFittedGainOffset)
            FitGains(mTemplate.mTemplate, patch, mShape, gains);
        FillGainResidual(mTemplate.mTemplate, patch, gains, mShape, residual);
        if (mModel == kAPTModelFittedGainOffset) {
            ApplyInverse(mInverse, 0.5f * BlockDot(residual, mTemplate.mGradientX, mShape),
                         0.5f * BlockDot(residual, mTemplate.mGradientY, mShape), update);
            return true;
        }
        FillRightSide(mColumns, residual, mShape, update);
        return CholeskySolve(mWorkspace.mMatrix, Order(), update) == CholeskyOutcome::kDone;
    }

    APTWorkspace& mWorkspace;
    const APTPatchShape& mShape;
    APTPatchPyramid::Level mTemplate;
    APTMotionModel mModel;
    APTTolerances mTolerances;
    const float* mGeometric[2];
    APTColumns mColumns;
    Inverse mInverse{};
};

}  // namespace

bool FloorToInt(float inValue, int& outFloor) {
    constexpr float kLimit = 2147483648.0f;
    if (!(inValue >= -kLimit && inValue < kLimit)) return false;
    outFloor = static_cast<int>(std::floor(inValue));
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
    mScratch.resize(
        static_cast<std::size_t>(RingFloats(inShape) + InterpolationFloats(inShape)));
    mCapacity = inLevels;
}

int APTPatchPyramid::Locate(int inLevels, float inX, float inY, APTImagePyramid& inPyramid) {
    mPyramid = &inPyramid;
    mX = inX;
    mY = inY;
    mLevelCount = mSampled = 0;
    const int levels = std::min({inLevels, mCapacity, inPyramid.GetLevelCount()});
    float scale = 1.0f;
    for (; mLevelCount < levels; ++mLevelCount, scale *= 0.5f) {
        PixelPosition position;
        if (!SplitPosition(inX * scale, inY * scale, position) ||
            !LiesInside(position, mShape.mHalfWidth + 1, mShape.mHalfHeight + 1, inPyramid,
                        mLevelCount))
            break;
    }
    return mLevelCount;
}

APTPatchPyramid::Level APTPatchPyramid::GetLevel(int inLevel) {
    for (; mSampled <= inLevel; ++mSampled)
        Sample(mSampled);
    return {GetPlane(inLevel, 0), GetPlane(inLevel, 1), GetPlane(inLevel, 2)};
}

void APTPatchPyramid::Keep() {
    for (; mSampled < mLevelCount; ++mSampled)
        Sample(mSampled);
    mPyramid = nullptr;
}

float* APTPatchPyramid::GetPlane(int inLevel, int inPlane) {
    return mData.data() + (inLevel * kPlanes + inPlane) * mShape.GetBlockFloats();
}

// The patch with a ring of one pixel around it; the ring gives the gradients their
// neighbours and is dropped.
void APTPatchPyramid::Sample(int inLevel) {
    const float scale = std::ldexp(1.0f, -inLevel);
    PixelPosition position;
    if (!SplitPosition(mX * scale, mY * scale, position)) return;  // `Locate` saw to it
    float* const ring = mScratch.data();
    SampleBlock(position, mShape.mHalfWidth + 1, mShape.mHalfHeight + 1, *mPyramid, inLevel,
                ring, ring + RingFloats(mShape));

    const int channels = mShape.mChannels;
    const int rowFloats = mShape.GetColumns() * channels;
    const int ringRow = rowFloats + 2 * channels;
    float* const values = GetPlane(inLevel, 0);
    float* const gradientX = GetPlane(inLevel, 1);
    float* const gradientY = GetPlane(inLevel, 2);
    for (int row = 0; row < mShape.GetRows(); ++row) {
        const float* const middle = ring + (row + 1) * ringRow + channels;
        for (int i = 0; i < rowFloats; ++i) {
            values[row * rowFloats + i] = middle[i];
            gradientX[row * rowFloats + i] = middle[i + channels] - middle[i - channels];
            gradientY[row * rowFloats + i] = middle[i + ringRow] - middle[i - ringRow];
        }
    }
}

// ---- One level -----------------------------------------------------------------------

void APTWorkspace::Init(const APTPatchShape& inShape) {
    const auto block = static_cast<std::size_t>(inShape.GetBlockFloats());
    mPatch.assign(block, 0.0f);
    mResidual.assign(block, 0.0f);
    mColumns.assign(6 * block, 0.0f);
    mScratch.assign(static_cast<std::size_t>(InterpolationFloats(inShape)), 0.0f);
    mShape = inShape;
}

bool SamplePatch(float inX, float inY, const APTPatchShape& inShape, APTImagePyramid& inPyramid,
                 int inLevel, float* outPatch, float* ioScratch) {
    PixelPosition position;
    if (!SplitPosition(inX, inY, position) ||
        !LiesInside(position, inShape.mHalfWidth, inShape.mHalfHeight, inPyramid, inLevel))
        return false;
    SampleBlock(position, inShape.mHalfWidth, inShape.mHalfHeight, inPyramid, inLevel, outPatch,
                ioScratch);
    return true;
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

int SolveLevel(APTWorkspace& ioWorkspace, const APTPatchPyramid::Level& inTemplate, float inX,
               float inY, APTImagePyramid& inPyramid, int inLevel, float* ioParameters,
               APTMotionModel inModel, const APTTolerances& inTolerances,
               int inIterationLimit) {
    const int failed = -2 - inIterationLimit;
    const int count = ParameterCount(inModel, ioWorkspace.mShape.mChannels);
    std::copy_n(ioParameters, count, ioWorkspace.mCurrent);
    LevelSolver solver(ioWorkspace, inTemplate, inModel, inTolerances);
    if (!solver.SetUp()) return failed;
    for (int i = 0; i < inIterationLimit; ++i) {
        if (!SamplePatch(inX + ioWorkspace.mCurrent[0], inY + ioWorkspace.mCurrent[1],
                         ioWorkspace.mShape, inPyramid, inLevel, ioWorkspace.mPatch.data(),
                         ioWorkspace.mScratch.data()))
            return -1 - i;
        bool isConverged = false;
        if (!solver.Step(isConverged)) return failed;
        if (!isConverged) continue;
        std::copy_n(ioWorkspace.mCurrent, count, ioParameters);
        return i;
    }
    return inIterationLimit;
}

// ---- From coarse to fine -------------------------------------------------------------

int AlignPatch(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
               APTImagePyramid& inPyramid, float inX, float inY, const float* inStart,
               float* outResult, APTMotionModel inModel, const APTTolerances& inTolerances,
               float inCorrelationLimit, int inIterationLimit) {
    const APTPatchShape& shape = ioTemplates.GetShape();
    if (!shape.HasSupportedChannels()) return -1;
    const auto solve = [&](int inLevel, float inLevelX, float inLevelY, float* ioParameters) {
        return SolveLevel(ioWorkspace, ioTemplates.GetLevel(inLevel), inLevelX, inLevelY,
                          inPyramid, inLevel, ioParameters, inModel, inTolerances,
                          inIterationLimit);
    };
    const auto accept = [&](int inLevel) {
        float correlation = 0.0f;
        return NormalisedCorrelation(ioTemplates.GetLevel(inLevel).mTemplate,
                                     ioWorkspace.mPatch.data(), shape, correlation) &&
               !(inCorrelationLimit > correlation);
    };
    return DescendLevels(ioTemplates.GetLevelCount(), ParameterCount(inModel, shape.mChannels),
                         inX, inY, inStart, outResult, ioWorkspace.mDriver, inIterationLimit,
                         solve, accept);
}

}  // namespace DP
