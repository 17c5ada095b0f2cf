// The order of KLT's keys: the numbers of the run first, then those of every key. For a key of
// another class the answer is no: one cache holds keys of one class.

#include "KLTDescriptorDataKey.h"

#include <utility>

#include "KeyOrder.h"
#include "TVK/ContractCheck.h"

namespace DP {

void KLTDescriptorDataKey::Init(quillet::WideString inSourceID, long long inFrameNumber,
                                int inRows, int inCols, const KLTParameters& inParameters) {
    DescriptorDataKey::Init(std::move(inSourceID), inFrameNumber, inRows, inCols);
    mFrameStep = inParameters.mFrameStep;
    mMaxFeatures = inParameters.mMaxFeatures;
    mMinFeatureDistance = inParameters.mMinFeatureDistance;
    mMinFeatures = inParameters.mMinFeatures;
}

bool KLTDescriptorDataKey::IsLessThan(Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inDataKey != NULL, false);
    const Ref<KLTDescriptorDataKey> other(inDataKey);
    if (other == NULL) return false;
    const int order = OrderOfMembers(OrderedMembers(), other->OrderedMembers());
    return order != 0 ? order < 0 : DescriptorDataKey::IsLessThan(inDataKey);
}

Ref<IDescriptorDataKey> CreateKLTDescriptorDataKey(quillet::WideString inSourceID,
                                                   long long inFrameNumber, int inFrameStep,
                                                   unsigned int inMaxFeatures, int inRows,
                                                   int inColumns,
                                                   unsigned int inMinFeatureDistance,
                                                   unsigned int inMinFeatures) {
    return MakeInitialised<KLTDescriptorDataKey>(
        inSourceID, inFrameNumber, inRows, inColumns,
        KLTParameters{.mMaxFeatures = inMaxFeatures,
                      .mFrameStep = inFrameStep,
                      .mMinFeatureDistance = inMinFeatureDistance,
                      .mMinFeatures = inMinFeatures});
}

}  // namespace DP
