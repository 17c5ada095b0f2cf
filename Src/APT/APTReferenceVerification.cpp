// The warp is solved like the translation: template, gradients and normal matrix are fixed
// before the iterations. The update is found for the template, and its inverse is composed
// with the warp: W <- W o D^-1.

#include "APT/APTReferenceVerification.h"

#include <algorithm>
#include <cmath>

#include "Lapack/Cholesky.h"

namespace DP {
namespace {

constexpr int kGeometric = 6;

// Where the pixels of a patch lie. Each operation rounds alike in the test of the corners
// and in the sampling, and rounding keeps order: what lies between the corners in the patch
// lies between them in the image, also in floats.
struct Warp {
    float mA, mB, mC, mD;  // 1 + a, b, c, 1 + d
    float mX, mY;
    float mTX, mTY;

    Warp(const float* inParameters, APTPoint inPoint)
        : mA(1.0f + inParameters[2]),
          mB(inParameters[3]),
          mC(inParameters[4]),
          mD(1.0f + inParameters[5]),
          mX(inPoint.mX),
          mY(inPoint.mY),
          mTX(inParameters[0]),
          mTY(inParameters[1]) {}

    float X(float inDX, float inDY) const { return mA * inDX + mX + mB * inDY + mTX; }
    float Y(float inDX, float inDY) const { return mC * inDX + mY + mD * inDY + mTY; }
};

struct Bounds {
    float mLeft, mTop, mRight, mBottom;
};

// False where a corner of the patch is not strictly inside the level.
bool BoundCorners(const Warp& inWarp, const APTPatchShape& inShape, int inWidth, int inHeight,
                  Bounds& outBounds) {
    const float w = static_cast<float>(inShape.mHalfWidth);
    const float h = static_cast<float>(inShape.mHalfHeight);
    const float corners[4][2] = {{w, h}, {w, -h}, {-w, -h}, {-w, h}};
    const float right = static_cast<float>(inWidth - 1);
    const float bottom = static_cast<float>(inHeight - 1);
    outBounds = {right, bottom, 0.0f, 0.0f};
    for (const auto& corner : corners) {
        const float x = inWarp.X(corner[0], corner[1]);
        const float y = inWarp.Y(corner[0], corner[1]);
        if (!(0.0f < x && x < right && 0.0f < y && y < bottom)) return false;
        outBounds.mLeft = std::min(outBounds.mLeft, x);
        outBounds.mTop = std::min(outBounds.mTop, y);
        outBounds.mRight = std::max(outBounds.mRight, x);
        outBounds.mBottom = std::max(outBounds.mBottom, y);
    }
    return true;
}

bool SampleWarped(const Warp& inWarp, const APTPatchShape& inShape,
                  const APTImageLevel& inLevel, float* outPatch) {
    const int width = inLevel.GetWidth();
    const int height = inLevel.GetHeight();
    Bounds bounds;
    if (!BoundCorners(inWarp, inShape, width, height, bounds)) return false;
    const int left = static_cast<int>(bounds.mLeft);
    const int top = static_cast<int>(bounds.mTop);
    const int right = std::min(static_cast<int>(bounds.mRight) + 1, width - 1);
    const int bottom = std::min(static_cast<int>(bounds.mBottom) + 1, height - 1);
    const float* const block = inLevel.GetBlock(left, top, right, bottom);
    const std::ptrdiff_t rowLength = inLevel.GetRowLength();
    const int channels = inShape.mChannels;

    for (int dy = -inShape.mHalfHeight; dy <= inShape.mHalfHeight; ++dy)
        for (int dx = -inShape.mHalfWidth; dx <= inShape.mHalfWidth; ++dx) {
            const float x = inWarp.X(static_cast<float>(dx), static_cast<float>(dy));
            const float y = inWarp.Y(static_cast<float>(dx), static_cast<float>(dy));
            const int ix = static_cast<int>(x);  // positive: the floor
            const int iy = static_cast<int>(y);
            const float fx = x - static_cast<float>(ix);
            const float fy = y - static_cast<float>(iy);
            const float* pixel = block + (iy - top) * rowLength + (ix - left) * channels;
            for (int c = 0; c < channels; ++c, ++pixel) {
                const float* const below = pixel + rowLength;
                const float upper = (pixel[channels] - pixel[0]) * fx + pixel[0];
                const float lower = (below[channels] - below[0]) * fx + below[0];
                *outPatch++ = (lower - upper) * fy + upper;
            }
        }
    return true;
}

// Gx Gy dx Gx dy Gx dx Gy dy Gy, one block each.
void FillWarpColumns(const APTPatchPyramid::Level& inTemplate, const APTPatchShape& inShape,
                     float* outColumns) {
    const int block = inShape.GetBlockFloats();
    const float* const gradients[2] = {inTemplate.mGradientX, inTemplate.mGradientY};
    for (int g = 0; g < 2; ++g) {
        float* const plain = outColumns + g * block;
        float* const byColumn = outColumns + (2 + 2 * g) * block;
        float* const byRow = byColumn + block;
        int i = 0;
        for (int dy = -inShape.mHalfHeight; dy <= inShape.mHalfHeight; ++dy)
            for (int dx = -inShape.mHalfWidth; dx <= inShape.mHalfWidth; ++dx)
                for (int c = 0; c < inShape.mChannels; ++c, ++i) {
                    plain[i] = gradients[g][i];
                    byColumn[i] = static_cast<float>(dx) * gradients[g][i];
                    byRow[i] = static_cast<float>(dy) * gradients[g][i];
                }
    }
}

void ComposeWithInverse(const float* inUpdate, float* ioParameters) {
    const float m00 = 1.0f + ioParameters[2];
    const float m01 = ioParameters[3];
    const float m10 = ioParameters[4];
    const float m11 = 1.0f + ioParameters[5];
    const float d00 = 1.0f - inUpdate[2];
    const float d11 = 1.0f - inUpdate[5];
    const float determinant = d00 * d11 - inUpdate[3] * inUpdate[4];
    const float i00 = d11 / determinant;
    const float i01 = inUpdate[3] / determinant;
    const float i10 = inUpdate[4] / determinant;
    const float i11 = d00 / determinant;
    const float r00 = m00 * i00 + m01 * i10;
    const float r01 = m00 * i01 + m01 * i11;
    const float r10 = m10 * i00 + m11 * i10;
    const float r11 = m10 * i01 + m11 * i11;
    ioParameters[0] += r00 * inUpdate[0] + r01 * inUpdate[1];
    ioParameters[1] += r10 * inUpdate[0] + r11 * inUpdate[1];
    ioParameters[2] = r00 - 1.0f;
    ioParameters[3] = r01;
    ioParameters[4] = r10;
    ioParameters[5] = r11 - 1.0f;
}

bool IsSmallWarp(const float* inUpdate, const APTTolerances& inTolerances) {
    return std::all_of(inUpdate, inUpdate + 2,
                       [&](float d) { return std::abs(d) < inTolerances.mTranslation; }) &&
           std::all_of(inUpdate + 2, inUpdate + kGeometric,
                       [&](float d) { return std::abs(d) < inTolerances.mWarp; });
}

// Whether the last update was small; takes over its part for gain and offset.
bool IsConverged(APTWorkspace& ioWorkspace, const APTSearch& inSearch) {
    const APTTolerances& tolerances = inSearch.mTolerances;
    const bool isSmall = IsSmallWarp(ioWorkspace.mUpdate, tolerances);
    if (inSearch.mModel != kAPTModelGainOffset) return isSmall;
    return UpdateGains(ioWorkspace.mUpdate + kGeometric, tolerances.mGain, tolerances.mOffset,
                       ioWorkspace.mShape.mChannels, ioWorkspace.mCurrent + kGeometric) &&
           isSmall;
}

int WarpParameterCount(APTMotionModel inModel, int inChannels) {
    switch (inModel) {
        case kAPTModelTranslation:
            return kGeometric;
        case kAPTModelReserved:
            return kGeometric + 2;
        default:
            return kGeometric + 2 * inChannels;
    }
}

// Residual, right-hand side, solution and composition. False for a system without a
// solution.
bool StepWarp(APTWorkspace& ioWorkspace, const APTColumns& inColumns) {
    const APTPatchShape& shape = ioWorkspace.mShape;
    const float* const patch = ioWorkspace.mPatch.data();
    float* const residual = ioWorkspace.mResidual.data();
    if (inColumns.mHasGain)
        FillGainResidual(inColumns.mTemplate, patch, ioWorkspace.mCurrent + kGeometric, shape,
                         residual);
    else
        FillResidual(inColumns.mTemplate, patch, shape, residual);
    FillRightSide(inColumns, residual, shape, ioWorkspace.mUpdate);
    if (CholeskySolve(ioWorkspace.mMatrix, inColumns.GetOrder(shape.mChannels),
                      ioWorkspace.mUpdate) != CholeskyOutcome::kDone)
        return false;
    ComposeWithInverse(ioWorkspace.mUpdate, ioWorkspace.mCurrent);
    return true;
}

class WarpDescent final : public APTLevelDescent {
public:
    WarpDescent(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
                APTImagePyramid& inPyramid, const APTSearch& inSearch)
        : mWorkspace(ioWorkspace),
          mTemplates(ioTemplates),
          mPyramid(inPyramid),
          mSearch(inSearch) {}

private:
    int Solve(int inLevel, APTPoint inPoint, float* ioParameters) override {
        return SolveWarpLevel(mWorkspace, mTemplates.GetLevel(inLevel), {mPyramid, inLevel},
                              inPoint, mSearch, ioParameters);
    }

