// APTDescriptorProperty: what an APT computer computes.

#pragma once

#include <tuple>

#include "APT/APTParameters.h"
#include "DescriptorObjects.h"

namespace DP {

class APTDescriptorProperty : public TVK::Object<APTDescriptorProperty, DescriptorProperty> {
public:
    void Init(quillet::WideString inSourceID, DescriptorDataType inType,
              const APTParameters& inParameters);

    unsigned int GetMaxFeatures() const { return mMaxFeatures; }
    int GetTrackerTag() const { return mTrackerTag; }
    unsigned int GetMinFeatureDistance() const { return mMinFeatureDistance; }
    unsigned int GetMinFeatures() const { return mMinFeatures; }
    float GetStationaryLimit() const { return mStationaryLimit; }
    unsigned int GetVerifyAgainstReference() const { return mVerifyAgainstReference; }

    bool IsEqual(Ref<IDescriptorProperty> inOther) override;

private:
    auto Members() const {
        return std::tie(mMaxFeatures, mTrackerTag, mMinFeatureDistance, mMinFeatures,
                        mStationaryLimit, mVerifyAgainstReference);
    }

    unsigned int mMaxFeatures = 0;
    int mTrackerTag = 0;
    unsigned int mMinFeatureDistance = 0;
    unsigned int mMinFeatures = 0;  // only compared: the key's steers replenishing
    float mStationaryLimit = 0.0f;
    unsigned int mVerifyAgainstReference = 0;
};

}  // namespace DP
