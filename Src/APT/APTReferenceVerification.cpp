// The warp is solved like the translation: template, gradients and normal matrix are fixed
// before the iterations. The update is found for the template, and its inverse is composed
// with the warp: W <- W o D^-1.

#include "APT/APTReferenceVerification.h"

#include <algorithm>
#include <cmath>

#include "Lapack/Cholesky.h"
#include "image/Interruption.h"
#include "image/ReadAhead.h"

namespace DP {
namespace {

constexpr int kGeometric = 6;

// Parameters, in order: translation x, y; the four of the matrix less the identity, by rows
// (a, b; c, d); then gain and offset of each channel. 6 + 2 channels in all.
APTWarp WarpOf(const float* inParameters, APTPoint inPoint) {
    return {1.0f + inParameters[2], inParameters[3], inParameters[4],
            1.0f + inParameters[5], inPoint.mX,      inPoint.mY,
            inParameters[0],        inParameters[1]};
}

// Each operation rounds as in the sampling, and rounding keeps order: what lies between the
// corners in the patch lies between them in the image, also in floats.
APTPoint PlaceOf(const APTWarp& inWarp, float inDX, float inDY) {
    return {inWarp.mA * inDX + inWarp.mX + inWarp.mB * inDY + inWarp.mTX,
            inWarp.mC * inDX + inWarp.mY + inWarp.mD * inDY + inWarp.mTY};
}

struct Bounds {
    float mLeft, mTop, mRight, mBottom;
};

// False where a corner of the patch is not strictly inside the level.
bool BoundCorners(const APTWarp& inWarp, const APTPatchShape& inShape, int inWidth,
                  int inHeight, Bounds& outBounds) {
    const float w = static_cast<float>(inShape.mHalfWidth);
    const float h = static_cast<float>(inShape.mHalfHeight);
    const float corners[4][2] = {{w, h}, {w, -h}, {-w, -h}, {-w, h}};
    const float right = static_cast<float>(inWidth - 1);
    const float bottom = static_cast<float>(inHeight - 1);
    outBounds = {right, bottom, 0.0f, 0.0f};
    for (const auto& corner : corners) {
        const auto [x, y] = PlaceOf(inWarp, corner[0], corner[1]);
        if (!(0.0f < x && x < right && 0.0f < y && y < bottom)) return false;
        outBounds.mLeft = std::min(outBounds.mLeft, x);
        outBounds.mTop = std::min(outBounds.mTop, y);
        outBounds.mRight = std::max(outBounds.mRight, x);
        outBounds.mBottom = std::max(outBounds.mBottom, y);
    }
    return true;
}

// Samples the current image at the places that the warp sends the patch's pixels to: `mPatch`
// is one block, row by row, channels interleaved. False, with nothing sampled, at the edge.
bool SampleWarped(APTWorkspace& ioWorkspace, const APTImageLevel& inLevel, APTPoint inPoint) {
    const APTPatchShape& shape = ioWorkspace.mShape;
    const APTWarp warp = WarpOf(ioWorkspace.mCurrent, inPoint);
    const int width = inLevel.GetWidth();
    const int height = inLevel.GetHeight();
    Bounds bounds;
    if (!BoundCorners(warp, shape, width, height, bounds)) return false;
    const int left = static_cast<int>(bounds.mLeft);
    const int top = static_cast<int>(bounds.mTop);
    const int right = std::min(static_cast<int>(bounds.mRight) + 1, width - 1);
    const int bottom = std::min(static_cast<int>(bounds.mBottom) + 1, height - 1);
    const float* const block = inLevel.GetBlock(left, top, right, bottom);
    const std::ptrdiff_t rowLength = inLevel.GetRowLength();
    // Where pixel (0, 0) of the level would be, if all of it had been made.
    const float* const first = block - top * rowLength - left * shape.mChannels;
    ioWorkspace.mKernels->mSampleWarped(warp, ioWorkspace.mPixelOffsets.Get(),
                                        {first, rowLength, shape.mChannels}, shape.GetPixels(),
                                        ioWorkspace.mPatch.data());
    return true;
}

// dx Gx, dy Gx, dx Gy, dy Gy, one block each.
void FillWarpColumns(const APTTemplate& inTemplate, const APTOffsets& inOffsets, int inCount,
                     float* outColumns) {
    for (const float* const gradient : {inTemplate.mGradientX, inTemplate.mGradientY})
        for (const float* const offset : {inOffsets.mDX, inOffsets.mDY})
            for (int i = 0; i < inCount; ++i)
                *outColumns++ = offset[i] * gradient[i];
}

// W <- W o D^-1 for the update D: the matrix of W times the inverse of D's, and D's translation
// brought through that product.
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
    // Called before `isSmall` is looked at: it changes gain and offset.
    return UpdateGains(ioWorkspace.mUpdate + kGeometric, tolerances.mGain, tolerances.mOffset,
                       ioWorkspace.mShape.mChannels, ioWorkspace.mCurrent + kGeometric) &&
           isSmall;
}

// Length of the parameters, and order of the normal matrix. The reserved model is never solved.
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
bool StepWarp(APTWorkspace& ioWorkspace, const APTReferenceTemplates::Level& inLevel,
              APTMotionModel inModel) {
    const APTPatchShape& shape = ioWorkspace.mShape;
    const APTTemplate& planes = inLevel.mPlanes;
    const float* const patch = ioWorkspace.mPatch.data();
    float* const residual = ioWorkspace.mResidual.data();
    const bool hasGain = inModel == kAPTModelGainOffset;
    if (hasGain)
        FillGainResidual(planes.mTemplate, patch, ioWorkspace.mCurrent + kGeometric, shape,
                         residual);
    else
        FillResidual(planes.mTemplate, patch, shape, residual);

    // J^T r by columns of J: gradient x, gradient y, then the four of the warp. The gradients
    // are differences over two pixels, hence the half.
    float sums[kGeometric + 2];
    ioWorkspace.mKernels->mWarpSums(planes, ioWorkspace.mFloatOffsets.Get(), residual,
                                    shape.GetBlockFloats(), sums);
    float* const update = ioWorkspace.mUpdate;
    for (int i = 0; i < kGeometric; ++i)
        update[i] = 0.5f * sums[i];
    if (hasGain && shape.mChannels == 1)
        std::copy_n(sums + kGeometric, 2, update + kGeometric);
    else if (hasGain)
        FillGainRightSide(planes.mTemplate, residual, shape, update + kGeometric);
    if (CholeskySolve(inLevel.mFactor, WarpParameterCount(inModel, shape.mChannels), update) !=
        CholeskyOutcome::kDone)
        return false;
    ComposeWithInverse(update, ioWorkspace.mCurrent);
    return true;
}

class WarpDescent final : public APTLevelDescent {
public:
    WarpDescent(APTWorkspace& ioWorkspace, APTReferenceTemplates& ioTemplates,
                APTImagePyramid& inPyramid, const APTSearch& inSearch)
        : mWorkspace(ioWorkspace),
          mTemplates(ioTemplates),
          mPyramid(inPyramid),
          mSearch(inSearch) {}

private:
    int Solve(int inLevel, APTPoint inPoint, float* ioParameters) override {
        return SolveWarpLevel(mWorkspace,
                              mTemplates.GetLevel(inLevel, mSearch.mModel, mWorkspace),
                              {mPyramid, inLevel}, inPoint, mSearch, ioParameters);
    }