    APTWorkspace& mWorkspace;
    APTPatchPyramid& mTemplates;
    APTImagePyramid& mPyramid;
    const APTSearch& mSearch;
};

}  // namespace

int SolveWarpLevel(APTWorkspace& ioWorkspace, const APTPatchPyramid::Level& inTemplate,
                   const APTImageLevel& inLevel, APTPoint inPoint, const APTSearch& inSearch,
                   float* ioParameters) {
    const APTPatchShape& shape = ioWorkspace.mShape;
    const APTMotionModel model = inSearch.mModel;
    const int failed = -2 - inSearch.mMaxIterations;
    const int count = WarpParameterCount(model, shape.mChannels);
    float* const current = ioWorkspace.mCurrent;
    std::copy_n(ioParameters, count, current);

    const float* geometric[kGeometric];
    for (int i = 0; i < kGeometric; ++i)
        geometric[i] = ioWorkspace.mColumns.data() + i * shape.GetBlockFloats();
    const bool hasGain = model == kAPTModelGainOffset;
    const APTColumns columns{geometric, kGeometric, inTemplate.mTemplate, hasGain};
    if (model == kAPTModelTranslation || hasGain) {
        FillWarpColumns(inTemplate, shape, ioWorkspace.mColumns.data());
        FillNormalMatrix(columns, shape, ioWorkspace.mMatrix);
        if (CholeskyFactorise(ioWorkspace.mMatrix, count) != CholeskyOutcome::kDone)
            return failed;
    } else if (model != kAPTModelReserved) {
        return failed;
    }

    for (int i = 0; i < inSearch.mMaxIterations; ++i) {
        if (!SampleWarped(Warp(current, inPoint), shape, inLevel, ioWorkspace.mPatch.data()))
            return -1 - i;
        if (model == kAPTModelReserved || !StepWarp(ioWorkspace, columns)) return failed;
        if (!IsConverged(ioWorkspace, inSearch)) continue;
        std::copy_n(current, count, ioParameters);
        return i;
    }
    return inSearch.mMaxIterations;
}

int AlignReferencePatch(APTWorkspace& ioWorkspace, APTPatchPyramid& ioTemplates,
                        APTImagePyramid& inPyramid, APTPoint inPoint, const APTSearch& inSearch,
                        float* ioParameters) {
    const int channels = ioWorkspace.mShape.mChannels;
    if (!ioWorkspace.mShape.HasSupportedChannels()) return -1;
    return WarpDescent(ioWorkspace, ioTemplates, inPyramid, inSearch)
        .Run(std::min(ioTemplates.GetLevelCount(), inPyramid.GetLevelCount()),
             inSearch.mMaxIterations, inPoint, WarpParameterCount(inSearch.mModel, channels),
             ioParameters, ioParameters);
}

// ---- The references of an engine -----------------------------------------------------

void APTReferenceVerification::Init(const APTPatchShape& inShape, int inLevels,
                                    std::size_t inSlots) {
    // Templates of another shape or depth cannot be read with the new one.
    if (inShape != mShape || inLevels != mLevels) {
        mTemplates.clear();
        mRecords.clear();
    }
    mShape = inShape;
    mLevels = inLevels;
    mWorkspace.Init(inShape);
    mTemplates.resize(inSlots);
    mRecords.resize(inSlots);
}

void APTReferenceVerification::Capture(const APTFeatureList& inFeatures,
                                       APTImagePyramid& inPrevious) {
    const std::size_t slots = std::min(inFeatures.size(), mRecords.size());
    for (std::size_t i = 0; i < slots; ++i) {
        const APTFeature& feature = inFeatures[i];
        if (feature.mStatus <= 0) continue;
        if (mTemplates[i].IsEmpty()) mTemplates[i].Init(mShape, mLevels);
        mTemplates[i].Locate(mLevels, {feature.mX, feature.mY}, inPrevious);
        mTemplates[i].Keep();
        mRecords[i] = {feature.mX, feature.mY, {}};
        for (int c = 0; c < mShape.mChannels; ++c)
            mRecords[i].mParameters[kGeometric + 2 * c] = 1.0f;
    }
}

void APTReferenceVerification::HandOver(const APTFeatureList& inFeatures) {
    const std::size_t slots = std::min(inFeatures.size(), mRecords.size());
    for (std::size_t i = 0; i < slots; ++i) {
        if (inFeatures[i].mStatus != kAPTFeatureTracked) continue;
        mRecords[i].mParameters[0] = inFeatures[i].mX - mRecords[i].mX;
        mRecords[i].mParameters[1] = inFeatures[i].mY - mRecords[i].mY;
    }
}

void APTReferenceVerification::VerifyFeatures(APTImagePyramid& inCurrent,
                                              const APTSearch& inSearch,
                                              APTFeatureList& ioFeatures) {
    const std::size_t slots = std::min(ioFeatures.size(), mRecords.size());
    for (std::size_t i = 0; i < slots; ++i) {
        APTFeature& feature = ioFeatures[i];
        if (feature.mStatus != kAPTFeatureTracked) continue;
        if (VerifyFeature(i, inCurrent, inSearch, feature)) continue;
        feature.mStatus = inSearch.mMinCorrelation > feature.mCorrelation
                              ? kAPTFeatureLowCorrelation
                              : kAPTFeatureVerifyFailed;
        ++mLost;
    }
}

bool APTReferenceVerification::VerifyFeature(std::size_t inSlot, APTImagePyramid& inCurrent,
                                             const APTSearch& inSearch, APTFeature& ioFeature) {
    APTReferencePatch& record = mRecords[inSlot];
    APTPatchPyramid& templates = mTemplates[inSlot];
    if (AlignReferencePatch(mWorkspace, templates, inCurrent, {record.mX, record.mY}, inSearch,
                            record.mParameters) < 0)
        return false;
    NormalisedCorrelation(templates.GetLevel(0).mTemplate, mWorkspace.mPatch.data(), mShape,
                          ioFeature.mCorrelation);
    if (!(ioFeature.mCorrelation >= inSearch.mMinCorrelation)) return false;
    ioFeature.mX = record.mX + record.mParameters[0];
    ioFeature.mY = record.mY + record.mParameters[1];
    return true;
}

}  // namespace DP
