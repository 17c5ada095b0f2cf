// FloatGreyImageDescriptorData: the float grey image of a frame.

#pragma once

#include "DP/IFloatGreyImageDescriptor.h"
#include "ImageKind.h"

namespace DP {

class FloatGreyImageDescriptorData
    : public ImageDescriptorData<FloatGreyImageDescriptorData, IFloatGreyImageDescriptorData,
                                 float, kDescriptorDataTypeFloatGreyImage> {
public:
    IP::ImagePtr<float> GetFloatGreyImageData() override { return mImage; }
};

}  // namespace DP
