#include "RegionTracker/RegionTrackerDescriptorData.h"

#include "KindFactories.h"

namespace DP {

unsigned int RegionTrackerDescriptorData::GetDataSize() {
    if (mRegion == NULL) return 0;
    return APTDescriptorData::GetDataSize() +
           static_cast<unsigned int>(sizeof(TVK::ParamRect<float>));
}

Ref<IDescriptorData> RegionTrackerDescriptorData::CloneData() {
    Ref<IDescriptorData> clone;
    FillNewData<RegionTrackerDescriptorData>(
        kDescriptorDataTypeRegionTracker, clone, [&](RegionTrackerDescriptorData& outClone) {
            RegionPtr region;
            APTFeatureListPtr features;
            if (mRegion != NULL) region = TVK::MakeObject<TVK::ParamRect<float>>(*mRegion);
            if (GetFeatures() != NULL)
                features = TVK::MakeObject<APTFeatureList>(*GetFeatures());
            outClone.SetRegionAndFeatures(region, features);
        });
    return clone;
}

void RegionTrackerDescriptorData::SetRegionAndFeatures(RegionPtr inRegion,
                                                       APTFeatureListPtr inFeatures) {
    mRegion = inRegion;
    SetFeatures(inFeatures);
}

Ref<IDescriptorData> MakeRegionTrackerDescriptorData() {
    return RegionTrackerDescriptorData::Create();
}

}  // namespace DP
