// Boxes as text: "x,y,w,h", y downward.

#pragma once

#include <string>
#include <vector>

#include "Geometry.h"

namespace Host {

/// @throws UsageError unless the text is four numbers with a width and height above 0.
Box ParseBox(const std::string& inText);

/// One box a line.
/// @throws UserError for a file that cannot be read, is empty, or has another line in it.
std::vector<Box> ReadBoxes(const std::string& inFile);

}  // namespace Host
