// DescriptorComputerMgr: the live computers, one for each distinct property.

#pragma once

#include <vector>

#include "ClassIDs.h"
#include "DP/IDescriptorComputerMgr.h"
#include "TVK/SingletonGuard.h"
#include "quillet/RecursiveMutex.h"
#include "quillet/ThreadAnnotations.h"

namespace DP {

class DescriptorComputerMgr
    : public TVK::Singleton<DescriptorComputerMgr, IDescriptorComputerMgr> {
public:
    Ref<IDescriptorComputer> GetDescriptorComputer(
        Ref<IDescriptorProperty> inDescriptorProperty) override;
    void RemoveDescriptorComputers(quillet::WideString inSourceID) override;
    void RemoveAllDescriptorComputers() override;

private:
    std::vector<Ref<IDescriptorComputer>> mComputers  // in order of creation
        DP_GUARDED_BY(mMutex);
    quillet::threads::RecursiveMutex mMutex;
};

/// Lets the reference go that keeps the manager between calls.
void DropDescriptorComputerMgr();

}  // namespace DP
