// KLTDescriptorProperty: what a KLT computer computes.

#pragma once

#include <tuple>

#include "DescriptorObjects.h"
#include "KLTParameters.h"

namespace DP {

class KLTDescriptorProperty : public TVK::Object<KLTDescriptorProperty, DescriptorProperty> {
public:
    void Init(quillet::WideString inSourceID, DescriptorDataType inType,
              const KLTParameters& inParameters);

    unsigned int GetMaxFeatures() const { return mMaxFeatures; }
    int GetFrameStep() const { return mFrameStep; }
    unsigned int GetMinFeatureDistance() const { return mMinFeatureDistance; }
    unsigned int GetMinFeatures() const { return mMinFeatures; }

    bool IsEqual(Ref<IDescriptorProperty> inOther) override;

private:
    auto Members() const {
        return std::tie(mMaxFeatures, mFrameStep, mMinFeatureDistance, mMinFeatures);
    }

    unsigned int mMaxFeatures = 0;
    int mFrameStep = 0;
    unsigned int mMinFeatureDistance = 0;  // only compared: the tracker keeps its own
    unsigned int mMinFeatures = 0;         // only compared: the key's steers selection
};

}  // namespace DP
