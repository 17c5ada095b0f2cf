// GraphCutDescriptorData: the label image of a frame.

#pragma once

#include "DP/IGraphCutDescriptor.h"
#include "ImageKind.h"

namespace DP {

class GraphCutDescriptorData
    : public ImageDescriptorData<GraphCutDescriptorData, IGraphCutDescriptorData, unsigned char,
                                 kDescriptorDataTypeGraphCut> {
public:
    IP::ImagePtr<unsigned char> GetLabelImage() override { return mImage; }
    void SetLabelImage(IP::ImagePtr<unsigned char> inImage) { SetImage(inImage); }
};

}  // namespace DP
