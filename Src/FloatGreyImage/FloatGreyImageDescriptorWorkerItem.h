// FloatGreyImageDescriptorWorkerItem: makes the float grey image of a frame.

#pragma once

#include "DP/IFloatGreyImageDescriptor.h"
#include "ImageKind.h"

namespace DP {

class FloatGreyImageDescriptorWorkerItem
    : public TVK::Object<FloatGreyImageDescriptorWorkerItem, DescriptorWorkerItem,
                         IFloatGreyImageDescriptorWorkerItem> {
public:
    void SetInputImage(const unsigned char* inCurrImage, int inRows, int inColumns,
                       int inRowBytes) override;

    /// Null if the frame cannot be converted.
    Ref<IDescriptorData> ComputeData() override;

private:
    HostFrame mFrame;
    Ref<IDescriptorData> mResult;
};

}  // namespace DP
