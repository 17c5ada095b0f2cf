#include "APT/APTDescriptorProperty.h"

namespace DP {

void APTDescriptorProperty::Init(unsigned int inMaxFeatures, int inTrackerTag,
                                 unsigned int inMinFeatureDistance, unsigned int inMinFeatures,
                                 quillet::WideString inSourceID, DescriptorDataType inType,
                                 float inStationaryLimit,
                                 unsigned int inVerifyAgainstReference) {
    DescriptorProperty::Init(inSourceID, inType);
    mMaxFeatures = inMaxFeatures;
    mTrackerTag = inTrackerTag;
    mMinFeatureDistance = inMinFeatureDistance;
    mMinFeatures = inMinFeatures;
    mStationaryLimit = inStationaryLimit;
    mVerifyAgainstReference = inVerifyAgainstReference;
}

bool APTDescriptorProperty::IsEqual(Ref<IDescriptorProperty> inOther) {
    if (GetDescriptorDataType() != inOther->GetDescriptorDataType()) return false;
    const Ref<APTDescriptorProperty> other(inOther);
    return other != NULL && DescriptorProperty::IsEqual(inOther) &&
           mMaxFeatures == other->mMaxFeatures && mTrackerTag == other->mTrackerTag &&
           mMinFeatureDistance == other->mMinFeatureDistance &&
           mMinFeatures == other->mMinFeatures && mStationaryLimit == other->mStationaryLimit &&
           mVerifyAgainstReference == other->mVerifyAgainstReference;
}

}  // namespace DP
