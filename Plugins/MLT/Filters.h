// The filters of the module, each as MLT makes it.

#pragma once

#include <framework/mlt.h>

namespace descriptor_mlt {

/// Null without memory.
/// @{
mlt_filter MakeTracker();
/// @}

}  // namespace descriptor_mlt
