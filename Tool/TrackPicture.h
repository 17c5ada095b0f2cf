// TrackPicture: tracked points drawn over their frame.

#pragma once

#include <string>

#include "Canvas.h"
#include "TrackHistory.h"

namespace Host {

/// What is drawn of a tracker in one frame: a copy, so that the run may go on meanwhile.
struct TrackView {
    std::string mTitle;
    std::vector<TrackHistory::Trail> mTrails;
};

/// The colour of a point by the frames it has lived, from blue (new) to pink (100 and more).
/// Steps are even in the ratio of ages, so that short clips show differences too.
Colour AgeColour(unsigned inAge);

/// Draws the frame and each live point with its trail into a box of the canvas; the title
/// stands in the upper left corner, the key to the colours in the lower left.
void DrawTracks(Canvas& ioCanvas, const Box& inWhere, const Frame& inFrame,
                const TrackView& inView);

}  // namespace Host
