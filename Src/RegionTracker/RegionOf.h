// RegionOf: the rectangle behind a pointer that a host may have left null.

#pragma once

#include "DP/DescriptorFactory.h"
#include "TVK/Exception.h"

namespace DP {

/// @throws TVK::NullInterfaceException for a null region.
inline const TVK::ParamRect<float>& RegionOf(const RegionPtr& inRegion) {
    if (inRegion == NULL) throw TVK::NullInterfaceException();
    return *inRegion;
}

}  // namespace DP
