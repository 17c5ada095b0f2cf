// APTDescriptorDataKey: the name of one frame's APT features.

#pragma once

#include <tuple>

#include "APT/APTParameters.h"
#include "DescriptorObjects.h"

namespace DP {

class APTDescriptorDataKey : public TVK::Object<APTDescriptorDataKey, DescriptorDataKey> {
public:
    void Init(quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inCols,
              const APTParameters& inParameters);

    int GetTrackerTag() const { return mTrackerTag; }
    unsigned int GetMaxFeatures() const { return mMaxFeatures; }
    unsigned int GetMinFeatureDistance() const { return mMinFeatureDistance; }
    unsigned int GetMinFeatures() const { return mMinFeatures; }
    float GetStationaryLimit() const { return mStationaryLimit; }
    unsigned int GetVerifyAgainstReference() const { return mVerifyAgainstReference; }

    /// Features, tag, distance, minimum, then the base's order. Stationary limit and
    /// verification take no part, on purpose: keys that differ in them alone are one key.
    bool IsLessThan(Ref<IDescriptorDataKey> inDataKey) override;

private:
    auto OrderedMembers() const {
        return std::tie(mMaxFeatures, mTrackerTag, mMinFeatureDistance, mMinFeatures);
    }

    int mTrackerTag = 0;
    unsigned int mMaxFeatures = 0;
    unsigned int mMinFeatureDistance = 0;
    unsigned int mMinFeatures = 0;
    float mStationaryLimit = 0.0f;
    unsigned int mVerifyAgainstReference = 0;
};

}  // namespace DP
