// One computer has one tracker, with the numbers of its property. Requests of one source thus
// go on with the same engine from frame to frame.

#include "KLTDescriptorComputer.h"

#include "KLTDescriptorProperty.h"
#include "KLTDescriptorWorkerItem.h"
#include "TVK/ContractCheck.h"

namespace DP {

KLTDescriptorComputer::KLTDescriptorComputer() : mTracker(TVK::MakeObject<KLTTracker>(0u)) {}

Ref<IDescriptorData> KLTDescriptorComputer::GetDescriptorData(
    Ref<IDescriptorWorkerItem> inDescriptorWorkerItem, bool inStoreInCache) {
    ContractCheck(inDescriptorWorkerItem != NULL, {});
    // The class identifier alone does not tell: a grey image's item answers to it as well.
    if (Ref<IKLTDescriptorWorkerItem>(inDescriptorWorkerItem) != NULL) {
        const Ref<KLTDescriptorWorkerItem> item(inDescriptorWorkerItem);
        if (item != NULL) item->SetTracker(mTracker);
    }
    return DescriptorComputer::GetDescriptorData(inDescriptorWorkerItem, inStoreInCache);
}

void KLTDescriptorComputer::SetMaxFeatures(unsigned int inMaxFeatures) {
    if (mTracker != NULL) mTracker->SetMaxFeatures(inMaxFeatures);
}

void KLTDescriptorComputer::SetFrameStep(int inFrameStep) {
    if (mTracker != NULL) mTracker->SetFrameStep(inFrameStep);
}

void KLTDescriptorComputer::SetSourceID(quillet::WideString inSourceID) {
    if (mTracker != NULL) mTracker->SetSourceID(inSourceID);
}

void KLTDescriptorComputer::SetMinDist(int inMinDist) {
    if (mTracker != NULL) mTracker->SetMinDist(inMinDist);
}

Ref<IDescriptorComputer> KLTDescriptorComputer::CreateFor(
    const Ref<IDescriptorProperty>& inProperty) {
    const Ref<KLTDescriptorProperty> property(inProperty);
    const auto computer = KLTDescriptorComputer::Create();
    computer->SetMaxFeatures(property->GetMaxFeatures());
    computer->SetFrameStep(property->GetFrameStep());
    computer->SetSourceID(property->GetSourceID());
    return computer;
}

}  // namespace DP
