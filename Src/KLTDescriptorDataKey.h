// KLTDescriptorDataKey: the name of one frame's KLT features.

#pragma once

#include <tuple>

#include "DescriptorObjects.h"
#include "KLTParameters.h"

namespace DP {

class KLTDescriptorDataKey : public TVK::Object<KLTDescriptorDataKey, DescriptorDataKey> {
public:
    void Init(quillet::WideString inSourceID, long long inFrameNumber, int inRows, int inCols,
              const KLTParameters& inParameters);

    int GetFrameStep() const { return mFrameStep; }
    unsigned int GetMaxFeatures() const { return mMaxFeatures; }
    unsigned int GetMinFeatureDistance() const { return mMinFeatureDistance; }
    unsigned int GetMinFeatures() const { return mMinFeatures; }

    /// Features, step, distance, minimum, then the base's order.
    bool IsLessThan(Ref<IDescriptorDataKey> inDataKey) override;

private:
    auto OrderedMembers() const {
        return std::tie(mMaxFeatures, mFrameStep, mMinFeatureDistance, mMinFeatures);
    }

    int mFrameStep = 0;
    unsigned int mMaxFeatures = 0;
    unsigned int mMinFeatureDistance = 0;
    unsigned int mMinFeatures = 0;
};

}  // namespace DP
