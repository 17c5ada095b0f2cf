// APTDescriptorData: the APT features of a frame.

#pragma once

#include "DP/IAPTDescriptor.h"
#include "DescriptorObjects.h"

namespace DP {

class APTDescriptorData
    : public TVK::Object<APTDescriptorData, IAPTDescriptorData, DescriptorData> {
public:
    APTFeatureListPtr GetFeatures() override { return mFeatures; }
    void SetFeatures(APTFeatureListPtr inFeatures) { mFeatures = inFeatures; }

    /// All records, live or not.
    unsigned int GetDataSize() override { return SizeOfList(mFeatures); }

    /// The clone has a list of its own, or none if this has none.
    Ref<IDescriptorData> CloneData() override {
        Ref<IDescriptorData> clone;
        FillNewData<APTDescriptorData>(kDescriptorDataTypeAPT, clone, [&](auto& outClone) {
            outClone.SetFeatures(CopyOf(mFeatures));
        });
        return clone;
    }

private:
    APTFeatureListPtr mFeatures;
};

}  // namespace DP
