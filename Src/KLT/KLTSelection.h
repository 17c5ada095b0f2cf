// The steps of selecting features, free of state.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "DP/KLTFeature.h"
#include "image/IPImage.h"

namespace DP {

/// A candidate: its trackability, and its pixel as y times the columns plus x.
struct SelectionPoint {
    std::int32_t mValue;
    std::uint32_t mIndex;
};

/// The centres that are looked at: from the first up to, and without, the end, in steps.
struct SelectionBounds {
    std::int32_t mFirstX, mEndX;
    std::int32_t mFirstY, mEndY;
    std::int64_t mStep;
};

/// Scores the windows around the centres within the bounds by the smaller eigenvalue of
/// the matrix of their gradients, without its fraction, and writes them row by row. A value
/// that no 32-bit integer can hold becomes -2^31.
///
/// @param inBounds  every window lies in the images.
/// @param inReportTooLarge  called for each value above 2^32.
/// @return  how many points were written.
std::size_t CollectPoints(const IP::Image<float>& inGradX, const IP::Image<float>& inGradY,
                          const SelectionBounds& inBounds, int inWindowWidth,
                          int inWindowHeight, void (*inReportTooLarge)(),
                          SelectionPoint* outPoints);

/// Points by falling value, in the order of a quicksort of a fixed scheme, so that the order
/// of equal values can be relied on; sorted only as far as they are asked for.
class SortedPoints {
public:
    SortedPoints(SelectionPoint* ioPoints, std::size_t inCount);

    /// The next point, or null behind the last.
    const SelectionPoint* Next();

    /// Brings all points into their places, as `Next` would have found them.
    void Finish();

private:
    // A part of the list that is still to be sorted. Parts lie one behind the other, the
    // first one on top.
    struct Part {
        SelectionPoint* mPoints;
        std::size_t mCount;
    };

    void SortTop();

    const SelectionPoint* mNext;
    const SelectionPoint* mSortedEnd;
    std::vector<Part> mParts;
};

/// Takes the points, best first, and puts each into the next free slot of the list unless a
/// feature lies nearer than `inMinDist` in both directions. Slots that stay free are marked
/// kKLTNotFound.
///
/// @param inOverwriteAll  every slot is free; otherwise only those with a negative value,
///        and the features in the others keep their distance too.
void EnforceMinimumDistance(SortedPoints& ioPoints, int inCols, int inRows, int inMinDist,
                            int inMinEigenvalue, bool inOverwriteAll, KLTFeatureList& ioList);

/// Sets to 1 the cells of the square from `inDistance` before to `inDistance` behind
/// (`inX`, `inY`), as far as they lie in the map. A negative distance sets none.
void FillFeatureMap(std::int64_t inX, std::int64_t inY, unsigned char* ioMap, int inDistance,
                    int inCols, int inRows);

}  // namespace DP
