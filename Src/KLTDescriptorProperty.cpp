// Two properties are equal where all their numbers are, and then share a computer. The kind is
// asked first: a property of another kind may be of a host's class, which is then not asked
// for anything else.

#include "KLTDescriptorProperty.h"

#include <utility>

namespace DP {

void KLTDescriptorProperty::Init(quillet::WideString inSourceID, DescriptorDataType inType,
                                 const KLTParameters& inParameters) {
    DescriptorProperty::Init(std::move(inSourceID), inType);
    mMaxFeatures = inParameters.mMaxFeatures;
    mFrameStep = inParameters.mFrameStep;
    mMinFeatureDistance = inParameters.mMinFeatureDistance;
    mMinFeatures = inParameters.mMinFeatures;
}

bool KLTDescriptorProperty::IsEqual(Ref<IDescriptorProperty> inOther) {
    if (GetDescriptorDataType() != inOther->GetDescriptorDataType()) return false;
    const Ref<KLTDescriptorProperty> other(inOther);
    return other != NULL && DescriptorProperty::IsEqual(inOther) &&
           Members() == other->Members();
}

Ref<IDescriptorProperty> CreateKLTDescriptorProperty(
    unsigned int inMaxFeatures, int inFrameStep, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, DescriptorDataType inType) {
    return MakeInitialised<KLTDescriptorProperty>(
        inSourceID, inType,
        KLTParameters{.mMaxFeatures = inMaxFeatures,
                      .mFrameStep = inFrameStep,
                      .mMinFeatureDistance = inMinFeatureDistance,
                      .mMinFeatures = inMinFeatures});
}

}  // namespace DP
