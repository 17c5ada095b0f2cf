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

/// The rows that an area has inside the graph's, from the top; for a loop over them.
class ImageGraph::GraphRows {
public:
    GraphRows(const ImageGraph& inGraph, int inRows, int inColumns, int inLeft, int inTop)
        : mLeft(std::int64_t{inLeft} - inGraph.mLeft),
          mTop(std::int64_t{inTop} - inGraph.mTop),
          mFirstX(std::max<std::int64_t>(0, mLeft)),
          mEndX(std::min<std::int64_t>(inGraph.mColumns, mLeft + inColumns)),
          mFirst(std::max<std::int64_t>(0, -mTop)),
          mEnd(std::min<std::int64_t>(inRows, inGraph.mRows - mTop)) {
        if (!inGraph.mNodeImage || mFirstX >= mEndX || mEnd < mFirst) mEnd = mFirst;
    }

    class Iterator {
    public:
        Iterator(const GraphRows& inRows, std::int64_t inRow) : mRows(inRows), mRow(inRow) {}
        GraphRow operator*() const {
            return {mRow + mRows.mTop, mRows.mFirstX, mRows.mEndX, mRow, mRows.mLeft};
        }
        Iterator& operator++() {
            ++mRow;
            return *this;
        }
        bool operator!=(const Iterator& inOther) const { return mRow != inOther.mRow; }

    private:
        const GraphRows& mRows;
        std::int64_t mRow;
    };
    Iterator begin() const { return {*this, mFirst}; }
    Iterator end() const { return {*this, mEnd}; }

private:
    std::int64_t mLeft;
    std::int64_t mTop;
    std::int64_t mFirstX;
    std::int64_t mEndX;
    std::int64_t mFirst;
    std::int64_t mEnd;
};

// Calls `inVisit(row, column, index in the node image)` for the pixels of the area that lie
// in the graph's, in raster order; row and column count from the area's first pixel.
template <class Visit>
void ImageGraph::VisitPixels(int inRows, int inColumns, int inLeft, int inTop,
                             Visit inVisit) const {
    for (const GraphRow row : GraphRows(*this, inRows, inColumns, inLeft, inTop))
        for (std::ptrdiff_t x = row.mFirstX; x < row.mEndX; ++x)
            inVisit(row.mAreaRow, x - row.mAreaX, row.mY * mColumns + x);
}

// Calls `inVisit(index in the node image)` for the pixels of a region in raster order: they
// lie in the window from the seed's row downward.
template <class Visit>
void ImageGraph::VisitRegion(unsigned int inNode, Visit inVisit) const {
    const std::ptrdiff_t seed = mRegions[inNode - kFirstRegion].mSeed;
    const std::ptrdiff_t seedY = seed / mColumns, seedX = seed % mColumns;
    const std::ptrdiff_t radius = mRegionRadius;
    const std::ptrdiff_t left = std::max<std::ptrdiff_t>(0, seedX - radius);
    const std::ptrdiff_t right = std::min<std::ptrdiff_t>(mColumns - 1, seedX + radius);
    const std::ptrdiff_t bottom = std::min<std::ptrdiff_t>(mRows - 1, seedY + radius);
    for (std::ptrdiff_t y = seedY; y <= bottom; ++y)
        for (std::ptrdiff_t x = left; x <= right; ++x)
            if (mNodeImage[y * mColumns + x] == inNode) inVisit(y * mColumns + x);
}
