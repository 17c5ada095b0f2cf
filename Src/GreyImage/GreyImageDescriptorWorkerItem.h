// GreyImageDescriptorWorkerItem: makes the 8-bit grey image of a frame.

#pragma once

#include "DP/IGreyImageDescriptor.h"
#include "ImageKind.h"

namespace DP {

class GreyImageDescriptorWorkerItem
    : public TVK::Object<GreyImageDescriptorWorkerItem, DescriptorWorkerItem,
                         IGreyImageDescriptorWorkerItem> {
public:
    void SetInputImage(const unsigned char* inCurrImage, int inRows, int inColumns,
                       int inRowBytes) override;

    /// Null if the frame cannot be converted.
    /// @throws TVK::NullInterfaceException for an item without a key.
    Ref<IDescriptorData> ComputeData() override;

private:
    HostFrame mFrame;
    Ref<IDescriptorData> mResult;
};

}  // namespace DP
