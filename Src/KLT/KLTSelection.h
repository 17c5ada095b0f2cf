// The steps of selecting features, free of state.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "DP/KLTFeature.h"
#include "KLT/KLTTrackingContext.h"
#include "TVK/ParamRect.h"
#include "image/FrameView.h"
#include "image/IPImage.h"

namespace DP {

/// Candidates: the score of each, and its pixel as y times the columns plus x. The
/// values stand by themselves because sorting mostly looks at them alone.
struct PointList {
    std::int32_t* mValues;
    std::uint32_t* mIndices;

    PointList operator+(std::size_t inCount) const {
        return {mValues + inCount, mIndices + inCount};
    }
    void Swap(std::size_t inLeft, std::size_t inRight) const {
        std::swap(mValues[inLeft], mValues[inRight]);
        std::swap(mIndices[inLeft], mIndices[inRight]);
    }
};

/// One of them.
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

/// Where windows lie inside both the region, which counts y **upward from the bottom of the
/// image**, and the image.
SelectionBounds BoundsOf(const TVK::ParamRect<float>& inRegion, const IP::FrameView& inFrame,
                         const TrackingContext& inContext);

/// Scores the windows around the centres within the bounds by the smaller eigenvalue of
/// the matrix of their gradients, without its fraction, and writes them row by row. A value
/// that no 32-bit integer can hold becomes -2^31.
///
/// @param inBounds  every window lies in the images.
/// @param inReportTooLarge  called for each value above 2^32.
/// @return  how many points were written.
std::size_t CollectPoints(const IP::Image<float>& inGradX, const IP::Image<float>& inGradY,
                          const SelectionBounds& inBounds, int inWindowWidth,
                          int inWindowHeight, void (*inReportTooLarge)(), PointList outPoints);

/// Points by falling value, in the order of a quicksort of a fixed scheme, so that the order
/// of equal values can be relied on; sorted only as far as that shows. The step
/// `SortPointList`, taken as the points are walked; `Finish` takes the rest of it.
class SortedPoints {
public:
    SortedPoints(PointList ioPoints, std::size_t inCount);

    /// Gives the next point in the order whose pixel is 0 in the map. What is not 0 once must
    /// stay so. Returns false behind the last.
    bool NextFree(const unsigned char* inMap, SelectionPoint& outPoint);

    /// Brings all points into their places. There is no next one after that.
    void Finish();

private:
    // A part of the list. Parts lie one behind the other.
    struct Part {
        PointList mPoints;
        std::size_t mCount;
    };

    bool ListFree(const unsigned char* inMap);
    int FindBest(const unsigned char* inMap, std::size_t& outBest);
    void SplitPart();

    std::vector<Part> mParts;   // still to be walked, the first one on top
    std::vector<Part> mPassed;  // walked, in no order inside

    // Of the first part, where they are listed: its free points, which the map may have
    // closed since.
    bool mIsListed = false;
    std::array<SelectionPoint, 128> mFree;
    std::size_t mFreeCount = 0;
    double mFreeShare = 1.0;            // of the points looked at last
    std::int32_t mHighest = INT32_MAX;  // points above have had their turn
};

/// Takes the points, best first, and puts each into the next free slot of the list unless a
/// feature lies nearer than `inMinDist` in both directions. Slots that stay free are marked
/// kKLTNotFound.
///
/// @param inOverwriteAll  every slot is free; otherwise only those with a negative value,
///        and the features in the others keep their distance too.
void EnforceMinimumDistance(SortedPoints& ioPoints, int inCols, int inRows, int inMinDist,
                            int inMinEigenvalue, bool inOverwriteAll, KLTFeatureList& ioList);

/// Makes a region's list from its points.
///
/// @param inKept  the list whose live features stay, or null to overwrite all; may lead to
///        the output.
void FillList(SortedPoints& ioPoints, const IP::FrameView& inFrame,
              const TrackingContext& inContext, unsigned int inMaxFeatures,
              const KLTFeatureListPtr* inKept, KLTFeatureList& ioList);

/// Sets to 1 the cells of the square from `inDistance` before to `inDistance` behind
/// (`inX`, `inY`), as far as they lie in the map. A negative distance sets none.
void FillFeatureMap(std::int64_t inX, std::int64_t inY, unsigned char* ioMap, int inDistance,
                    int inCols, int inRows);

}  // namespace DP
