// DescriptorDataCache: the results of one kind, and the mutexes of the keys in work.

#pragma once

#include <atomic>
#include <map>

#include "ClassIDs.h"
#include "DP/IDescriptorDataCache.h"
#include "DescriptorStopwatch.h"
#include "TVK/Object.h"
#include "quillet/RecursiveMutex.h"

namespace DP {

/// Two maps under two mutexes that no thread holds together: the results, and one mutex
/// for each key that was asked for and has not been stored since.
class DescriptorDataCache : public TVK::Object<DescriptorDataCache, IDescriptorDataCache> {
public:
    int ClearCache() override;
    bool GetCachedData(Ref<IDescriptorDataKey> inKey, Ref<IDescriptorData>& outData,
                       RecursiveMutexPtr& outKeyMutex) override;
    void StoreData(Ref<IDescriptorDataKey> inKey, Ref<IDescriptorData> inData) override;
    unsigned int GetTotalDataSize() override;

    /// Set once, before the cache is shared. Compared as a signed number.
    void SetMaxEntries(unsigned int inMaxEntries);

private:
    bool FindData(const Ref<IDescriptorDataKey>& inKey, Ref<IDescriptorData>& outData);
    RecursiveMutexPtr FindOrMakeKeyMutex(const Ref<IDescriptorDataKey>& inKey);
    void EnterData(const Ref<IDescriptorDataKey>& inKey, const Ref<IDescriptorData>& inData);
    void ForgetKeyMutex(const Ref<IDescriptorDataKey>& inKey);
    void StampNow(IDescriptorData& ioData);

    using DataMap = std::map<Ref<IDescriptorDataKey>, Ref<IDescriptorData>, DataKeyLess>;

    DataMap mDataMap;
    // Guards mDataMap, mStopwatch and the numbers, but for `ClearCache`: that takes no lock
    // of its own. `StoreData` holds this one when it calls it; who calls it from outside
    // sees to it that nobody else is in the cache.
    quillet::threads::RecursiveMutex mDataMutex;
    int mMaxEntries = 0;
    std::atomic<unsigned int> mTotalDataSize{0};  // written under mDataMutex, read without
    std::map<Ref<IDescriptorDataKey>, RecursiveMutexPtr, DataKeyLess> mInFlightMap;
    quillet::threads::RecursiveMutex mInFlightMutex;  // guards mInFlightMap
    DescriptorStopwatch mStopwatch;
};

}  // namespace DP
