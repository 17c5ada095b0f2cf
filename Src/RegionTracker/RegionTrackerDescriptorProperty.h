// RegionTrackerDescriptorProperty: what a region tracker's computer computes.

#pragma once

#include "APT/APTDescriptorProperty.h"
#include "RegionTracker/HidesName.h"

namespace DP {

class RegionTrackerDescriptorProperty
    : public HidesName<RegionTrackerDescriptorProperty, APTDescriptorProperty,
                       DescriptorProperty> {
public:
    void Init(quillet::WideString inSourceID, DescriptorDataType inType,
              const APTParameters& inParameters, RegionPtr inRegion, int inRegionTag);

    RegionPtr GetRegion() const { return mRegion; }
    int GetRegionTag() const { return mRegionTag; }

    /// Regions are compared by left, right and height: where a rectangle stands in y does
    /// not matter, on purpose.
    bool IsEqual(Ref<IDescriptorProperty> inOther) override;

private:
    RegionPtr mRegion;  // y upward from the bottom of the image
    int mRegionTag = 0;
};

}  // namespace DP
