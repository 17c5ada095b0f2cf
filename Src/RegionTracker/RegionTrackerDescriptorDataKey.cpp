// The order of region keys: the rectangle that the run began with, its tag, then as for APT.
// It is not the rectangle of the frame, which is the result.

#include "RegionTracker/RegionTrackerDescriptorDataKey.h"

#include <utility>

#include "KeyOrder.h"
#include "RegionTracker/RegionOf.h"
#include "TVK/ContractCheck.h"

namespace DP {

void RegionTrackerDescriptorDataKey::Init(quillet::WideString inSourceID,
                                          long long inFrameNumber, int inRows, int inCols,
                                          const APTParameters& inParameters, RegionPtr inRegion,
                                          int inRegionTag) {
    APTDescriptorDataKey::Init(std::move(inSourceID), inFrameNumber, inRows, inCols,
                               inParameters);
    mRegion = inRegion;
    mRegionTag = inRegionTag;
}

bool RegionTrackerDescriptorDataKey::IsLessThan(Ref<IDescriptorDataKey> inDataKey) {
    ContractCheck(inDataKey != NULL, false);
    const Ref<RegionTrackerDescriptorDataKey> other(inDataKey);
    const TVK::ParamRect<float>& others = RegionOf(other->mRegion);
    const TVK::ParamRect<float>& mine = RegionOf(mRegion);
    const int order = Order(mine.mLeft, others.mLeft,      //
                            mine.mRight, others.mRight,    //
                            mine.mTop, others.mTop,        //
                            mine.mBottom, others.mBottom,  //
                            mRegionTag, other->mRegionTag);
    return order != 0 ? order < 0 : APTDescriptorDataKey::IsLessThan(inDataKey);
}

Ref<IDescriptorDataKey> CreateRegionTrackerDescriptorDataKey(
    quillet::WideString inSourceID, long long inFrameNumber, int inTrackerTag,
    unsigned int inMaxFeatures, int inRows, int inColumns, RegionPtr inRegion, int inRegionTag,
    unsigned int inMinFeatureDistance, unsigned int inMinFeatures) {
    return MakeInitialised<RegionTrackerDescriptorDataKey>(
        inSourceID, inFrameNumber, inRows, inColumns,
        APTParameters{.mMaxFeatures = inMaxFeatures,
                      .mTrackerTag = inTrackerTag,
                      .mMinFeatureDistance = inMinFeatureDistance,
                      .mMinFeatures = inMinFeatures},
        inRegion, inRegionTag);
}

}  // namespace DP
