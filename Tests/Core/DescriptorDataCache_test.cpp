// One kind's cache: hits, mutexes, eviction, the running size, and what a null or bad key
// leaves behind.

#include "DescriptorDataCache.h"

#include <chrono>
#include <future>
#include <thread>

#include "DP/DescriptorFactory.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Support/Items.h"
#include "Support/StartLine.h"
#include "Support/Test.h"
#include "platform/Clock.h"
#include "quillet/Error.h"

#if !defined(_WIN32)  // whose libraries keep to their own clocks

namespace {

// The clocks of this program, in place of the foundation's: they stand still while there is
// a `StoppedClock`, and go on when the test says so.
bool sIsStopped = false;
std::int64_t sNanoseconds = 0;

struct StoppedClock {
    StoppedClock() { sIsStopped = true; }
    ~StoppedClock() { sIsStopped = false; }
};

std::int64_t Now() {
    return sIsStopped ? sNanoseconds
                      : std::chrono::steady_clock::now().time_since_epoch().count();
}

}  // namespace

bool platform::QueryPerformanceCounter(std::int64_t& outCounter) {
    outCounter = Now();
    return true;
}
bool platform::QueryPerformanceFrequency(std::int64_t& outCountsPerSecond) {
    outCountsPerSecond = 1'000'000'000;
    return true;
}
std::uint32_t platform::GetTickCount() { return std::uint32_t(Now() / 1'000'000); }

#endif

namespace {

using namespace DP;
using namespace Testing;

Ref<IDescriptorDataKey> KeyOf(long long inFrame) {
    return CreateDescriptorDataKey(Wide("clip"), inFrame, 2, 3);
}

class Cache : public testing::Test {
protected:
    Cache() { mCache->SetMaxEntries(15); }

    bool Has(long long inFrame) {
        Ref<IDescriptorData> data;
        RecursiveMutexPtr mutex;
        return mCache->GetCachedData(KeyOf(inFrame), data, mutex);
    }
    RecursiveMutexPtr MutexOf(long long inFrame) {
        Ref<IDescriptorData> data;
        RecursiveMutexPtr mutex;
        mCache->GetCachedData(KeyOf(inFrame), data, mutex);
        return mutex;
    }

