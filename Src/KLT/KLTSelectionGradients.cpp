// The frame as trackers see it, smoothed, and its gradients: the Gaussian's derivative along
// one axis and the Gaussian along the other. Where the frame was smoothed for tracking a moment
// ago, that is not done again.

#include "KLT/KLTSelectionGradients.h"

#include "image/IPConvolveImage.h"

namespace DP {
namespace {

using FloatImage = IP::ImagePtr<float>;

// The frame that gradients are taken from; smoothed here unless that is done already.
FloatImage SelectionImage(const TrackingContext& inContext, const IP::FrameView& inFrame,
                          const FloatImage& inSmoothed) {
    if (inContext.mSmoothBeforeSelecting && inSmoothed != NULL) return inSmoothed;
    const auto image = TVK::MakeObject<IP::Image<float>>(inFrame.mColumns, inFrame.mRows);
    if (inContext.mSmoothBeforeSelecting)
        IP::ComputeSmoothedBytes(inFrame.mPixels, inFrame.mColumns, inFrame.mRows,
                                 SmoothSigmaOf(inContext), image);
    else
        image->ConvertFromBytes(inFrame.mPixels, inFrame.mColumns, inFrame.mRows);
    return image;
}

}  // namespace

GradientImages SelectionGradients(const TrackingContext& inContext,
                                  const IP::FrameView& inFrame, const FloatImage& inSmoothed,
                                  bool inTopsUp) {
    if (inTopsUp && inContext.mSequentialMode && inContext.mLastPyramid != NULL &&
        LastPyramidHasSize(inContext, inFrame))
        return {inContext.mLastPyramidGradX->GetLevel(0),
                inContext.mLastPyramidGradY->GetLevel(0)};
    const FloatImage image = SelectionImage(inContext, inFrame, inSmoothed);
    const auto makeImage = [&] {
        return TVK::MakeObject<IP::Image<float>>(inFrame.mColumns, inFrame.mRows);
    };
    const GradientImages result{makeImage(), makeImage()};
    IP::ComputeGradients(image, inContext.mGradSigma, result.mX, result.mY);
    return result;
}

}  // namespace DP
