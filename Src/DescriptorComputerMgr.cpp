#include "DescriptorComputerMgr.h"

#include <algorithm>

#include "DP/DescriptorFactory.h"
#include "DescriptorComputer.h"
#include "Kinds.h"
#include "TVK/ContractCheck.h"
#include "quillet/ScopeLock.h"

namespace DP {
namespace {

constinit TVK::KeptRef<IDescriptorComputerMgr> sComputerMgr;

// A new computer set up from its property, or null for a kind that there is not.
Ref<IDescriptorComputer> MakeComputer(const Ref<IDescriptorProperty>& inProperty) {
    if (const Kind* const kind = FindKind(inProperty->GetDescriptorDataType()))
        return kind->mMakeComputer(inProperty);
    AssertWithMessage("DP::DescriptorComputerMgr::GetDescriptorComputer",
                      "Unsupported Descriptor Type !!!");
    return {};
}

}  // namespace

Ref<IDescriptorComputer> DescriptorComputerMgr::GetDescriptorComputer(
    Ref<IDescriptorProperty> inDescriptorProperty) {
    ContractCheck(inDescriptorProperty != NULL, {});
    const quillet::threads::ScopeLock lock(mMutex);

    // The incoming property does the comparing: a tracker's looks at more than a plain one.
    // It may be a host's and call back, so the walk holds the computer and no iterator.
    for (std::size_t at = 0; at < mComputers.size(); ++at) {
        const Ref<IDescriptorComputer> computer = mComputers[at];
        if (inDescriptorProperty->IsEqual(computer->GetDescriptorProperty())) return computer;
    }

    const Ref<IDescriptorComputer> made = MakeComputer(inDescriptorProperty);
    if (made == NULL) return {};
    Ref<DescriptorComputer>(made)->SetDescriptorProperty(inDescriptorProperty);
    mComputers.push_back(made);
    return made;
}

void DescriptorComputerMgr::RemoveDescriptorComputers(quillet::WideString inSourceID) {
    const quillet::threads::ScopeLock lock(mMutex);
    for (std::size_t at = 0; at < mComputers.size(); ++at) {
        const Ref<IDescriptorComputer> computer = mComputers[at];
        if (computer->GetSourceID() != inSourceID) continue;
        // Looked for again: a host's property that was just asked may have changed the list.
        const auto found = std::find(mComputers.begin(), mComputers.end(), computer);
        if (found != mComputers.end()) mComputers.erase(found);
        return;  // the computer goes with `computer`, when the list is whole again
    }
}

void DescriptorComputerMgr::RemoveAllDescriptorComputers() {
    const quillet::threads::ScopeLock lock(mMutex);
    // Out of the list first: destructors of a host's properties run here, and they may use
    // the manager. What they make goes as well.
    while (!mComputers.empty()) {
        std::vector<Ref<IDescriptorComputer>> removed;
        removed.swap(mComputers);
        for (auto& computer : removed)
            computer = nullptr;
    }
}

Ref<IDescriptorComputerMgr> CreateDescriptorComputerMgr() {
    return sComputerMgr.GetOrMake<DescriptorComputerMgr>();
}

void DropDescriptorComputerMgr() { sComputerMgr.Set(nullptr); }

}  // namespace DP
