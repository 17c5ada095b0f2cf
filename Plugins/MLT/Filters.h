// The filters of the module, each as MLT makes it.

#pragma once

#include <framework/mlt.h>

namespace descriptor_mlt {

/// Null without memory.
/// @{
mlt_filter MakeTracker();
mlt_filter MakePoints();
mlt_filter MakeSelect();
/// @}

}  // namespace descriptor_mlt
