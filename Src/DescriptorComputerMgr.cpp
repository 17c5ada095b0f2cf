#include "DescriptorComputerMgr.h"

#include <algorithm>

#include "DP/DescriptorFactory.h"
#include "DescriptorComputer.h"
#include "KindFactories.h"
#include "TVK/ContractCheck.h"
#include "quillet/ScopeLock.h"

namespace DP {
namespace {

constinit TVK::KeptRef<IDescriptorComputerMgr> sComputerMgr;

// A new computer set up from its property, or null for a kind that there is not.
Ref<IDescriptorComputer> MakeComputer(const Ref<IDescriptorProperty>& inProperty) {
    switch (inProperty->GetDescriptorDataType()) {
        case kDescriptorDataTypeKLT:
            return MakeKLTDescriptorComputer(inProperty);
        case kDescriptorDataTypeAPT:
            return MakeAPTDescriptorComputer(inProperty);
        case kDescriptorDataTypeGreyImage:
        case kDescriptorDataTypeFloatGreyImage:
        case kDescriptorDataTypeGraphCut:
        case kDescriptorDataTypeImagePyramid:
        case kDescriptorDataTypeColourPyramid:
            return DescriptorComputer::Create();
        case kDescriptorDataTypeRegionTracker:
            return MakeRegionTrackerDescriptorComputer(inProperty);
        default:
            AssertWithMessage("DP::DescriptorComputerMgr::GetDescriptorComputer",
                              "Unsupported Descriptor Type !!!");
            return {};
    }
}

}  // namespace

Ref<IDescriptorComputer> DescriptorComputerMgr::GetDescriptorComputer(
    Ref<IDescriptorProperty> inDescriptorProperty) {
    ContractCheck(inDescriptorProperty != NULL, {});
    const quillet::threads::ScopeLock lock(mMutex);

    // The incoming property does the comparing: a tracker's looks at more than a plain one.
    for (const auto& computer : mComputers)
        if (inDescriptorProperty->IsEqual(computer->GetDescriptorProperty())) return computer;

    const Ref<IDescriptorComputer> made = MakeComputer(inDescriptorProperty);
    if (made == NULL) return {};
    Ref<DescriptorComputer>(made)->SetDescriptorProperty(inDescriptorProperty);
    mComputers.push_back(made);
    return made;
}

void DescriptorComputerMgr::RemoveDescriptorComputers(quillet::WideString inSourceID) {
    const quillet::threads::ScopeLock lock(mMutex);
    const auto first = std::find_if(
        mComputers.begin(), mComputers.end(),
        [&](const auto& inComputer) { return inComputer->GetSourceID() == inSourceID; });
    if (first != mComputers.end()) mComputers.erase(first);
}

void DescriptorComputerMgr::RemoveAllDescriptorComputers() {
    const quillet::threads::ScopeLock lock(mMutex);
    mComputers.clear();
}

Ref<IDescriptorComputerMgr> CreateDescriptorComputerMgr() {
    return sComputerMgr.GetOrMake<DescriptorComputerMgr>();
}

void DropDescriptorComputerMgr() { sComputerMgr.Set(nullptr); }

}  // namespace DP
