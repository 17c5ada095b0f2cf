// Ref: a counted reference to one of the interfaces.

#pragma once

#include "DP/InterfaceIDs.h"
#include "TVK/InterfaceRef.h"

namespace DP {

/// References travel by value: an operation owns the references it is given and releases
/// them before it returns; a returned reference is new and belongs to the caller.
template <class I>
using Ref = TVK::InterfaceRef<I, I>;

}  // namespace DP
