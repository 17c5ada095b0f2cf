// KLTFramePyramids: the pyramids of a frame from the descriptor system. The only file of the
// engine that knows descriptors.

#pragma once

#include "DP/IDescriptorComputer.h"
#include "DP/Ref.h"
#include "image/IPFramePyramids.h"
#include "quillet/WideString.h"

namespace DP {

/// What the descriptor system has given for a frame.
struct RequestedPyramids {
    IP::FramePyramids mPyramids;   // null where there was no frame
    bool mLacksLevelZero = false;  // the gradients of level 0 must not be read
    bool mIsNew = false;           // made by this very request, from the frame handed in
};

/// The system's computer of image pyramids for a source.
Ref<IDescriptorComputer> FindPyramidComputer(const quillet::WideString& inSourceID);

/// The pyramids of a frame, from the system's cache or into it. The view's pixels may be null
/// where the cache has them. Gradients of level 0 that nobody has asked for yet are made
/// only if `inNeedsPlanes`.
///
/// @return  null pyramids if the system has no item or no computer for them, or if the frame
///          was missing when they were made.
/// @throws TVK::NullInterfaceException if a result is no pyramids.
RequestedPyramids RequestFramePyramids(const Ref<IDescriptorComputer>& inComputer,
                                       const quillet::WideString& inSourceID, long long inFrame,
                                       const IP::FrameView& inView,
                                       const IP::FramePyramidSettings& inSettings,
                                       bool inNeedsPlanes);

}  // namespace DP
