// GreyImageDescriptorData: the 8-bit grey image of a frame.

#pragma once

#include "DP/IGreyImageDescriptor.h"
#include "ImageKind.h"

namespace DP {

class GreyImageDescriptorData
    : public ImageDescriptorData<GreyImageDescriptorData, IGreyImageDescriptorData,
                                 unsigned char, kDescriptorDataTypeGreyImage> {
public:
    IP::ImagePtr<unsigned char> GetGreyImageData() override { return mImage; }
};

}  // namespace DP
