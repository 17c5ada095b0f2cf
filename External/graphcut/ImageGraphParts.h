// What the sources of ImageGraph share.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "External/graphcut/imgraphcut.h"

namespace graphcut {

/// The capacity of a pixel that is bound to a side: practically infinite, and still finite
/// when a whole region of them adds up.
float HardCapacity(std::int32_t inMaxRegionPixels);

}  // namespace graphcut

/// A row of an area inside the graph's, in the graph's coordinates. The row's number from the
/// area's first row is `mAreaRow`, and the area's first column stands at `mAreaX`.
struct ImageGraph::GraphRow {
    std::ptrdiff_t mY;
    std::ptrdiff_t mFirstX;
    std::ptrdiff_t mEndX;
    std::ptrdiff_t mAreaRow;
    std::ptrdiff_t mAreaX;
};

// Calls `inVisit` with each row that the area has inside the graph's, from the top.
template <class Visit>
void ImageGraph::VisitRows(int inRows, int inColumns, int inLeft, int inTop,
                           Visit inVisit) const {
    if (!mNodeImage) return;
    const std::int64_t left = std::int64_t{inLeft} - mLeft;
    const std::int64_t top = std::int64_t{inTop} - mTop;
    const std::int64_t endRow = std::min<std::int64_t>(inRows, mRows - top);
    const std::int64_t firstX = std::max<std::int64_t>(0, left);
    const std::int64_t endX = std::min<std::int64_t>(mColumns, left + inColumns);
    if (firstX >= endX) return;
    for (std::int64_t row = std::max<std::int64_t>(0, -top); row < endRow; ++row)
        inVisit(GraphRow{row + top, firstX, endX, row, left});
}

// Calls `inVisit(row, column, place in the node image)` for the pixels of the area that lie
// in the graph's, in raster order; row and column count from the area's first pixel.
template <class Visit>
void ImageGraph::VisitPixels(int inRows, int inColumns, int inLeft, int inTop,
                             Visit inVisit) const {
    const std::ptrdiff_t columns = mColumns;
    VisitRows(inRows, inColumns, inLeft, inTop, [&](const GraphRow& inRow) {
        for (std::ptrdiff_t x = inRow.mFirstX; x < inRow.mEndX; ++x)
            inVisit(inRow.mAreaRow, x - inRow.mAreaX, inRow.mY * columns + x);
    });
}
