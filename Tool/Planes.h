// Masks as the library's images, and back.

#pragma once

#include <algorithm>

#include "RenderedScene.h"
#include "image/IPImage.h"

namespace Host {

inline IP::ImagePtr<unsigned char> ToImage(const Mask& inMask) {
    auto image = TVK::MakeObject<IP::Image<unsigned char>>(inMask.mWidth, inMask.mHeight);
    std::copy(inMask.mBytes.begin(), inMask.mBytes.end(), image->GetData());
    return image;
}

inline Mask ToMask(const IP::Image<unsigned char>& inImage) {
    Mask mask(inImage.GetColumns(), inImage.GetRows());
    std::copy_n(inImage.GetData(), mask.mBytes.size(), mask.mBytes.begin());
    return mask;
}

}  // namespace Host
