// The steps of selecting features, free of state.

#pragma once

#include <cstdint>

#include "DP/KLTFeature.h"
#include "image/IPImage.h"

namespace DP {

/// A candidate: a pixel, y downward, and its trackability.
struct SelectionPoint {
    std::int32_t mX;
    std::int32_t mY;
    std::int32_t mValue;
};

/// The centres that are looked at: from the first up to, and without, the end, in steps.
struct SelectionBounds {
    std::int32_t mFirstX, mEndX;
    std::int32_t mFirstY, mEndY;
    std::int64_t mStep;
};

/// The smaller eigenvalue of the matrix of window sums, in single precision.
float ComputeTrackability(float inGxx, float inGxy, float inGyy);

/// Sorts by falling value with a quicksort of a fixed scheme, so that equal values come in
/// an order that can be relied on.
void SortPointList(SelectionPoint* ioPoints, std::size_t inCount);

/// Walks the sorted points, best first, and puts each into the next free slot of the list
/// unless a feature lies nearer than `inMinDist` in both directions. Slots that stay free
/// are marked kKLTNotFound.
///
/// @param inOverwriteAll  every slot is free; otherwise only those with a negative value,
///        and the features in the others keep their distance too.
void EnforceMinimumDistance(const SelectionPoint* inPoints, std::size_t inCount, int inCols,
                            int inRows, int inMinDist, int inMinEigenvalue, bool inOverwriteAll,
                            KLTFeatureList& ioList);

/// Sets to 1 the cells of the square from `inDistance` before to `inDistance` behind
/// (`inX`, `inY`), as far as they lie in the map. A negative distance sets none.
void FillFeatureMap(std::int64_t inX, std::int64_t inY, unsigned char* ioMap, int inDistance,
                    int inCols, int inRows);

}  // namespace DP
