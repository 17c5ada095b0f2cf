// KLTSelectionGradients: the planes in which corners are sought.

#pragma once

#include "KLT/KLTTrackingContext.h"
#include "image/FrameView.h"
#include "image/IPImage.h"

namespace DP {

/// Derivatives of a frame along x (to the right) and y (downward), as large as the frame.
struct GradientImages {
    IP::ImagePtr<float> mX;
    IP::ImagePtr<float> mY;
};

/// The gradients that are scored.
///
/// @param inSmoothed  the frame after smoothing, where it is at hand; else null.
/// @param inTopsUp  in sequential mode a top-up scores the frame that the context keeps, if
///        that has this one's size.
GradientImages SelectionGradients(const TrackingContext& inContext,
                                  const IP::FrameView& inFrame,
                                  const IP::ImagePtr<float>& inSmoothed, bool inTopsUp);

}  // namespace DP
