#include "DescriptorDataCache.h"

#include <cmath>
#include <cstdint>

#include "quillet/ScopeLock.h"

namespace DP {

using quillet::threads::ScopeLock;

bool DescriptorDataCache::KeyLess::operator()(const Ref<IDescriptorDataKey>& inFirst,
                                              const Ref<IDescriptorDataKey>& inSecond) const {
    if (inFirst == NULL || inSecond == NULL) return DataKeyLess()(inFirst, inSecond);
    return inFirst->IsLessThan(inSecond);
}

bool DescriptorDataCache::GetCachedData(Ref<IDescriptorDataKey> inKey,
                                        Ref<IDescriptorData>& outData,
                                        RecursiveMutexPtr& outKeyMutex) {
    const bool found = FindData(inKey, outData);
    outKeyMutex = FindOrMakeKeyMutex(inKey);
    return found;
}

bool DescriptorDataCache::FindData(const Ref<IDescriptorDataKey>& inKey,
                                   Ref<IDescriptorData>& outData) {
    const Ref<IDescriptorData> previous = outData;  // dies when the lock is free
    const ScopeLock lock(mDataMutex);
    const auto entry = mDataMap.find(inKey);
    // Where a host's ThrowError returns, the comparator calls a null key equal to any.
    if (entry == mDataMap.end() || inKey == NULL) return false;
    outData = entry->second;
    StampNow(*outData.operator->());
    return true;
}

RecursiveMutexPtr DescriptorDataCache::FindOrMakeKeyMutex(
    const Ref<IDescriptorDataKey>& inKey) {
    const ScopeLock lock(mInFlightMutex);
    const auto entry = mInFlightMap.find(inKey);
    if (entry != mInFlightMap.end()) return entry->second;
    const auto mutex = TVK::MakeObject<quillet::threads::RecursiveMutex>();
    mInFlightMap.emplace(inKey, mutex);
    return mutex;
}

void DescriptorDataCache::StoreData(Ref<IDescriptorDataKey> inKey,
                                    Ref<IDescriptorData> inData) {
    EnterData(inKey, inData);
    ForgetKeyMutex(inKey);
}

void DescriptorDataCache::EnterData(const Ref<IDescriptorDataKey>& inKey,
                                    const Ref<IDescriptorData>& inData) {
    const ScopeLock lock(mDataMutex);
    if (mDataMap.find(inKey) != mDataMap.end()) return;
    MakeRoom();
    if (mDataMap.find(inKey) != mDataMap.end()) return;  // stored in there
    mDataMap.emplace(inKey, inData);
    mTotalDataSize += inData->GetDataSize();
    StampNow(*inData.operator->());
}

// Destructors of a host's data run in here, and may store. What they store goes in the second
// round, and makes no room of its own; those that store whenever they die get no third one: it
// would never end.
void DescriptorDataCache::MakeRoom() {
    if (mIsMakingRoom) return;
    mIsMakingRoom = true;
    for (int round = 0; round < 2 && static_cast<int>(mDataMap.size()) > mMaxEntries; ++round)
        ClearCache();
    mIsMakingRoom = false;
}

void DescriptorDataCache::ForgetKeyMutex(const Ref<IDescriptorDataKey>& inKey) {
    // Dies when the lock is free: a host's key may call from its destructor.
    decltype(mInFlightMap)::node_type gone;
    const ScopeLock lock(mInFlightMutex);
    // One entry: a key with a NaN is equal to many.
    const auto entry = mInFlightMap.find(inKey);
    if (entry != mInFlightMap.end()) gone = mInFlightMap.extract(entry);
}

// Takes no lock of its own, and so Clang does not look into it: `StoreData` holds mDataMutex
// when it calls it, and who calls it from outside sees to it that nobody else is in the cache.
int DescriptorDataCache::ClearCache() {
    // The entries die when the cache is empty already: a host's data may ask it from its
    // destructor.
    DataMap gone;
    gone.swap(mDataMap);
    mTotalDataSize = 0;
    return 0;
}

unsigned int DescriptorDataCache::GetTotalDataSize() { return mTotalDataSize.load(); }

void DescriptorDataCache::SetMaxEntries(unsigned int inMaxEntries) {
    mMaxEntries = static_cast<int>(inMaxEntries);
}

void DescriptorDataCache::StampNow(IDescriptorData& ioData) {
    const double milliseconds = std::floor(mStopwatch.ElapsedSeconds() * 1000.0);
    ioData.SetTimeStamp(static_cast<unsigned int>(static_cast<std::int64_t>(milliseconds)));
}

}  // namespace DP
