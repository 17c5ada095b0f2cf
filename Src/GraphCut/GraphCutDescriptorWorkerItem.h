// GraphCutDescriptorWorkerItem: makes the label image of a frame from strokes.

#pragma once

#include "DP/IGraphCutDescriptor.h"
#include "DescriptorObjects.h"
#include "InterruptibleItem.h"

namespace DP {

/// The graph that is kept between strokes is no member of an item: two items in a row work
/// on the same one.
class GraphCutDescriptorWorkerItem
    : public TVK::Object<GraphCutDescriptorWorkerItem, DescriptorWorkerItem,
                         IGraphCutDescriptorWorkerItem, InterruptibleItem> {
public:
    void SetInputs(const unsigned char* inRGBImage, unsigned int inRowBytes,
                   IP::ImagePtr<unsigned char> inForegroundStrokeImage,
                   IP::ImagePtr<unsigned char> inBackgroundStrokeImage,
                   IP::ImagePtr<unsigned char> inCurrentLabelImage) override;

    /// @throws TVK::NullInterfaceException for an item without a key.
    Ref<IDescriptorData> ComputeData() override;

private:
    Ref<IDescriptorData> Compute();

    const unsigned char* mRGBImage = nullptr;  // the host's
    unsigned int mRowBytes = 0;
    IP::ImagePtr<unsigned char> mForegroundStrokeImage;
    IP::ImagePtr<unsigned char> mBackgroundStrokeImage;
    IP::ImagePtr<unsigned char> mCurrentLabelImage;
    Ref<IDescriptorData> mResult;
};

}  // namespace DP