    APTWorkspace& mWorkspace;
    APTReferenceTemplates& mTemplates;
    APTImagePyramid& mPyramid;
    const APTSearch& mSearch;
};

}  // namespace

// ---- The templates of a reference ----------------------------------------------------

void APTReferenceTemplates::Init(const APTPatchShape& inShape, int inLevels) {
    const int order = WarpParameterCount(kAPTModelGainOffset, inShape.mChannels);  // the most
    mFactorFloats = static_cast<std::size_t>(order * order);
    mSystems.assign(static_cast<std::size_t>(inLevels), System::kUnknown);
    mFactors.assign(mSystems.size() * mFactorFloats, 0.0f);
    mPlanes.Init(inShape, inLevels);
}

void APTReferenceTemplates::Capture(APTPoint inPoint, APTImagePyramid& inPyramid) {
    mPlanes.Locate(static_cast<int>(mSystems.size()), inPoint, inPyramid);
    mPlanes.Keep();
    std::fill(mSystems.begin(), mSystems.end(), System::kUnknown);
}

APTReferenceTemplates::Level APTReferenceTemplates::GetLevel(int inLevel,
                                                             APTMotionModel inModel,
                                                             APTWorkspace& ioWorkspace) {
    const APTTemplate planes = mPlanes.GetLevel(inLevel);
    if (inModel != kAPTModelTranslation && inModel != kAPTModelGainOffset)
        return {planes, nullptr};
    // The factors hold for one model; another has a system of another order.
    if (inModel != mModel) {
        std::fill(mSystems.begin(), mSystems.end(), System::kUnknown);
        mModel = inModel;
    }
    const auto level = static_cast<std::size_t>(inLevel);
    float* const factor = mFactors.data() + level * mFactorFloats;
    System& system = mSystems[level];
    if (system == System::kUnknown)
        system = Factorise(planes, ioWorkspace, factor) ? System::kSolvable : System::kSingular;
    return {planes, system == System::kSolvable ? factor : nullptr};
}

