#include "RegionTracker/RegionTrackerDescriptorDataKey.h"

#include "KeyOrder.h"
#include "RegionTracker/RegionOf.h"
#include "TVK/ContractCheck.h"

namespace DP {

void RegionTrackerDescriptorDataKey::Init(quillet::WideString inSourceID,
                                          long long inFrameNumber, int inTrackerTag,
                                          unsigned int inMaxFeatures, int inRows, int inCols,
                                          RegionPtr inRegion, int inRegionTag,
                                          unsigned int inMinFeatureDistance,
                                          unsigned int inMinFeatures) {
    APTDescriptorDataKey::Init(inSourceID, inFrameNumber, inTrackerTag, inMaxFeatures, inRows,
                               inCols, inMinFeatureDistance, inMinFeatures, 0.0f, 0);
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

TVK::TVKResult RegionTrackerDescriptorDataKey::QueryInterfaceNoAddRef(
    const TVK::InterfaceID& inID, void** outObject) {
    if (inID == TVK::kIdentifierOf<DescriptorDataKey>) {
        *outObject = nullptr;
        return TVK::kTVKErrorNoInterface;
    }
    return Object::QueryInterfaceNoAddRef(inID, outObject);
}

}  // namespace DP
