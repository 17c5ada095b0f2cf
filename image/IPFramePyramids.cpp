// Three pyramids of one shape: the smoothed frame, and the gradients of each of its levels
// across and down. Level 0 has the frame's size; rows run from the top.

#include "image/IPFramePyramids.h"

#include "image/IPConvolveImage.h"

namespace IP {

FramePyramids ComputeFramePyramids(const FrameView& inFrame,
                                   const FramePyramidSettings& inSettings,
                                   ImagePyramidImpl<float>::LevelZero inGradients) {
    using LevelZero = ImagePyramidImpl<float>::LevelZero;
    const int cols = inFrame.mColumns;
    const int rows = inFrame.mRows;
    // Windows make their own gradients with taps for one sigma; another sigma needs planes.
    const bool leavesOut =
        inGradients == LevelZero::kLater && inSettings.mGradientSigma == kWindowGradientSigma;
    const LevelZero gradients = leavesOut ? LevelZero::kLater : LevelZero::kAllocated;
    const auto makePyramid = [&](LevelZero inLevelZero) {
        return TVK::MakeObject<ImagePyramidImpl<float>>(cols, rows, inSettings.mSubsampling,
                                                        inSettings.mLevelCount, inLevelZero);
    };
    const FramePyramids result{makePyramid(LevelZero::kAllocated), makePyramid(gradients),
                               makePyramid(gradients)};
    result.mSmoothed->ComputePyramidOfBytes(inFrame.mPixels, inSettings.mSmoothSigma,
                                            inSettings.mPyramidSigmaFactor);
    for (int level = leavesOut ? 1 : 0; level < inSettings.mLevelCount; ++level)
        ComputeGradients(result.mSmoothed->GetLevel(level), inSettings.mGradientSigma,
                         result.mGradientX->GetLevel(level),
                         result.mGradientY->GetLevel(level));
    return result;
}

bool LacksLevelZeroGradients(const FramePyramids& inPyramids) {
    return inPyramids.mGradientX != NULL && inPyramids.mGradientX->GetLevelCount() > 0 &&
           inPyramids.mGradientX->GetLevel(0) == NULL;
}

void AddLevelZeroGradients(const FramePyramids& ioPyramids, float inGradientSigma) {
    const ImagePtr<float> smoothed = ioPyramids.mSmoothed->GetLevel(0);
    const auto makeImage = [&] {
        return TVK::MakeObject<Image<float>>(smoothed->GetColumns(), smoothed->GetRows());
    };
    const ImagePtr<float> x = makeImage(), y = makeImage();
    ComputeGradients(smoothed, inGradientSigma, x, y);
    ioPyramids.mGradientX->SetLevelZero(x);
    ioPyramids.mGradientY->SetLevelZero(y);
}

}  // namespace IP
