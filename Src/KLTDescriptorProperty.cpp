#include "KLTDescriptorProperty.h"

namespace DP {

void KLTDescriptorProperty::Init(unsigned int inMaxFeatures, int inFrameStep,
                                 unsigned int inMinFeatureDistance, unsigned int inMinFeatures,
                                 quillet::WideString inSourceID, DescriptorDataType inType) {
    DescriptorProperty::Init(inSourceID, inType);
    mMaxFeatures = inMaxFeatures;
    mFrameStep = inFrameStep;
    mMinFeatureDistance = inMinFeatureDistance;
    mMinFeatures = inMinFeatures;
}

bool KLTDescriptorProperty::IsEqual(Ref<IDescriptorProperty> inOther) {
    if (GetDescriptorDataType() != inOther->GetDescriptorDataType()) return false;
    const Ref<KLTDescriptorProperty> other(inOther);
    return other != NULL && DescriptorProperty::IsEqual(inOther) &&
           mMaxFeatures == other->mMaxFeatures && mFrameStep == other->mFrameStep &&
           mMinFeatureDistance == other->mMinFeatureDistance &&
           mMinFeatures == other->mMinFeatures;
}

}  // namespace DP
