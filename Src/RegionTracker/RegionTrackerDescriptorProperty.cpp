#include "RegionTracker/RegionTrackerDescriptorProperty.h"

#include <utility>

#include "RegionTracker/RegionOf.h"

namespace DP {

void RegionTrackerDescriptorProperty::Init(quillet::WideString inSourceID,
                                           DescriptorDataType inType,
                                           const APTParameters& inParameters,
                                           RegionPtr inRegion, int inRegionTag) {
    APTDescriptorProperty::Init(std::move(inSourceID), inType, inParameters);
    mRegion = inRegion;
    mRegionTag = inRegionTag;
}

bool RegionTrackerDescriptorProperty::IsEqual(Ref<IDescriptorProperty> inOther) {
    if (!APTDescriptorProperty::IsEqual(inOther)) return false;
    const Ref<RegionTrackerDescriptorProperty> other(inOther);
    if (other == NULL || mRegionTag != other->mRegionTag) return false;
    const TVK::ParamRect<float>& mine = RegionOf(mRegion);
    const TVK::ParamRect<float>& others = RegionOf(other->mRegion);
    // Left and right as they are, top and bottom by their distance: rectangles of one size that
    // stand above each other are equal, and share an engine.
    return mine.mLeft == others.mLeft && mine.mRight == others.mRight &&
           mine.mBottom - mine.mTop == others.mBottom - others.mTop &&
           mine.mRight - mine.mLeft == others.mRight - others.mLeft;
}

Ref<IDescriptorProperty> CreateRegionTrackerDescriptorProperty(
    unsigned int inMaxFeatures, int inTrackerTag, unsigned int inMinFeatureDistance,
    unsigned int inMinFeatures, quillet::WideString inSourceID, RegionPtr inRegion,
    int inRegionTag, DescriptorDataType inType) {
    return MakeInitialised<RegionTrackerDescriptorProperty>(
        inSourceID, inType,
        APTParameters{.mMaxFeatures = inMaxFeatures,
                      .mTrackerTag = inTrackerTag,
                      .mMinFeatureDistance = inMinFeatureDistance,
                      .mMinFeatures = inMinFeatures},
        inRegion, inRegionTag);
}

}  // namespace DP
