// A rectangle, and the points in it as for APT. At the start of a run there is a rectangle
// and no list yet; without a rectangle the data counts as empty, whatever the list holds.

#include "RegionTracker/RegionTrackerDescriptorData.h"

namespace DP {

unsigned int RegionTrackerDescriptorData::GetDataSize() {
    if (mRegion == NULL) return 0;
    return APTDescriptorData::GetDataSize() +
           static_cast<unsigned int>(sizeof(TVK::ParamRect<float>));
}

Ref<IDescriptorData> RegionTrackerDescriptorData::CloneData() {
    Ref<IDescriptorData> clone;
    FillNewData<RegionTrackerDescriptorData>(
        kDescriptorDataTypeRegionTracker, clone, [&](auto& outClone) {
            outClone.SetRegionAndFeatures(CopyOf(mRegion), CopyOf(GetFeatures()));
        });
    return clone;
}

void RegionTrackerDescriptorData::SetRegionAndFeatures(RegionPtr inRegion,
                                                       APTFeatureListPtr inFeatures) {
    mRegion = inRegion;
    SetFeatures(inFeatures);
}

Ref<IRegionTrackerDescriptorData> CreateRegionDescriptorData(RegionPtr inRegion) {
    const auto data = RegionTrackerDescriptorData::Create();
    data->SetRegionAndFeatures(inRegion, {});
    return data;
}

}  // namespace DP