bool APTReferenceTemplates::Factorise(const APTTemplate& inPlanes, APTWorkspace& ioWorkspace,
                                      float* outFactor) const {
    const APTPatchShape& shape = mPlanes.GetShape();
    const int block = shape.GetBlockFloats();
    float* const columns = ioWorkspace.mColumns.data();
    FillWarpColumns(inPlanes, ioWorkspace.mFloatOffsets.Get(), block, columns);
    const float* const geometric[kGeometric] = {
        inPlanes.mGradientX, inPlanes.mGradientY, columns,
        columns + block,     columns + 2 * block, columns + 3 * block};
    const APTColumns system{geometric, kGeometric, inPlanes.mTemplate,
                            mModel == kAPTModelGainOffset};
    FillNormalMatrix(system, shape, outFactor);
    return CholeskyFactorise(outFactor, system.GetOrder(shape.mChannels)) ==
           CholeskyOutcome::kDone;
}

void APTReferenceTemplates::ReadAhead() const {
    mPlanes.ReadAhead();
    IP::ReadAhead(mFactors.data(), mFactorFloats);
}

// ---- One reference -------------------------------------------------------------------

// The answers are those of `SolveLevel`. The parameters of the caller change at convergence
// alone: a search that fails leaves the start for the next level as it was.
int SolveWarpLevel(APTWorkspace& ioWorkspace, const APTReferenceTemplates::Level& inTemplate,
                   const APTImageLevel& inLevel, APTPoint inPoint, const APTSearch& inSearch,
                   float* ioParameters) {
    const int failed = -2 - inSearch.mMaxIterations;
    const bool isReserved = inSearch.mModel == kAPTModelReserved;
    if (!inTemplate.mFactor && !isReserved) return failed;
    const int count = WarpParameterCount(inSearch.mModel, ioWorkspace.mShape.mChannels);
    float* const current = ioWorkspace.mCurrent;
    std::copy_n(ioParameters, count, current);
    for (int i = 0; i < inSearch.mMaxIterations; ++i) {
        if (!SampleWarped(ioWorkspace, inLevel, inPoint)) return -1 - i;
        if (isReserved || !StepWarp(ioWorkspace, inTemplate, inSearch.mModel)) return failed;
        if (!IsConverged(ioWorkspace, inSearch)) continue;
        std::copy_n(current, count, ioParameters);
        return i;
    }
    return inSearch.mMaxIterations;
}

int AlignReferencePatch(APTWorkspace& ioWorkspace, APTReferenceTemplates& ioTemplates,
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
        // Above 0 is a point that was found in the frame before: its patch is the reference.
        if (feature.mStatus <= 0) continue;
        IP::Checkpoint(0, 0);
        if (mTemplates[i].IsEmpty()) mTemplates[i].Init(mShape, mLevels);
        mTemplates[i].Capture({feature.mX, feature.mY}, inPrevious);
        mRecords[i] = {feature.mX, feature.mY, {}};
        for (int c = 0; c < mShape.mChannels; ++c)
            mRecords[i].mParameters[kGeometric + 2 * c] = 1.0f;
    }
}

void APTReferenceVerification::HandOver(const APTFeatureList& inFeatures) {
    const std::size_t slots = std::min(inFeatures.size(), mRecords.size());
    for (std::size_t i = 0; i < slots; ++i) {
        if (inFeatures[i].mStatus != kAPTFeatureTracked) continue;
        // Begins where the step from frame to frame ended; the matrix goes on from its last
        // value.
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
        IP::Checkpoint(std::int64_t(i), std::int64_t(slots));
        if (i + 1 < slots) ReadAhead(i + 1, inCurrent, ioFeatures[i + 1]);
        if (VerifyFeature(i, inCurrent, inSearch, feature)) continue;
        feature.mStatus = inSearch.mMinCorrelation > feature.mCorrelation
                              ? kAPTFeatureLowCorrelation
                              : kAPTFeatureVerifyFailed;
        ++mLost;
    }
}

// What the verification of a point reads first.
void APTReferenceVerification::ReadAhead(std::size_t inSlot, const APTImagePyramid& inCurrent,
                                         const APTFeature& inFeature) const {
    if (inFeature.mStatus != kAPTFeatureTracked) return;
    mTemplates[inSlot].ReadAhead();
    inCurrent.ReadAhead(inFeature.mX, inFeature.mY, mShape.mHalfWidth + 1,
                        mShape.mHalfHeight + 1);
}

bool APTReferenceVerification::VerifyFeature(std::size_t inSlot, APTImagePyramid& inCurrent,
                                             const APTSearch& inSearch, APTFeature& ioFeature) {
    APTReferencePatch& record = mRecords[inSlot];
    APTReferenceTemplates& templates = mTemplates[inSlot];
    if (AlignReferencePatch(mWorkspace, templates, inCurrent, {record.mX, record.mY}, inSearch,
                            record.mParameters) < 0)
        return false;
    NormalisedCorrelation(templates.GetTemplate(0), mWorkspace.mPatch.data(), mShape,
                          ioFeature.mCorrelation);
    if (!(ioFeature.mCorrelation >= inSearch.mMinCorrelation)) return false;
    ioFeature.mX = record.mX + record.mParameters[0];
    ioFeature.mY = record.mY + record.mParameters[1];
    return true;
}

}  // namespace DP
