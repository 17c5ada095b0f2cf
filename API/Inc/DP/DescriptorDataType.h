// The kinds of descriptor.

#pragma once

#include <cstdint>

#include "TVK/LanguageCheck.h"

namespace DP {

/// What a descriptor is. The order is that of every switch over the kinds.
enum DescriptorDataType : std::int32_t {
    kDescriptorDataTypeKLT = 0,             ///< points tracked over Gaussian pyramids
    kDescriptorDataTypeAPT = 1,             ///< points tracked by patch alignment
    kDescriptorDataTypeGreyImage = 2,       ///< an 8-bit grey image
    kDescriptorDataTypeFloatGreyImage = 3,  ///< a float grey image, 0 to 255
    kDescriptorDataTypeGraphCut = 4,        ///< a foreground selection from strokes
    kDescriptorDataTypeImagePyramid = 5,    ///< smoothed and gradient pyramids
    kDescriptorDataTypeColourPyramid = 6,   ///< a frame at halved resolutions
    kDescriptorDataTypeRegionTracker = 7,   ///< a tracked rectangle
};

/// How many kinds there are.
inline constexpr int kDescriptorDataTypeCount = 8;

}  // namespace DP
