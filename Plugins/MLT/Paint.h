// Shapes round what is followed, and what hides it.

#pragma once

#include <framework/mlt.h>

#include <vector>

#include "Picture.h"
#include "descriptor/Frame.h"

namespace descriptor_mlt {

/// As the property `shape` counts them.
enum class Shape { rectangle, ellipse, arrow };
/// As the property `blur_type` counts them.
enum class Hiding { median, gaussian, pixelate, fill, none };

/// Draws the shape of a rectangle (in the picture's pixels, y downward), smooth at its edges.
/// @param inWidth  of the line in pixels; negative fills the shape, 0 draws nothing. The
///                 arrow points at the middle of the upper edge, or of the lower one where
///                 there is no room above.
void DrawShape(const Picture& ioPicture, const descriptor::Rect& inRect, Shape inShape,
               double inWidth, mlt_color inColour);

/// Draws a line through some places (in the picture's pixels from its corner) and a dot of
/// twice its width at the last one.
void DrawTrail(const Picture& ioPicture, const std::vector<descriptor::Position>& inLine,
               double inWidth, mlt_color inColour);

/// Hides what is inside the shape; an arrow hides its rectangle. All but `fill` need the
/// format rgba.
/// @param inAmount  radius in pixels, or the side of a pixelated block.
void Hide(const Picture& ioPicture, const descriptor::Rect& inRect, Shape inShape, int inAmount,
          Hiding inHiding, mlt_color inColour);

}  // namespace descriptor_mlt
