// RegionTrackerDescriptorDataKey: the name of one frame's tracked rectangle.

#pragma once

#include "APT/APTDescriptorDataKey.h"
#include "RegionTracker/HidesName.h"

namespace DP {

class RegionTrackerDescriptorDataKey
    : public HidesName<RegionTrackerDescriptorDataKey, APTDescriptorDataKey,
                       DescriptorDataKey> {
public:
    void Init(quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inCols,
              const APTParameters& inParameters, RegionPtr inRegion, int inRegionTag);

    RegionPtr GetRegion() const { return mRegion; }
    int GetRegionTag() const { return mRegionTag; }

    /// Left, right, top, bottom, tag, then the APT key's order.
    /// @throws TVK::NullInterfaceException for a key of another class.
    bool IsLessThan(Ref<IDescriptorDataKey> inDataKey) override;

private:
    RegionPtr mRegion;  // y upward from the bottom of the image
    int mRegionTag = 0;
};

}  // namespace DP
