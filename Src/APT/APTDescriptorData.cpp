#include "APT/APTDescriptorData.h"

#include "KindFactories.h"

namespace DP {

unsigned int APTDescriptorData::GetDataSize() {
    if (mFeatures == NULL) return 0;
    return static_cast<unsigned int>(mFeatures->size() * sizeof(APTFeature));
}

Ref<IDescriptorData> APTDescriptorData::CloneData() {
    Ref<IDescriptorData> clone;
    FillNewData<APTDescriptorData>(
        kDescriptorDataTypeAPT, clone, [&](APTDescriptorData& outClone) {
            if (mFeatures != NULL)
                outClone.SetFeatures(TVK::MakeObject<APTFeatureList>(*mFeatures));
        });
    return clone;
}

Ref<IDescriptorData> MakeAPTDescriptorData() { return APTDescriptorData::Create(); }

}  // namespace DP
