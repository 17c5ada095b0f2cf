#include "APT/APTDescriptorDataKey.h"

#include "KeyOrder.h"
#include "TVK/ContractCheck.h"

namespace DP {

void APTDescriptorDataKey::Init(quillet::WideString inSourceID, long long inFrameNumber,
                                int inTrackerTag, unsigned int inMaxFeatures, int inRows,
                                int inCols, unsigned int inMinFeatureDistance,
                                unsigned int inMinFeatures, float inStationaryLimit,
                                unsigned int inVerifyAgainstReference) {
    DescriptorDataKey::Init(inSourceID, inFrameNumber, inRows, inCols);
    mTrackerTag = inTrackerTag;
    mMaxFeatures = inMaxFeatures;
    mMinFeatureDistance = inMinFeatureDistance;
    mMinFeatures = inMinFeatures;
    mStationaryLimit = inStationaryLimit;
    mVerifyAgainstReference = inVerifyAgainstReference;
}

bool APTDescriptorDataKey::IsLessThan(Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inDataKey != NULL, false);
    const Ref<APTDescriptorDataKey> other(inDataKey);
    if (other == NULL) return false;
    const int order = Order(mMaxFeatures, other->mMaxFeatures,                //
                            mTrackerTag, other->mTrackerTag,                  //
                            mMinFeatureDistance, other->mMinFeatureDistance,  //
                            mMinFeatures, other->mMinFeatures);
    return order != 0 ? order < 0 : DescriptorDataKey::IsLessThan(inDataKey);
}

}  // namespace DP
