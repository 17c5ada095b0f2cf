// DescriptorDataCache: the results of one kind, and the mutexes of the keys in work.

#pragma once

#include <atomic>
#include <map>

#include "ClassIDs.h"
#include "DP/IDescriptorDataCache.h"
#include "DescriptorStopwatch.h"
#include "TVK/Object.h"
#include "quillet/RecursiveMutex.h"
#include "quillet/ThreadAnnotations.h"

namespace DP {

/// Two maps under two mutexes that nothing of the library's own holds together: the results,
/// and one mutex for each key that was asked for and has not been stored since.
class DescriptorDataCache : public TVK::Object<DescriptorDataCache, IDescriptorDataCache> {
public:
    int ClearCache() override DP_NO_THREAD_SAFETY_ANALYSIS;
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
    void MakeRoom() DP_REQUIRES(mDataMutex);
    void ForgetKeyMutex(const Ref<IDescriptorDataKey>& inKey);
    void StampNow(IDescriptorData& ioData) DP_REQUIRES(mDataMutex);

    // The order of DataKeyLess, without counting both keys once more in each comparison.
    struct KeyLess {
        bool operator()(const Ref<IDescriptorDataKey>& inFirst,
                        const Ref<IDescriptorDataKey>& inSecond) const;
    };
    using DataMap = std::map<Ref<IDescriptorDataKey>, Ref<IDescriptorData>, KeyLess>;

    // The order is part of the layout: a mutex dies before the map that it guards.
    DataMap mDataMap DP_GUARDED_BY(mDataMutex);
    quillet::threads::RecursiveMutex mDataMutex;
    int mMaxEntries = 0;
    std::atomic<unsigned int> mTotalDataSize{0};  // written under mDataMutex, read without
    std::map<Ref<IDescriptorDataKey>, RecursiveMutexPtr, KeyLess> mInFlightMap
        DP_GUARDED_BY(mInFlightMutex);
    quillet::threads::RecursiveMutex mInFlightMutex;
    DescriptorStopwatch mStopwatch DP_GUARDED_BY(mDataMutex);
    bool mIsMakingRoom DP_GUARDED_BY(mDataMutex) = false;
};

}  // namespace DP
