#include "DescriptorComputer.h"

#include "DP/DescriptorFactory.h"
#include "DescriptorObjects.h"
#include "TVK/ContractCheck.h"
#include "quillet/ScopeLock.h"

namespace DP {
namespace {

// Null where the item is no worker item of the library's, or comes to nothing.
Ref<IDescriptorData> Compute(const Ref<IDescriptorWorkerItem>& inItem) {
    const Ref<DescriptorWorkerItem> item(inItem);
    return item != NULL ? item->ComputeData() : Ref<IDescriptorData>();
}

}  // namespace

Ref<IDescriptorData> DescriptorComputer::GetDescriptorData(
    Ref<IDescriptorWorkerItem> inDescriptorWorkerItem, bool inStoreInCache) {
    ContractCheck(inDescriptorWorkerItem != NULL, {});

    Ref<IDescriptorData> result;
    const Ref<IDescriptorDataCacheMgr> cacheMgr = CreateDescriptorDataCacheMgr();
    Ref<IDescriptorDataCache> cache;
    if (cacheMgr != NULL) cache = cacheMgr->GetDescriptorDataCache(GetDescriptorDataType());

    // First look, without the key's lock: a hit waits for nobody's computation.
    RecursiveMutexPtr keyMutex;
    if (cache != NULL &&
        cache->GetCachedData(inDescriptorWorkerItem->GetDataKey(), result, keyMutex))
        return result;

    // One thread computes; those that waited for it find its result in the second look.
    // The mutex stays alive through `keyMutex` when its entry in the cache is erased.
    if (keyMutex == NULL) throw TVK::NullInterfaceException();
    const quillet::threads::ScopeLock lock(*keyMutex);
    RecursiveMutexPtr sameMutex;
    if (cache->GetCachedData(inDescriptorWorkerItem->GetDataKey(), result, sameMutex))
        return result;

    result = Compute(inDescriptorWorkerItem);
    if (result != NULL && inStoreInCache)
        cache->StoreData(inDescriptorWorkerItem->GetDataKey(), result);
    return result;
}

quillet::WideString DescriptorComputer::GetSourceID() {
    return mProperty != NULL ? mProperty->GetSourceID() : quillet::WideString();
}

DescriptorDataType DescriptorComputer::GetDescriptorDataType() {
    return mProperty->GetDescriptorDataType();
}

Ref<IDescriptorProperty> DescriptorComputer::GetDescriptorProperty() { return mProperty; }

void DescriptorComputer::SetDescriptorProperty(Ref<IDescriptorProperty> inProperty) {
    mProperty = inProperty;
}

}  // namespace DP
