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

struct PixelPosition {
    int mX;
    int mY;
    float mFractionX;
    float mFractionY;
};

bool SplitPosition(APTPoint inPoint, PixelPosition& outPosition) {
    if (!FloorToInt(inPoint.mX, outPosition.mX) || !FloorToInt(inPoint.mY, outPosition.mY))
        return false;
    outPosition.mFractionX = inPoint.mX - static_cast<float>(outPosition.mX);
    outPosition.mFractionY = inPoint.mY - static_cast<float>(outPosition.mY);
    return true;
}

// How far a block reaches from the pixel in its middle.
struct Reach {
    int mX;
    int mY;
};

// Whether a block, and one pixel (along y two) more to the right and down, lies in the level.
bool LiesInside(const PixelPosition& inPosition, Reach inReach, const APTImageLevel& inLevel) {
    const int width = inLevel.GetWidth();
    const int height = inLevel.GetHeight();
    return width >= 2 * inReach.mX + 2 && height >= 2 * inReach.mY + 3 &&
           inPosition.mX >= inReach.mX && inPosition.mX <= width - inReach.mX - 2 &&
           inPosition.mY >= inReach.mY && inPosition.mY <= height - inReach.mY - 3;
}

// The block of 2 reach + 1 columns and rows around a position, interpolated first along the
// rows and then between them. The source has a row and a pixel more.
void SampleBlock(const PixelPosition& inPosition, Reach inReach, int inChannels,
                 const APTImageLevel& inLevel, float* outBlock, float* ioScratch) {
    const float* const source =
        inLevel.GetBlock(inPosition.mX - inReach.mX, inPosition.mY - inReach.mY,
                         inPosition.mX + inReach.mX + 1, inPosition.mY + inReach.mY + 1);
    const int floats = (2 * inReach.mX + 1) * inChannels;
    const int rows = 2 * inReach.mY + 1;
    for (int row = 0; row <= rows; ++row) {
        const float* const left = source + row * inLevel.GetRowLength();
        LerpRow(left, left + inChannels, inPosition.mFractionX, floats,
                ioScratch + row * floats);
    }
    for (int row = 0; row < rows; ++row) {
        const float* const upper = ioScratch + row * floats;
        LerpRow(upper, upper + floats, inPosition.mFractionY, floats, outBlock + row * floats);
    }
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
                const APTSearch& inSearch)
        : mWorkspace(ioWorkspace),
          mShape(ioWorkspace.mShape),
          mTemplate(inTemplate),
          mModel(inSearch.mModel),
          mTolerances(inSearch.mTolerances),
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

int APTPatchPyramid::Locate(int inLevels, APTPoint inPoint, APTImagePyramid& inPyramid) {
    mPyramid = &inPyramid;
    mPoint = inPoint;
    mLevelCount = mSampled = 0;
    const int levels = std::min({inLevels, mCapacity, inPyramid.GetLevelCount()});
    float scale = 1.0f;
    for (; mLevelCount < levels; ++mLevelCount, scale *= 0.5f) {
        PixelPosition position;
        if (!SplitPosition({inPoint.mX * scale, inPoint.mY * scale}, position) ||
            !LiesInside(position, {mShape.mHalfWidth + 1, mShape.mHalfHeight + 1},
                        {inPyramid, mLevelCount}))
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
    if (!SplitPosition({mPoint.mX * scale, mPoint.mY * scale}, position))
        return;  // `Locate` saw to it
    float* const ring = mScratch.data();
    SampleBlock(position, {mShape.mHalfWidth + 1, mShape.mHalfHeight + 1}, mShape.mChannels,
                {*mPyramid, inLevel}, ring, ring + RingFloats(mShape));

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

bool SamplePatch(APTPoint inPoint, const APTPatchShape& inShape, const APTImageLevel& inLevel,
                 float* outPatch, float* ioScratch) {
    const Reach reach{inShape.mHalfWidth, inShape.mHalfHeight};
    PixelPosition position;
    if (!SplitPosition(inPoint, position) || !LiesInside(position, reach, inLevel))
        return false;
    SampleBlock(position, reach, inShape.mChannels, inLevel, outPatch, ioScratch);
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

int SolveLevel(APTWorkspace& ioWorkspace, const APTPatchPyramid::Level& inTemplate,
               const APTImageLevel& inLevel, APTPoint inPoint, const APTSearch& inSearch,
               float* ioParameters) {
    const int failed = -2 - inSearch.mMaxIterations;
    const int count = ParameterCount(inSearch.mModel, ioWorkspace.mShape.mChannels);
    float* const current = ioWorkspace.mCurrent;
    std::copy_n(ioParameters, count, current);
    LevelSolver solver(ioWorkspace, inTemplate, inSearch);
    if (!solver.SetUp()) return failed;
    for (int i = 0; i < inSearch.mMaxIterations; ++i) {
        if (!SamplePatch({inPoint.mX + current[0], inPoint.mY + current[1]}, ioWorkspace.mShape,
                         inLevel, ioWorkspace.mPatch.data(), ioWorkspace.mScratch.data()))
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

namespace {

class PatchDescent final : public APTLevelDescent {
public:
    PatchDescent(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
                 APTImagePyramid& inPyramid, const APTSearch& inSearch)
        : mWorkspace(ioWorkspace),
          mTemplates(ioTemplates),
          mPyramid(inPyramid),
          mSearch(inSearch) {}

private:
    int Solve(int inLevel, APTPoint inPoint, float* ioParameters) override {
        return SolveLevel(mWorkspace, mTemplates.GetLevel(inLevel), {mPyramid, inLevel},
                          inPoint, mSearch, ioParameters);
    }
    bool Accept(int inLevel) override {
        float correlation = 0.0f;
        return NormalisedCorrelation(mTemplates.GetLevel(inLevel).mTemplate,
                                     mWorkspace.mPatch.data(), mTemplates.GetShape(),
                                     correlation) &&
               !(mSearch.mMinCorrelation > correlation);
    }

    APTWorkspace& mWorkspace;
    APTPatchPyramid& mTemplates;
    APTImagePyramid& mPyramid;
    const APTSearch& mSearch;
};

}  // namespace

int AlignPatch(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
               APTImagePyramid& inPyramid, APTPoint inPoint, const APTSearch& inSearch,
               const float* inStart, float* outResult) {
    const APTPatchShape& shape = ioTemplates.GetShape();
    if (!shape.HasSupportedChannels()) return -1;
    return PatchDescent(ioWorkspace, ioTemplates, inPyramid, inSearch)
        .Run(ioTemplates.GetLevelCount(), inSearch.mMaxIterations, inPoint,
             ParameterCount(inSearch.mModel, shape.mChannels), inStart, outResult);
}

}  // namespace DP
