#include "KLTDescriptorDataKey.h"

#include "KeyOrder.h"
#include "TVK/ContractCheck.h"

namespace DP {

void KLTDescriptorDataKey::Init(quillet::WideString inSourceID, long long inFrameNumber,
                                int inFrameStep, unsigned int inMaxFeatures, int inRows,
                                int inCols, unsigned int inMinFeatureDistance,
                                unsigned int inMinFeatures) {
    DescriptorDataKey::Init(inSourceID, inFrameNumber, inRows, inCols);
    mFrameStep = inFrameStep;
    mMaxFeatures = inMaxFeatures;
    mMinFeatureDistance = inMinFeatureDistance;
    mMinFeatures = inMinFeatures;
}

bool KLTDescriptorDataKey::IsLessThan(Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inDataKey != NULL, false);
    const Ref<KLTDescriptorDataKey> other(inDataKey);
    if (other == NULL) return false;
    const int order = Order(mMaxFeatures, other->mMaxFeatures,                //
                            mFrameStep, other->mFrameStep,                    //
                            mMinFeatureDistance, other->mMinFeatureDistance,  //
                            mMinFeatures, other->mMinFeatures);
    return order != 0 ? order < 0 : DescriptorDataKey::IsLessThan(inDataKey);
}

}  // namespace DP
