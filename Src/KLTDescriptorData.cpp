#include "KLTDescriptorData.h"

#include "KindFactories.h"

namespace DP {

unsigned int KLTDescriptorData::GetDataSize() {
    if (mFeatureList == NULL) return 0;
    return static_cast<unsigned int>(mFeatureList->size() * sizeof(KLTFeature));
}

Ref<IDescriptorData> KLTDescriptorData::CloneData() {
    Ref<IDescriptorData> clone;
    FillNewData<KLTDescriptorData>(
        kDescriptorDataTypeKLT, clone, [&](KLTDescriptorData& outClone) {
            if (mFeatureList != NULL)
                outClone.SetFeatureList(TVK::MakeObject<KLTFeatureList>(*mFeatureList));
        });
    return clone;
}

Ref<IDescriptorData> MakeKLTDescriptorData() { return KLTDescriptorData::Create(); }

}  // namespace DP
