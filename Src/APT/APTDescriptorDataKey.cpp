// The order of APT's keys. Stationary limit and verification are not among the members that
// are compared: two runs that differ in these alone share their results, whichever comes
// first. A host that wants both gives their sources different names.

#include "APT/APTDescriptorDataKey.h"

#include <utility>

#include "KeyOrder.h"
#include "TVK/ContractCheck.h"

namespace DP {

void APTDescriptorDataKey::Init(quillet::WideString inSourceID, long long inFrameNumber,
                                int inRows, int inCols, const APTParameters& inParameters) {
    DescriptorDataKey::Init(std::move(inSourceID), inFrameNumber, inRows, inCols);
    mTrackerTag = inParameters.mTrackerTag;
    mMaxFeatures = inParameters.mMaxFeatures;
    mMinFeatureDistance = inParameters.mMinFeatureDistance;
    mMinFeatures = inParameters.mMinFeatures;
    mStationaryLimit = inParameters.mStationaryLimit;
    mVerifyAgainstReference = inParameters.mVerifyAgainstReference;
}

bool APTDescriptorDataKey::IsLessThan(Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inDataKey != NULL, false);
    const Ref<APTDescriptorDataKey> other(inDataKey);
    if (other == NULL) return false;
    const int order = OrderOfMembers(OrderedMembers(), other->OrderedMembers());
    return order != 0 ? order < 0 : DescriptorDataKey::IsLessThan(inDataKey);
}

Ref<IDescriptorDataKey> CreateAPTDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inTrackerTag,
    unsigned int inMaxFeatures, int inRows, int inColumns, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, float inStationaryLimit,
    unsigned int inVerifyAgainstReference) {
    return MakeInitialised<APTDescriptorDataKey>(
        inSourceID, inFrameNumber, inRows, inColumns,
        APTParameters{.mMaxFeatures = inMaxFeatures,
                      .mTrackerTag = inTrackerTag,
                      .mMinFeatureDistance = inMinFeatureDistance,
                      .mMinFeatures = inMinFeatures,
                      .mStationaryLimit = inStationaryLimit,
                      .mVerifyAgainstReference = inVerifyAgainstReference});
}

}  // namespace DP
