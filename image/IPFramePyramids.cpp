#include "image/IPFramePyramids.h"

#include "image/IPConvolveImage.h"

namespace IP {

FramePyramids ComputeFramePyramids(const unsigned char* inPixels, int inCols, int inRows,
                                   const FramePyramidSettings& inSettings) {
    const auto makePyramid = [&] {
        return TVK::MakeObject<ImagePyramidImpl<float>>(inCols, inRows, inSettings.mSubsampling,
                                                        inSettings.mLevelCount);
    };
    const FramePyramids result{makePyramid(), makePyramid(), makePyramid()};
    const ImagePtr<float> smoothed = inSettings.mLevelCount < 1
                                         ? TVK::MakeObject<Image<float>>(inCols, inRows)
                                         : result.mSmoothed->GetLevel(0);
    ComputeSmoothedBytes(inPixels, inCols, inRows, inSettings.mSmoothSigma, smoothed);
    result.mSmoothed->ComputePyramidInPlace(inSettings.mPyramidSigmaFactor);
    for (int level = 0; level < inSettings.mLevelCount; ++level)
        ComputeGradients(result.mSmoothed->GetLevel(level), inSettings.mGradientSigma,
                         result.mGradientX->GetLevel(level),
                         result.mGradientY->GetLevel(level));
    return result;
}

}  // namespace IP
