// TrackPicture: tracked points drawn over their frame.

#pragma once

#include <string>

#include "Canvas.h"
#include "TrackHistory.h"

namespace Host {

/// The colour of a point by the frames it has lived, from blue (new) to pink (old).
Colour AgeColour(unsigned inAge);

/// Draws the frame and each live point with its trail into a box of the canvas; `inTitle`
/// stands in the upper left corner, the key to the colours in the lower left.
void DrawTracks(Canvas& ioCanvas, const Box& inWhere, const Frame& inFrame,
                const TrackHistory& inHistory, const std::string& inTitle);

}  // namespace Host
