// A window to paint strokes in.

#pragma once

#include <string>
#include <vector>

#include "Options.h"
#include "RenderedScene.h"

namespace Host {

/// Opens a window on the picture. Left button paints foreground, right button background;
/// the selection is cut anew after each stroke. Returns the exit code.
///
/// @param inDemo  where there are lines, they are painted by the mouse's own events; then
///        the window is saved and closed.
/// @throws UserError where there is no display, or the program was built without SDL2.
int RunInteractive(const Frame& inPicture, const std::string& inName,
                   const std::vector<BrushLine>& inDemo, const OutputOptions& inOutput);

}  // namespace Host
