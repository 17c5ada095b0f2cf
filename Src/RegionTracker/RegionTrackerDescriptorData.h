// RegionTrackerDescriptorData: a rectangle, and the points that carry it.

#pragma once

#include "APT/APTDescriptorData.h"
#include "DP/IRegionTrackerDescriptor.h"

namespace DP {

class RegionTrackerDescriptorData
    : public TVK::Object<RegionTrackerDescriptorData, IRegionTrackerDescriptorData,
                         APTDescriptorData> {
public:
    RegionPtr GetRegion() override { return mRegion; }

    /// 0 without a rectangle, whatever the points.
    unsigned int GetDataSize() override;

    /// The clone has a list and a rectangle of its own, or none where this has none.
    Ref<IDescriptorData> CloneData() override;

    void SetRegionAndFeatures(RegionPtr inRegion, APTFeatureListPtr inFeatures);

private:
    RegionPtr mRegion;
};

}  // namespace DP
