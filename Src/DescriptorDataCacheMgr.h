// DescriptorDataCacheMgr: one cache for each kind.

#pragma once

#include <cstdint>
#include <map>

#include "ClassIDs.h"
#include "DP/IDescriptorDataCacheMgr.h"
#include "TVK/SingletonGuard.h"
#include "quillet/RecursiveMutex.h"
#include "quillet/ThreadAnnotations.h"

namespace DP {

class DescriptorDataCacheMgr
    : public TVK::Singleton<DescriptorDataCacheMgr, IDescriptorDataCacheMgr> {
public:
    Ref<IDescriptorDataCache> GetDescriptorDataCache(DescriptorDataType inType) override;
    void ClearAllCaches() override DP_NO_THREAD_SAFETY_ANALYSIS;
    unsigned int GetTotalDataSize() override DP_NO_THREAD_SAFETY_ANALYSIS;

private:
    // Static, since it outlives the manager's teardowns.
    static quillet::threads::RecursiveMutex sMutex;
    std::map<std::int32_t, Ref<IDescriptorDataCache>> mCaches DP_GUARDED_BY(sMutex);
};

/// Lets the reference go that keeps the manager between calls.
void DropDescriptorDataCacheMgr();

}  // namespace DP
