// APTFeature: one point that the APT tracker follows.

#pragma once

#include <cstdint>
#include <vector>

#include "TVK/ObjectPtr.h"

namespace DP {

/// What `APTFeature::mStatus` says. 0 and above is a live point; 1 or more is a point
/// selected in this very frame, and the value is the frame number + 1. Negative values are
/// free slots, which a later selection may fill; -2, -3 and -4 stand for one frame and
/// read -1 in the next.
enum APTFeatureStatus : std::int32_t {
    kAPTFeatureTracked = 0,          ///< carried over from the previous frame
    kAPTFeatureInactive = -1,        ///< no point here, or one dropped for not moving
    kAPTFeatureLost = -2,            ///< the patch was not found again
    kAPTFeatureVerifyFailed = -3,    ///< differs from its first patch; see `mCorrelation`
    kAPTFeatureLowCorrelation = -4,  ///< correlates too little with its first patch
};

/// One tracked point, or a free slot. Positions are pixels of the image: x is the column,
/// y the row, **counted downward from the top row**, and (0, 0) is the middle of the first
/// pixel. A default-built record is a free slot.
///
/// Ownership: a plain value.
/// Threads: none of its own.
/// Errors: none; a point that cannot be followed says so in `mStatus` alone.
/// Frozen: fields, order and size are binary interface.
struct APTFeature {
    float mX = 0.0f;                             ///< column
    float mY = 0.0f;                             ///< row
    std::int32_t mStatus = kAPTFeatureInactive;  ///< see `APTFeatureStatus`
    float mCorrelation = 0.0f;     ///< with the first patch; stays 0 without verification
    std::uint32_t mReserved0 = 0;  ///< not used
    std::uint32_t mAge = 0;        ///< frames it was tracked through; 0 on a new point
    /// Motion since the previous frame; written, like the age, on a successful step only.
    /// @{
    float mDeltaX = 0.0f;
    float mDeltaY = 0.0f;
    /// @}
    float mReserved1 = 0.0f;     ///< not used
    bool mReservedFlag = false;  ///< not used
};

static_assert(sizeof(APTFeature) == 40);

/// A list is an array of slots and no set of points: slot i of two successive frames is
/// the same point until the slot is filled anew. Test `mStatus` of every record.
using APTFeatureList = std::vector<APTFeature>;
/// A list that is shared.
using APTFeatureListPtr = TVK::ObjectPtr<APTFeatureList>;

}  // namespace DP
