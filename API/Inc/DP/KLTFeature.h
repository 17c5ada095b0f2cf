// KLTFeature: one point that the KLT tracker follows.

#pragma once

#include <cstdint>
#include <vector>

#include "TVK/ObjectPtr.h"

namespace DP {

/// What a negative `KLTFeature::mValue` says; 0 and above is a live feature.
enum KLTStatus : std::int32_t {
    kKLTTracked = 0,         ///< found again in this frame
    kKLTNotFound = -1,       ///< empty slot: selection found nothing for it
    kKLTSmallDet = -2,       ///< too little texture to tell where the point went
    kKLTMaxIterations = -3,  ///< the search did not settle
    kKLTOutOfBounds = -4,    ///< left the usable part of the image
    kKLTLargeResidue = -5,   ///< found nothing that looks like it
};

/// One slot of a feature list. A feature keeps its slot for as long as it lives: slot i of
/// two successive frames is the same point, until a lost slot is filled again. That can be
/// seen by `mAge`, which then starts at 0.
///
/// Positions are in pixels, x to the right, **y downward from the top row**; the middle of
/// a pixel is a whole number.
///
/// Ownership: a plain record; the list that holds it is read-only once a request has
///   returned it.
/// Threads: none of its own.
/// Errors: a lost slot says why in `mValue`. **A new record is all zeros, which reads as
///   live.**
/// Frozen: the order and the size of the members are binary interface.
struct KLTFeature {
    float mX = 0.0f;  ///< -1 when lost
    float mY = 0.0f;  ///< -1 when lost
    /// Trackability at selection, 0 after a tracking step, or a negative `KLTStatus`.
    std::int32_t mValue = 0;
    std::int32_t mReserved0 = 0;  ///< not used
    std::int32_t mId = 0;         ///< the slot at selection
    std::int32_t mAge = 0;        ///< successful tracking steps since selection
    /// Motion of the last successful step. Selection does not touch it: a slot that is
    /// filled again keeps the motion of its last owner until the first step.
    /// @{
    float mDeltaX = 0.0f;
    float mDeltaY = 0.0f;
    /// @}
    std::int32_t mReserved1 = 0;  ///< not used
    std::int32_t mReserved2 = 0;  ///< not used
};

static_assert(sizeof(KLTFeature) == 40);

/// As many slots as the property's maximum.
using KLTFeatureList = std::vector<KLTFeature>;
/// A list that is shared.
using KLTFeatureListPtr = TVK::ObjectPtr<KLTFeatureList>;

}  // namespace DP
