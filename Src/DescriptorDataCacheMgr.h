// DescriptorDataCacheMgr: one cache for each kind.

#pragma once

#include <cstdint>
#include <map>

#include "ClassIDs.h"
#include "DP/IDescriptorDataCacheMgr.h"
#include "TVK/SingletonGuard.h"

namespace DP {

class DescriptorDataCacheMgr
    : public TVK::Singleton<DescriptorDataCacheMgr, IDescriptorDataCacheMgr> {
public:
    Ref<IDescriptorDataCache> GetDescriptorDataCache(DescriptorDataType inType) override;
    void ClearAllCaches() override;
    unsigned int GetTotalDataSize() override;

private:
    std::map<std::int32_t, Ref<IDescriptorDataCache>> mCaches;
};

/// Lets the reference go that keeps the manager between calls.
void DropDescriptorDataCacheMgr();

}  // namespace DP
