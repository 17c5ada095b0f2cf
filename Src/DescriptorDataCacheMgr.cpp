#include "DescriptorDataCacheMgr.h"

#include "DP/DescriptorFactory.h"
#include "DescriptorDataCache.h"
#include "Kinds.h"
#include "TVK/ContractCheck.h"
#include "quillet/ScopeLock.h"

namespace DP {
namespace {

constinit TVK::KeptRef<IDescriptorDataCacheMgr> sDataCacheMgr;

}  // namespace

quillet::threads::RecursiveMutex DescriptorDataCacheMgr::sMutex;

Ref<IDescriptorDataCache> DescriptorDataCacheMgr::GetDescriptorDataCache(
    DescriptorDataType inType) {
    const quillet::threads::ScopeLock lock(sMutex);
    const auto entry = mCaches.find(inType);
    if (entry != mCaches.end()) return entry->second;

    const Ref<DescriptorDataCache> cache = DescriptorDataCache::Create();
    if (const Kind* const kind = FindKind(inType)) {
        cache->SetMaxEntries(kind->mMaxCachedResults);
    } else {
        AssertWithMessage("DP::DescriptorDataCacheMgr::GetDescriptorDataCache",
                          "Invalid Descriptor Data Type");
    }
    return mCaches.emplace(inType, cache).first->second;
}

// This one and the next walk the caches without the lock, and so Clang does not look into
// them: the interface has the caller see to it that nobody makes a cache meanwhile.
void DescriptorDataCacheMgr::ClearAllCaches() {
    // Destructors of a host's data run in here and may call back: the walk holds the cache
    // and finds its place anew, and the caches leave the list before they go. What was
    // stored meanwhile goes as well.
    while (!mCaches.empty()) {
        for (auto entry = mCaches.begin(); entry != mCaches.end();) {
            const std::int32_t type = entry->first;
            {  // perhaps the last reference: the keys in work die with it, and may call too
                const Ref<IDescriptorDataCache> cache = entry->second;
                cache->ClearCache();
            }
            entry = mCaches.upper_bound(type);
        }
        std::map<std::int32_t, Ref<IDescriptorDataCache>> gone;
        gone.swap(mCaches);
        for (const auto& [type, cache] : gone)  // a host may hold one that was filled anew
            cache->ClearCache();
    }
}

unsigned int DescriptorDataCacheMgr::GetTotalDataSize() {
    unsigned int total = 0;
    for (const auto& [type, cache] : mCaches)
        total += cache->GetTotalDataSize();
    return total;
}

Ref<IDescriptorDataCacheMgr> CreateDescriptorDataCacheMgr() {
    return sDataCacheMgr.GetOrMake<DescriptorDataCacheMgr>();
}

void DropDescriptorDataCacheMgr() { sDataCacheMgr.Set(nullptr); }

}  // namespace DP
