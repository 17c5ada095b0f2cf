// The computer owns the engine, and an item has it for the time of one computation. Numbers of
// the property are copied into the engine's parameters once, when the computer is made: a
// setter that is called later takes effect with the engine's next `ApplyParams`.

#include "APT/APTDescriptorComputer.h"

#include "APT/APTDescriptorProperty.h"
#include "APT/APTDescriptorWorkerItem.h"
#include "TVK/ContractCheck.h"

namespace DP {

APTDescriptorComputer::APTDescriptorComputer() : mTracker(TVK::MakeObject<APTTracker>()) {}

Ref<IDescriptorData> APTDescriptorComputer::GetDescriptorData(
    Ref<IDescriptorWorkerItem> inDescriptorWorkerItem, bool inStoreInCache) {
    ContractCheck(inDescriptorWorkerItem != NULL, {});
    const Ref<APTDescriptorWorkerItem> item(inDescriptorWorkerItem);
    if (item != NULL) item->SetTracker(mTracker);
    return DescriptorComputer::GetDescriptorData(inDescriptorWorkerItem, inStoreInCache);
}

void APTDescriptorComputer::Configure(unsigned int inMaxFeatures, int inTrackerTag,
                                      quillet::WideString inSourceID,
                                      unsigned int inMinFeatureDistance,
                                      float inStationaryLimit,
                                      unsigned int inVerifyAgainstReference) {
    if (mTracker == NULL) return;
    SetMaxFeatures(inMaxFeatures);
    SetTrackerTag(inTrackerTag);
    mTracker->mSourceID = inSourceID;
    SetMinFeatureDistance(inMinFeatureDistance);
    SetStationaryLimit(inStationaryLimit);
    SetVerifyAgainstReference(inVerifyAgainstReference);
    mTracker->ApplyParams();
}

void APTDescriptorComputer::SetMaxFeatures(unsigned int inMaxFeatures) {
    if (mTracker != NULL) mTracker->mParams.mMaxFeatures = inMaxFeatures;
}

void APTDescriptorComputer::SetTrackerTag(int inTrackerTag) {
    if (mTracker != NULL) mTracker->mTrackerTag = inTrackerTag;
}

void APTDescriptorComputer::SetMinFeatureDistance(unsigned int inMinFeatureDistance) {
    if (mTracker != NULL) mTracker->mParams.mMinFeatureDistance = inMinFeatureDistance;
}

void APTDescriptorComputer::SetStationaryLimit(float inStationaryLimit) {
    if (mTracker != NULL) mTracker->mParams.mStationaryLimit = double{inStationaryLimit};
}

void APTDescriptorComputer::SetVerifyAgainstReference(unsigned int inVerifyAgainstReference) {
    if (mTracker != NULL)
        mTracker->mParams.mVerifyAgainstReference = inVerifyAgainstReference >= 1;
}

Ref<IDescriptorComputer> APTDescriptorComputer::CreateFor(
    const Ref<IDescriptorProperty>& inProperty) {
    const Ref<APTDescriptorProperty> property(inProperty);
    auto computer = APTDescriptorComputer::Create();
    computer->Configure(property->GetMaxFeatures(), property->GetTrackerTag(),
                        property->GetSourceID(), property->GetMinFeatureDistance(),
                        property->GetStationaryLimit(), property->GetVerifyAgainstReference());
    return computer;
}

}  // namespace DP