    TVK::InterfaceRef<DescriptorDataCache> mCache = DescriptorDataCache::Create();
};

TEST_F(Cache, HitGivesTheStoredObjectAndMissLeavesTheReferenceAlone) {
    const auto stored = CountedData::Make();
    mCache->StoreData(KeyOf(1), stored);
    Ref<IDescriptorData> data;
    RecursiveMutexPtr mutex;
    EXPECT_TRUE(mCache->GetCachedData(KeyOf(1), data, mutex));
    EXPECT_EQ(data, stored);
    EXPECT_TRUE(mutex != NULL);
    EXPECT_FALSE(mCache->GetCachedData(KeyOf(2), data, mutex));
    EXPECT_EQ(data, stored);
    EXPECT_TRUE(mutex != NULL);
}

TEST_F(Cache, FirstResultStaysAndIsCountedOnce) {
    const auto first = CountedData::Make(10);
    mCache->StoreData(KeyOf(1), first);
    mCache->StoreData(KeyOf(1), CountedData::Make(1000));
    Ref<IDescriptorData> data;
    RecursiveMutexPtr mutex;
    mCache->GetCachedData(KeyOf(1), data, mutex);
    EXPECT_EQ(data, first);
    EXPECT_EQ(mCache->GetTotalDataSize(), 10u);
}

TEST_F(Cache, StoreBeyondTheLimitDropsEveryEntryFirst) {
    for (int frame = 0; frame < 16; ++frame)
        mCache->StoreData(KeyOf(frame), CountedData::Make(5));
    for (int frame = 0; frame < 16; ++frame)
        EXPECT_TRUE(Has(frame)) << frame;
    EXPECT_EQ(mCache->GetTotalDataSize(), 80u);

    mCache->StoreData(KeyOf(16), CountedData::Make(7));
    for (int frame = 0; frame < 16; ++frame)
        EXPECT_FALSE(Has(frame)) << frame;
    EXPECT_TRUE(Has(16));
    EXPECT_EQ(mCache->GetTotalDataSize(), 7u);
    EXPECT_EQ(CountedData::Alive(), 1);
}

TEST_F(Cache, AKeyKeepsItsMutexUntilAResultIsStored) {
    const auto before = MutexOf(1);
    EXPECT_EQ(MutexOf(1), before);
    EXPECT_FALSE(MutexOf(2) == before);
    mCache->ClearCache();
    EXPECT_EQ(MutexOf(1), before) << "clearing leaves the keys in work alone";
    mCache->StoreData(KeyOf(1), CountedData::Make());
    const auto after = MutexOf(1);
    EXPECT_FALSE(after == before) << "a hit makes a new one";
    EXPECT_EQ(MutexOf(1), after);
}

// Milliseconds since the cache was built, the rest cut off.
#if !defined(_WIN32)
TEST_F(Cache, StoreAndHitStampTheDataInMilliseconds) {
    const StoppedClock clock;
    const auto cache = DescriptorDataCache::Create();
    cache->SetMaxEntries(15);
    const auto data = CountedData::Make();
    const auto stamp = [&] {
        unsigned int time = 0;
        data->GetTimeStamp(time);
        return time;
    };
    sNanoseconds += 5'999'999;
    cache->StoreData(KeyOf(1), data);
    EXPECT_EQ(stamp(), 5u);
    sNanoseconds += 2;
    Ref<IDescriptorData> hit;
    RecursiveMutexPtr mutex;
    cache->GetCachedData(KeyOf(1), hit, mutex);
    EXPECT_EQ(stamp(), 6u);
    cache->GetCachedData(KeyOf(2), hit, mutex);
    sNanoseconds += 1'000'000;
    cache->StoreData(KeyOf(1), CountedData::Make());
    EXPECT_EQ(stamp(), 6u) << "a miss and a second result stamp nothing";
}
#endif

// A NaN is equal to every number, so a key with one stands for many; a store under it may
// take the mutex of one of them, and of no more.
TEST_F(Cache, StoreUnderANaNKeyTakesOneMutexAtMost) {
    const auto keyOf = [](float inSigma) {
        return CreateImagePyramidDescriptorDataKey(Wide("clip"), 1, inSigma, 1, 1, 4, 2, 8, 8);
    };
    const auto mutexOf = [&](float inSigma) {
        Ref<IDescriptorData> data;
        RecursiveMutexPtr mutex;
        DescriptorDataCache& cache = *mCache.operator->();
        cache.GetCachedData(keyOf(inSigma), data, mutex);
        return mutex;
    };
    std::vector<RecursiveMutexPtr> before;
    for (int sigma = 1; sigma <= 4; ++sigma)
        before.push_back(mutexOf(float(sigma)));
    mCache->StoreData(keyOf(std::numeric_limits<float>::quiet_NaN()), CountedData::Make());
    mCache->ClearCache();
    int changed = 0;
    for (int sigma = 1; sigma <= 4; ++sigma)
        changed += !(mutexOf(float(sigma)) == before[std::size_t(sigma) - 1]);
    EXPECT_LE(changed, 1);
}

// What a null key does where there is nothing to compare it with.
TEST_F(Cache, NullKeyIsStoredIntoAnEmptyCacheAndSpoilsItUntilCleared) {
    const RecordedReports reports;
    mCache->StoreData(nullptr, CountedData::Make());
    EXPECT_THROW(Has(1), quillet::config::ReportedError);
    mCache->ClearCache();
    EXPECT_FALSE(Has(1));
}

// A host whose ThrowError returns: the null key is reported, and is no hit.
TEST_F(Cache, NullKeyIsNoHitWhereAHostsProcedureReturns) {
    const RecordedReports reports;
    mCache->StoreData(KeyOf(1), CountedData::Make());
    const ThrowErrorReturns host;
    Ref<IDescriptorData> data;
    RecursiveMutexPtr mutex;
    EXPECT_FALSE(mCache->GetCachedData(nullptr, data, mutex));
    EXPECT_TRUE(data == NULL);
    EXPECT_FALSE(reports.Contracts().empty());
}

TEST_F(Cache, NullDataThrowsAfterItsEntryWasMadeAndLocksNothing) {
    const auto mutex = MutexOf(1);
    EXPECT_THROW(mCache->StoreData(KeyOf(1), nullptr), TVK::NullInterfaceException);
    EXPECT_THROW(Has(1), TVK::NullInterfaceException);
    // From another thread: it would hang if a lock had stayed behind.
    std::thread([&] {
        mCache->StoreData(KeyOf(2), CountedData::Make());
        EXPECT_TRUE(Has(2));
    }).join();
    mCache->ClearCache();
    EXPECT_EQ(MutexOf(1), mutex) << "the key is still in work";
}

TEST_F(Cache, NullKeyBreaksTheContractOnceTheMapHasAnEntryAndLocksNothing) {
    const RecordedReports reports;
    mCache->StoreData(KeyOf(1), CountedData::Make());
    Ref<IDescriptorData> data;
    RecursiveMutexPtr mutex;
    EXPECT_THROW(mCache->GetCachedData(nullptr, data, mutex), quillet::config::ReportedError);
    EXPECT_THROW(mCache->StoreData(nullptr, CountedData::Make()),
                 quillet::config::ReportedError);
    std::thread([&] { EXPECT_TRUE(Has(1)); }).join();
    for (const auto& report : reports.Contracts())
        EXPECT_TRUE(report.mText == "inFirstDataKey != NULL" ||
                    report.mText == "inSecondDataKey != NULL");
    EXPECT_EQ(CountedData::Alive(), 1);
}

// It enters the null key among the keys in work; every later lookup then throws.
TEST_F(Cache, NullKeyOnAnEmptyCacheStaysBehind) {
    const RecordedReports reports;
    Ref<IDescriptorData> data;
    RecursiveMutexPtr mutex;
    EXPECT_FALSE(mCache->GetCachedData(nullptr, data, mutex));
    EXPECT_THROW(Has(1), quillet::config::ReportedError);
    mCache->ClearCache();
    EXPECT_THROW(Has(1), quillet::config::ReportedError) << "only a new cache is free of it";
}

TEST_F(Cache, OneThreadAtATimeLooksAtTheData) {
    Crossing crossing;
    const auto stored = WatchedKey::Create();
    stored->Init(Wide("clip"), 1, 2, 3);
    stored->mCrossing = &crossing;
    mCache->StoreData(stored, CountedData::Make());
    std::promise<void> begun;
    std::thread reader([&] {
        begun.set_value();
        for (int i = 0; i < 20; ++i)
            EXPECT_TRUE(Has(1));
    });
    begun.get_future().wait();
    for (int i = 0; i < 20; ++i)
        mCache->StoreData(KeyOf(1), CountedData::Make());
    reader.join();
    EXPECT_FALSE(crossing.HaveMet());
}

TEST_F(Cache, SizesAndTimeStampsAreReadWhileOthersStore) {
    const auto data = CountedData::Make(7);
    LooseSignal stored;
    std::thread reader([&] {
        stored.Await();
        EXPECT_EQ(mCache->GetTotalDataSize() % 7, 0u);
        unsigned int time = 0;
        data->GetTimeStamp(time);
    });
    mCache->StoreData(KeyOf(1), data);
    stored.Give();
    reader.join();
}

TEST_F(Cache, AHigherLimitThanSignedNumbersHaveCountsAsNegative) {
    mCache->SetMaxEntries(0xFFFFFFFFu);
    mCache->StoreData(KeyOf(1), CountedData::Make());
    mCache->StoreData(KeyOf(2), CountedData::Make());
    EXPECT_FALSE(Has(1));
    EXPECT_TRUE(Has(2));
}

}  // namespace
