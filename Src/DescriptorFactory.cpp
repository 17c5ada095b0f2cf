// The exported functions that belong to no kind; those of a kind stand with its classes.

#include "DP/DescriptorFactory.h"

#include "DescriptorComputerMgr.h"
#include "DescriptorDataCacheMgr.h"
#include "DescriptorObjects.h"
#include "Kinds.h"
#include "TVK/ContractCheck.h"

namespace DP {

// ---- Properties ----------------------------------------------------------------------

Ref<IDescriptorProperty> CreateDescriptorProperty(quillet::WideString inSourceID,
                                                  DescriptorDataType inType) {
    return MakeInitialised<DescriptorProperty>(inSourceID, inType);
}

// ---- Keys ----------------------------------------------------------------------------

Ref<IDescriptorDataKey> CreateDescriptorDataKey(quillet::WideString inSourceID,
                                                long long inFrameNumber, int inRows,
                                                int inColumns) {
    return MakeInitialised<DescriptorDataKey>(inSourceID, inFrameNumber, inRows, inColumns);
}

// ---- Objects -------------------------------------------------------------------------

Ref<IDescriptorData> CreateDescriptorData(DescriptorDataType inType) {
    if (const Kind* const kind = FindKind(inType)) return kind->mMakeData();
    AssertWithMessage("DP::CreateDescriptorData", "Invalid Data Type");
    return {};
}

Ref<IDescriptorWorkerItem> CreateDescriptorWorkerItem(DescriptorDataType inType) {
    if (const Kind* const kind = FindKind(inType)) return kind->mMakeWorkerItem();
    AssertWithMessage("DP::CreateDescriptorWorkerItem", "Descriptor Type Unavailable !!!!");
    return {};
}

// ---- Services ------------------------------------------------------------------------

Ref<IDescriptorComputer> CreateDescriptorComputer(Ref<IDescriptorProperty> inProperty) {
    const Ref<IDescriptorComputerMgr> computerMgr = CreateDescriptorComputerMgr();
    if (computerMgr == NULL) return {};
    return computerMgr->GetDescriptorComputer(inProperty);
}

void FlushAllDescriptorResources() {
    const Ref<IDescriptorDataCacheMgr> cacheMgr = CreateDescriptorDataCacheMgr();
    if (cacheMgr != NULL) cacheMgr->ClearAllCaches();
    DropDescriptorDataCacheMgr();

    const Ref<IDescriptorComputerMgr> computerMgr = CreateDescriptorComputerMgr();
    if (computerMgr != NULL) computerMgr->RemoveAllDescriptorComputers();
    DropDescriptorComputerMgr();
    // Here the two local references go, the computer manager's first; with no other
    // holder the managers go with them.
}

}  // namespace DP
