// A slot is live while its value is not negative. Whatever ends a point writes -1 to its place,
// so that no reader takes a lost point for one in the corner.

#include "KLT/KLTFeatureRecord.h"

#include "KLT/KLTTrackerUtils.h"

namespace DP {
namespace {

// Identity, age and last motion stay: the slot is known by them until it is filled again.
void RecordLost(std::int32_t inStatus, KLTFeature& ioFeature) {
    ioFeature.mX = -1.0f;
    ioFeature.mY = -1.0f;
    ioFeature.mValue = inStatus;
}

}  // namespace

void RecordSelected(int inX, int inY, std::int32_t inValue, std::int32_t inId,
                    KLTFeature& outFeature) {
    outFeature.mX = static_cast<float>(inX);
    outFeature.mY = static_cast<float>(inY);
    outFeature.mValue = inValue;
    outFeature.mId = inId;
    outFeature.mAge = 0;
}

void RecordNotFound(KLTFeature& outFeature) { RecordLost(kKLTNotFound, outFeature); }

void RecordTracked(const KLTFoundPoint& inPoint, const IP::FrameView& inFrame,
                   const TrackingContext& inContext, KLTFeature& ioFeature) {
    const bool isOutside = inPoint.mStatus == kKLTOutOfBounds ||
                           IsOutOfBounds(inPoint.mX, inPoint.mY, inFrame.mColumns,
                                         inFrame.mRows, inContext.mBorderX, inContext.mBorderY);
    if (isOutside) return RecordLost(kKLTOutOfBounds, ioFeature);
    if (inPoint.mStatus != kKLTTracked) return RecordLost(inPoint.mStatus, ioFeature);
    ioFeature.mDeltaX = inPoint.mX - ioFeature.mX;
    ioFeature.mDeltaY = inPoint.mY - ioFeature.mY;
    ioFeature.mX = inPoint.mX;
    ioFeature.mY = inPoint.mY;
    ioFeature.mValue = kKLTTracked;
    // Unsigned, so that the age wraps instead of overflowing.
    ioFeature.mAge = static_cast<std::int32_t>(static_cast<std::uint32_t>(ioFeature.mAge) + 1u);
}

}  // namespace DP
