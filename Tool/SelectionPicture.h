// Pictures of a selection.

#pragma once

#include "Canvas.h"
#include "Mask.h"
#include "Options.h"
#include "descriptor/Stroke.h"

namespace Host {

/// What is not selected fades; the selection gets a bright outline.
void DrawSelection(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                   const Mask& inLabels);

/// Strokes over whatever is there: foreground green, background magenta.
void DrawStrokes(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                 const descriptor::Strokes& inStrokes);

/// The selection alone, on a checkerboard.
void DrawCutout(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                const Mask& inLabels);

/// Writes labels.png, white where selected, and cutout.png, by a canvas of the picture's size.
void WriteSelection(Canvas& ioCanvas, const Frame& inPicture, const Mask& inLabels,
                    const OutputOptions& inOutput);

/// The borders between regions, bright where the selection ends.
void DrawRegions(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                 const unsigned* inRegionOfPixels, const Mask& inLabels);

}  // namespace Host
