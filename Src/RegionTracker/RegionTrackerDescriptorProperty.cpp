#include "RegionTracker/RegionTrackerDescriptorProperty.h"

#include "RegionTracker/RegionOf.h"

namespace DP {

void RegionTrackerDescriptorProperty::Init(unsigned int inMaxFeatures, int inTrackerTag,
                                           unsigned int inMinFeatureDistance,
                                           unsigned int inMinFeatures,
                                           quillet::WideString inSourceID, RegionPtr inRegion,
                                           int inRegionTag, DescriptorDataType inType) {
    APTDescriptorProperty::Init(inMaxFeatures, inTrackerTag, inMinFeatureDistance,
                                inMinFeatures, inSourceID, inType, 0.0f, 0);
    mRegion = inRegion;
    mRegionTag = inRegionTag;
}

bool RegionTrackerDescriptorProperty::IsEqual(Ref<IDescriptorProperty> inOther) {
    if (!APTDescriptorProperty::IsEqual(inOther)) return false;
    const Ref<RegionTrackerDescriptorProperty> other(inOther);
    if (other == NULL || mRegionTag != other->mRegionTag) return false;
    const TVK::ParamRect<float>& mine = RegionOf(mRegion);
    const TVK::ParamRect<float>& others = RegionOf(other->mRegion);
    return mine.mLeft == others.mLeft && mine.mRight == others.mRight &&
           mine.mBottom - mine.mTop == others.mBottom - others.mTop &&
           mine.mRight - mine.mLeft == others.mRight - others.mLeft;
}

TVK::TVKResult RegionTrackerDescriptorProperty::QueryInterfaceNoAddRef(
    const TVK::InterfaceID& inID, void** outObject) {
    if (inID == TVK::kIdentifierOf<DescriptorProperty>) {
        *outObject = nullptr;
        return TVK::kTVKErrorNoInterface;
    }
    return Object::QueryInterfaceNoAddRef(inID, outObject);
}

}  // namespace DP
