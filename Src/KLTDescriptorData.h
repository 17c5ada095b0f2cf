// KLTDescriptorData: the KLT features of a frame.

#pragma once

#include "DP/IKLTDescriptor.h"
#include "DescriptorObjects.h"

namespace DP {

class KLTDescriptorData
    : public TVK::Object<KLTDescriptorData, IKLTDescriptorData, DescriptorData> {
public:
    KLTFeatureListPtr GetFeatureList() override { return mFeatureList; }
    void SetFeatureList(KLTFeatureListPtr inFeatureList) { mFeatureList = inFeatureList; }

    /// All records, live or lost.
    unsigned int GetDataSize() override { return SizeOfList(mFeatureList); }

    /// The clone has a list of its own, or none if this has none.
    Ref<IDescriptorData> CloneData() override {
        Ref<IDescriptorData> clone;
        FillNewData<KLTDescriptorData>(kDescriptorDataTypeKLT, clone, [&](auto& outClone) {
            outClone.SetFeatureList(CopyOf(mFeatureList));
        });
        return clone;
    }

private:
    KLTFeatureListPtr mFeatureList;
};

}  // namespace DP
