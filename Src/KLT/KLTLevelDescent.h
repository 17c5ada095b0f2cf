// KLTLevelDescent: the search of a point from the coarsest level of a pyramid down to the
// frame.
//
//     level 1    x / 4   ->  estimate           a motion of 15 pixels is one of 4 here
//                               | * 4
//     level 0    x       ->  estimate           only what this level says counts

#pragma once

#include <vector>

#include "DP/KLTFeature.h"
#include "KLT/KLTFeatureRecord.h"
#include "KLT/KLTFramePyramids.h"
#include "KLT/KLTTrackerUtils.h"
#include "KLT/KLTTrackingContext.h"

namespace DP {

/// The levels of two frames, taken out of their pyramids once for all points, and the way of
/// a point down them.
class KLTLevelDescent {
public:
    /// Keeps a reference to the context.
    KLTLevelDescent(const RequestedPyramids& inFirst, const RequestedPyramids& inSecond,
                    const TrackingContext& inContext);

    /// Whether both frames have pyramids; without them no point can be sought.
    bool HasPyramids() const { return mHasPyramids; }

    /// The second frame after smoothing; null without pyramids.
    FloatImage SmoothedSecond() const;

    /// Asks the processor for the windows of a feature whose turn comes next.
    void ReadAhead(const KLTFeature& inFeature) const;

    /// Seeks a live feature of the first frame in the second one.
    KLTFoundPoint Descend(const KLTFeature& inFeature) const;

private:
    // Image and gradients of one level of a frame; no gradients where windows make their own.
    struct Level {
        FloatImage mImage;
        FloatImage mGradX;
        FloatImage mGradY;
    };

    static std::vector<Level> LevelsOf(const RequestedPyramids& inFrame, int inLevelCount);

    const TrackingContext& mContext;
    bool mHasPyramids;
    std::vector<Level> mFirst;
    std::vector<Level> mSecond;
};

}  // namespace DP
