// RegionTrackerDescriptorDataKey: the name of one frame's tracked rectangle.

#pragma once

#include "APT/APTDescriptorDataKey.h"

namespace DP {

class RegionTrackerDescriptorDataKey
    : public TVK::Object<RegionTrackerDescriptorDataKey, APTDescriptorDataKey> {
public:
    void Init(quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inCols,
              const APTParameters& inParameters, RegionPtr inRegion, int inRegionTag);

    RegionPtr GetRegion() const { return mRegion; }
    int GetRegionTag() const { return mRegionTag; }

    /// Left, right, top, bottom, tag, then the APT key's order.
    /// @throws TVK::NullInterfaceException for a key of another class.
    bool IsLessThan(Ref<IDescriptorDataKey> inDataKey) override;

    /// All rows but that of `DescriptorDataKey`.
    TVK::TVKResult QueryInterfaceNoAddRef(const TVK::InterfaceID& inID,
                                          void** outObject) override;

private:
    RegionPtr mRegion;  // y upward from the bottom of the image
    int mRegionTag = 0;
};

}  // namespace DP
