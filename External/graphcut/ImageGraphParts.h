// What the sources of ImageGraph share.

#pragma once

#include <algorithm>
#include <cstdint>

#include "External/graphcut/imgraphcut.h"

namespace graphcut {

/// The capacity of a pixel that is bound to a side: practically infinite, and still finite
/// when a whole region of them adds up.
float HardCapacity(std::int32_t inMaxRegionPixels);

}  // namespace graphcut

// Calls `inVisit(row, column, place in the node image)` for the pixels of the area that lie
// in the graph's, in raster order; row and column count from the area's first pixel.
template <class Visit>
void ImageGraph::VisitPixels(int inRows, int inColumns, int inLeft, int inTop,
                             Visit inVisit) const {
    if (!mNodeImage) return;
    const std::int64_t left = std::int64_t{inLeft} - mLeft;
    const std::int64_t top = std::int64_t{inTop} - mTop;
    const std::int64_t firstRow = std::max<std::int64_t>(0, -top);
    const std::int64_t endRow = std::min<std::int64_t>(inRows, mRows - top);
    const std::int64_t firstColumn = std::max<std::int64_t>(0, -left);
    const std::int64_t endColumn = std::min<std::int64_t>(inColumns, mColumns - left);
    for (std::int64_t row = firstRow; row < endRow; ++row)
        for (std::int64_t column = firstColumn; column < endColumn; ++column)
            inVisit(row, column, (row + top) * mColumns + column + left);
}
