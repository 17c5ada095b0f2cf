#include "image/IPFramePyramids.h"

#include "image/IPConvolveImage.h"

namespace IP {

FramePyramids ComputeFramePyramids(const unsigned char* inPixels, int inCols, int inRows,
                                   const FramePyramidSettings& inSettings) {
    const auto makePyramid = [&] {
        return TVK::MakeObject<ImagePyramidImpl<float>>(inCols, inRows, inSettings.mSubsampling,
                                                        inSettings.mLevelCount);
    };
    const auto frame = TVK::MakeObject<Image<float>>(inCols, inRows);
    frame->ConvertFromBytes(inPixels, inCols, inRows);
    const auto smoothed = TVK::MakeObject<Image<float>>(inCols, inRows);
    ComputeSmoothedImage(frame, inSettings.mSmoothSigma, smoothed);

    const FramePyramids result{makePyramid(), makePyramid(), makePyramid()};
    result.mSmoothed->ComputePyramid(smoothed, inSettings.mPyramidSigmaFactor);
    for (int level = 0; level < inSettings.mLevelCount; ++level)
        ComputeGradients(result.mSmoothed->GetLevel(level), inSettings.mGradientSigma,
                         result.mGradientX->GetLevel(level),
                         result.mGradientY->GetLevel(level));
    return result;
}

}  // namespace IP
