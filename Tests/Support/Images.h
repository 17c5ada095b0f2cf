// Images for tests: filled from a frame, or with what a recycled block may hold.

#pragma once

#include <algorithm>
#include <limits>
#include <vector>

#include "image/IPImage.h"

namespace Testing {

template <class T>
IP::ImagePtr<T> ImageOf(int inCols, int inRows, const std::vector<T>& inPixels) {
    const auto image = TVK::MakeObject<IP::Image<T>>(inCols, inRows);
    std::copy(inPixels.begin(), inPixels.end(), image->GetData());
    return image;
}

/// Float pixels that show when they are read before they were written.
inline IP::ImagePtr<float> StaleImage(int inCols, int inRows) {
    const auto image = TVK::MakeObject<IP::Image<float>>(inCols, inRows);
    std::fill_n(image->GetData(), std::size_t(inCols) * std::size_t(inRows),
                std::numeric_limits<float>::signaling_NaN());
    return image;
}

template <class T>
std::vector<T> PixelsOf(const IP::ImagePtr<T>& inImage) {
    const T* const begin = inImage->GetData();
    return {begin,
            begin + std::size_t(inImage->GetColumns()) * std::size_t(inImage->GetRows())};
}

}  // namespace Testing
