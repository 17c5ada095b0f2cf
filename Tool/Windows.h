// The windows of --interactive.

#pragma once

#include <string>

#include "HeldClip.h"
#include "KeyedRuns.h"
#include "Options.h"
#include "descriptor/Stroke.h"

namespace Host {

/// Opens a window on the picture. Left button paints foreground, right button background;
/// the selection is cut anew after each stroke. Returns the exit code.
///
/// @param inDemo  where there are strokes, they are painted by the mouse's own events; then
///        the window is saved and closed.
/// @throws UserError where there is no display, or the program was built without SDL2.
int RunStrokeWindow(const Frame& inPicture, const std::string& inName,
                    const descriptor::Strokes& inDemo, const OutputOptions& inOutput);

/// Opens a window on the frames of a clip. The left button draws a rectangle on the frame
/// that is shown, which makes it a key frame, and the run goes on from there. The key frames
/// are kept in keys.json in the output folder, and opened again from there.
///
/// @param ioRun  when the window has closed it holds the results of the whole clip.
/// @param inDemo  where there are key frames, they are drawn by the mouse's own events; then
///        the window is saved and closed.
/// @return  whether the user saved, and wants the files.
/// @throws UserError as above.
bool RunClipWindow(const HeldClip& inClip, KeyedRun& ioRun, const KeyFrames& inDemo,
                   const OutputOptions& inOutput);

}  // namespace Host
