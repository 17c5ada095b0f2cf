#include "Pyramid/ImagePyramidDescriptorData.h"

#include "KindFactories.h"

namespace DP {

void ImagePyramidDescriptorData::SetPyramids(IP::PyramidPtr<float> inSmoothed,
                                             IP::PyramidPtr<float> inGradientX,
                                             IP::PyramidPtr<float> inGradientY) {
    SetSmoothedPyramid(inSmoothed);
    SetGradientXPyramid(inGradientX);
    SetGradientYPyramid(inGradientY);
}

unsigned int ImagePyramidDescriptorData::GetDataSize() {
    constexpr unsigned int kPixelBytes = sizeof(float);
    unsigned int size = 0;
    for (const auto& pyramid : {mSmoothed, mGradientX, mGradientY}) {
        if (pyramid == NULL) continue;
        for (int level = 0; level < pyramid->GetLevelCount(); ++level) {
            const auto image = pyramid->GetLevel(level);
            size += static_cast<unsigned int>(image->GetColumns()) *
                    static_cast<unsigned int>(image->GetRows()) * kPixelBytes;
        }
    }
    return size;
}

Ref<IDescriptorData> MakeImagePyramidDescriptorData() {
    return ImagePyramidDescriptorData::Create();
}

}  // namespace DP
