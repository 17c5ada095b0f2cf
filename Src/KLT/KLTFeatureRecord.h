// KLTFeatureRecord: what is written into the record of a feature, and nothing else.

#pragma once

#include <cstdint>

#include "DP/KLTFeature.h"
#include "KLT/KLTTrackingContext.h"
#include "image/FrameView.h"

namespace DP {

/// Where the search for a point has ended in the current frame, in pixels of level 0, y
/// downward, and a `KLTStatus` for how.
struct KLTFoundPoint {
    float mX, mY;
    std::int32_t mStatus;
};

/// A selected pixel: a new feature begins in slot `inId`. Its motion stays that of the slot's
/// last owner.
void RecordSelected(int inX, int inY, std::int32_t inValue, std::int32_t inId,
                    KLTFeature& outFeature);

/// Selection has found nothing for the slot.
void RecordNotFound(KLTFeature& outFeature);

/// The end of a search: the feature moves and grows older, or is lost. A point in the border,
/// where the convolutions left no valid data, is lost whatever its status.
void RecordTracked(const KLTFoundPoint& inPoint, const IP::FrameView& inFrame,
                   const TrackingContext& inContext, KLTFeature& ioFeature);

}  // namespace DP
