// Gaussian pyramids by smoothing and point sampling.
//
//     level i, smoothed            level i + 1, subsampling 4
//     . . . . . . . .
//     . . . . . . . .              a b        a level is a sample of the smoothed level
//     . . a . . . b .      -->     c d        before it, taken in the middle of each
//     . . . . . . . .                         block; what is left over at the right and
//     . . . . . . . .                         at the bottom is dropped
//     . . . . . . . .
//     . . c . . . d .

#include "image/IPImagePyramid.h"

#include <cstdint>

#include "TVK/ContractCheck.h"
#include "image/IPConvolveImage.h"

namespace IP {
namespace {

// Truncating. There is nothing to divide by 0 into: such a level is empty.
int Quotient(int inSize, int inDivisor) {
    return inDivisor == 0 ? 0 : static_cast<int>(std::int64_t{inSize} / inDivisor);
}

}  // namespace

ImagePyramidImpl<float>::ImagePyramidImpl(int inCols, int inRows, int inSubsampling,
                                          int inLevelCount, LevelZero inLevelZero)
    : mCols(inCols),
      mRows(inRows),
      mSubsampling(inSubsampling),
      mLevelCount(inLevelCount),
      mLevels(inLevelCount < 1 ? nullptr : new ImagePtr<float>[std::size_t(inLevelCount)]) {
    for (int level = 0; level < inLevelCount; ++level) {
        if (level > 0 || inLevelZero == LevelZero::kAllocated)
            mLevels[level] = TVK::MakeObject<Image<float>>(inCols, inRows);
        inCols = Quotient(inCols, inSubsampling);
        inRows = Quotient(inRows, inSubsampling);
    }
}

void ImagePyramidImpl<float>::ComputePyramid(ImagePtr<float> inImage, float inSigmaFactor) {
    ReportSubsampling();
    if (mLevelCount < 1) return;
    mLevels[0]->CopyPixelsFrom(inImage);
    if (inImage == NULL || inImage->GetColumns() != mCols || inImage->GetRows() != mRows)
        return;  // reported above, and the host's own ThrowError came back
    ComputeLevelsFrom(1, inSigmaFactor);
}

// The first two levels in one pass, unless something is to be reported on the way.
void ImagePyramidImpl<float>::ComputePyramidOfBytes(const unsigned char* inBytes,
                                                    float inSmoothSigma, float inSigmaFactor) {
    const auto hasPixels = [&](int inLevel) {
        return mLevels[inLevel]->GetData() != nullptr && mLevels[inLevel]->GetColumns() > 0 &&
               mLevels[inLevel]->GetRows() > 0;
    };
    if (mLevelCount > 1 && HasKnownSubsampling() && hasPixels(0) && hasPixels(1)) {
        ComputeSmoothedBytesAndSamples(inBytes, inSmoothSigma, mLevels[0],
                                       SigmaBetweenLevels(inSigmaFactor), mSubsampling,
                                       mLevels[1]);
        return ComputeLevelsFrom(2, inSigmaFactor);
    }
    const ImagePtr<float> smoothed =
        mLevelCount < 1 ? TVK::MakeObject<Image<float>>(mCols, mRows) : mLevels[0];
    ComputeSmoothedBytes(inBytes, mCols, mRows, inSmoothSigma, smoothed);
    ReportSubsampling();
    ComputeLevelsFrom(1, inSigmaFactor);
}

bool ImagePyramidImpl<float>::HasKnownSubsampling() const {
    for (const int known : {2, 4, 8, 16, 32})
        if (mSubsampling == known) return true;
    return false;
}

void ImagePyramidImpl<float>::ReportSubsampling() const {
    if (HasKnownSubsampling()) return;
    AssertWithMessage(
        "IP::ImagePyramidImpl<float>::ComputePyramid",
        "(ComputePyramid)  Pyramid's subsampling must be either 2, 4, 8, 16, or 32");
}

float ImagePyramidImpl<float>::SigmaBetweenLevels(float inSigmaFactor) const {
    return inSigmaFactor * static_cast<float>(mSubsampling);
}

void ImagePyramidImpl<float>::ComputeLevelsFrom(int inFirst, float inSigmaFactor) {
    for (int level = inFirst; level < mLevelCount; ++level)
        ComputeSmoothedSamples(mLevels[level - 1], SigmaBetweenLevels(inSigmaFactor),
                               mSubsampling, mLevels[level]);
}

}  // namespace IP
