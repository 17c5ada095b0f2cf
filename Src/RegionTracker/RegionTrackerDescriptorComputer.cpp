// The computer owns the engine. The rectangle travels with the data: the engine keeps nothing
// of it from frame to frame.

#include "RegionTracker/RegionTrackerDescriptorComputer.h"

#include "RegionTracker/RegionTrackerDescriptorProperty.h"
#include "RegionTracker/RegionTrackerDescriptorWorkerItem.h"
#include "TVK/ContractCheck.h"

namespace DP {

void RegionTrackerDescriptorComputer::Configure(unsigned int inMaxFeatures, int inTrackerTag,
                                                quillet::WideString inSourceID,
                                                unsigned int inMinFeatureDistance) {
    mTracker->mParams.mMaxFeatures = inMaxFeatures;
    mTracker->mTrackerTag = inTrackerTag;
    mTracker->mSourceID = inSourceID;
    mTracker->mParams.mMinFeatureDistance = inMinFeatureDistance;
    mTracker->ApplyParams();
}

Ref<IDescriptorData> RegionTrackerDescriptorComputer::GetDescriptorData(
    Ref<IDescriptorWorkerItem> inDescriptorWorkerItem, bool inStoreInCache) {
    ContractCheck(inDescriptorWorkerItem != NULL, {});
    const Ref<RegionTrackerDescriptorWorkerItem> item(inDescriptorWorkerItem);
    if (item != NULL) item->SetTracker(mTracker);
    return DescriptorComputer::GetDescriptorData(inDescriptorWorkerItem, inStoreInCache);
}

Ref<IDescriptorComputer> RegionTrackerDescriptorComputer::CreateFor(
    const Ref<IDescriptorProperty>& inProperty) {
    const Ref<RegionTrackerDescriptorProperty> property(inProperty);
    const auto computer = RegionTrackerDescriptorComputer::Create();
    computer->Configure(property->GetMaxFeatures(), property->GetTrackerTag(),
                        property->GetSourceID(), property->GetMinFeatureDistance());
    return computer;
}

}  // namespace DP
