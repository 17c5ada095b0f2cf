// RegionTrackerDescriptorProperty: what a region tracker's computer computes.

#pragma once

#include "APT/APTDescriptorProperty.h"

namespace DP {

class RegionTrackerDescriptorProperty
    : public TVK::Object<RegionTrackerDescriptorProperty, APTDescriptorProperty> {
public:
    void Init(quillet::WideString inSourceID, DescriptorDataType inType,
              const APTParameters& inParameters, RegionPtr inRegion, int inRegionTag);

    RegionPtr GetRegion() const { return mRegion; }
    int GetRegionTag() const { return mRegionTag; }

    /// Regions are compared by left, right and height: where a rectangle stands in y does
    /// not matter, on purpose.
    bool IsEqual(Ref<IDescriptorProperty> inOther) override;

    /// All rows but that of `DescriptorProperty`.
    TVK::TVKResult QueryInterfaceNoAddRef(const TVK::InterfaceID& inID,
                                          void** outObject) override;

private:
    RegionPtr mRegion;  // y upward from the bottom of the image
    int mRegionTag = 0;
};

}  // namespace DP
