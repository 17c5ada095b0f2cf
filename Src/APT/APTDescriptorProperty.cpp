// Two properties are equal where all their numbers are, and then share a computer. That of a
// region derives from this one, so the kind is compared before the class.

#include "APT/APTDescriptorProperty.h"

#include <utility>

namespace DP {

void APTDescriptorProperty::Init(quillet::WideString inSourceID, DescriptorDataType inType,
                                 const APTParameters& inParameters) {
    DescriptorProperty::Init(std::move(inSourceID), inType);
    mMaxFeatures = inParameters.mMaxFeatures;
    mTrackerTag = inParameters.mTrackerTag;
    mMinFeatureDistance = inParameters.mMinFeatureDistance;
    mMinFeatures = inParameters.mMinFeatures;
    mStationaryLimit = inParameters.mStationaryLimit;
    mVerifyAgainstReference = inParameters.mVerifyAgainstReference;
}

bool APTDescriptorProperty::IsEqual(Ref<IDescriptorProperty> inOther) {
    if (GetDescriptorDataType() != inOther->GetDescriptorDataType()) return false;
    const Ref<APTDescriptorProperty> other(inOther);
    return other != NULL && DescriptorProperty::IsEqual(inOther) &&
           Members() == other->Members();
}

Ref<IDescriptorProperty> CreateAPTDescriptorProperty(
    unsigned int inMaxFeatures, int inTrackerTag, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, DescriptorDataType inType,
    float inStationaryLimit, unsigned int inVerifyAgainstReference) {
    return MakeInitialised<APTDescriptorProperty>(
        inSourceID, inType,
        APTParameters{.mMaxFeatures = inMaxFeatures,
                      .mTrackerTag = inTrackerTag,
                      .mMinFeatureDistance = inMinFeatureDistance,
                      .mMinFeatures = inMinFeatures,
                      .mStationaryLimit = inStationaryLimit,
                      .mVerifyAgainstReference = inVerifyAgainstReference});
}

}  // namespace DP
