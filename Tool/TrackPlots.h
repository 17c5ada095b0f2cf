// Plots of a run of tracked points.

#pragma once

#include <string>
#include <vector>

#include "TrackHistory.h"

namespace Host {

/// Writes points.png (how many live, and how old they are), lengths.png (how many frames
/// each point was followed through) and milliseconds.png; their paths begin with `inStem`.
/// @throws UserError if one cannot be written.
void WriteTrackPlots(const TrackHistory& inHistory, const std::vector<double>& inMilliseconds,
                     const std::string& inCaption, const std::string& inStem);

}  // namespace Host
