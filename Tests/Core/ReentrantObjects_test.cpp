// A host's own properties and data that call back into the library while it walks its lists:
// from a comparison, from a getter, from a destructor. What the walk stands on must stay.
// A fault here is a use of freed memory: the address sanitizer sees each one.

#include "DP/DescriptorFactory.h"
#include "DescriptorDataCache.h"
#include "DescriptorObjects.h"
#include "RegionTracker/HidesName.h"
#include "Support/Test.h"

namespace {

/// Objects whose callbacks are functions of the test's. Each runs once.
class CallingProperty;
class CallingKey;
class CallingData;

}  // namespace

template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<CallingProperty>{0x7e57, 11};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<CallingData>{0x7e57, 12};
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<CallingKey>{0x7e57, 13};

namespace {

using namespace DP;
using namespace Testing;

class Callback {
public:
    Callback& operator=(std::function<void()> inCall) {
        mCall = std::move(inCall);
        return *this;
    }
    void operator()() {
        if (const auto call = std::exchange(mCall, nullptr)) call();
    }

private:
    std::function<void()> mCall;
};

// It does not answer to the plain name, as no host's class does.
class CallingProperty
    : public HidesName<CallingProperty, DescriptorProperty, DescriptorProperty> {
public:
    ~CallingProperty() override { mOnDestruction(); }
    bool IsEqual(Ref<IDescriptorProperty> inOther) override {
        mOnIsEqual();
        return DescriptorProperty::IsEqual(inOther);
    }
    quillet::WideString GetSourceID() override {
        mOnGetSourceID();
        return DescriptorProperty::GetSourceID();
    }
    Callback mOnIsEqual, mOnGetSourceID, mOnDestruction;
};

class CallingKey : public TVK::Object<CallingKey, DescriptorDataKey> {
public:
    ~CallingKey() override { mOnDestruction(); }
    Callback mOnDestruction;
};

class CallingData : public TVK::Object<CallingData, DescriptorData> {
public:
    ~CallingData() override { mOnDestruction(); }
    unsigned int GetDataSize() override { return 1; }
    Callback mOnDestruction;
};

Ref<IDescriptorDataKey> KeyOf(long long inFrame) {
    return CreateDescriptorDataKey(Wide("clip"), inFrame, 1, 1);
}

bool Has(IDescriptorDataCache& ioCache, long long inFrame) {
    Ref<IDescriptorData> data;
    RecursiveMutexPtr mutex;
    return ioCache.GetCachedData(KeyOf(inFrame), data, mutex);
}

// ---- Properties ----------------------------------------------------------------------

class ReentrantProperty : public testing::Test {
protected:
    ~ReentrantProperty() override { FlushAllDescriptorResources(); }

    static Ref<CallingProperty> Property(const char* inSource) {
        return MakeInitialised<CallingProperty>(Wide(inSource), kDescriptorDataTypeGreyImage);
    }
    static Ref<IDescriptorComputer> Grey(const char* inSource) {
        return CreateDescriptorComputer(
            CreateDescriptorProperty(Wide(inSource), kDescriptorDataTypeGreyImage));
    }
    static void AddComputers() {
        for (const char* source : {"a", "b", "c", "d", "e"})
            Grey(source);
    }
    static void RemoveAll() { CreateDescriptorComputerMgr()->RemoveAllDescriptorComputers(); }
};

TEST_F(ReentrantProperty, ComparisonRemovesTheComputersThatItIsComparedWith) {
    AddComputers();
    const auto property = Property("a");
    property->mOnIsEqual = RemoveAll;
    const auto computer = CreateDescriptorComputer(property);
    ASSERT_TRUE(computer != NULL);
    EXPECT_EQ(computer->GetSourceID(), Wide("a"));
    EXPECT_FALSE(Grey("a") == NULL);
}

TEST_F(ReentrantProperty, ComparisonMakesMoreComputers) {
    AddComputers();
    const auto property = Property("z");
    property->mOnIsEqual = [] {
        for (const char* source : {"f", "g", "h", "i", "j", "k", "l", "m", "n"})
            Grey(source);
    };
    const auto computer = CreateDescriptorComputer(property);
    EXPECT_EQ(Grey("z"), computer);
}

TEST_F(ReentrantProperty, AComputerThatIsRemovedMeanwhileLeavesNoneOut) {
    AddComputers();
    const auto expected = Grey("b");
    const auto property = Property("b");
    property->mOnIsEqual = [] {
        CreateDescriptorComputerMgr()->RemoveDescriptorComputers(Wide("a"));
    };
    EXPECT_EQ(CreateDescriptorComputer(property), expected);
}

TEST_F(ReentrantProperty, SourceIsAskedForByARemovalAndRemovesAll) {
    const auto property = Property("a");
    CreateDescriptorComputer(property);
    AddComputers();
    property->mOnGetSourceID = RemoveAll;
    CreateDescriptorComputerMgr()->RemoveDescriptorComputers(Wide("c"));
    property->mOnGetSourceID = [] {
    };
    const auto late = Grey("c");
    EXPECT_EQ(Grey("c"), late);
}

// The one that was asked is gone before it can be removed: no other goes in its place.
TEST_F(ReentrantProperty, RemovalTakesNobodyElseWhereTheMatchHasGone) {
    const auto property = Property("a");
    CreateDescriptorComputer(property);
    Ref<IDescriptorComputer> other;
    property->mOnGetSourceID = [&] {
        RemoveAll();
        other = Grey("b");
    };
    CreateDescriptorComputerMgr()->RemoveDescriptorComputers(Wide("a"));
    EXPECT_EQ(Grey("b"), other);
}

TEST_F(ReentrantProperty, DestructorUsesTheManagerWhileItsComputerIsRemoved) {
    const auto removals = {
        std::function<void()>(RemoveAll), std::function<void()>([] {
            CreateDescriptorComputerMgr()->RemoveDescriptorComputers(Wide("dying"));
        }),
        std::function<void()>(FlushAllDescriptorResources)};
    for (const auto& remove : removals) {
        bool called = false;
        AddComputers();
        {
            const auto property = Property("dying");
            CreateDescriptorComputer(property);
            property->mOnDestruction = [&] {
                called = true;
                RemoveAll();
                AddComputers();
            };
        }
        AddComputers();
        EXPECT_FALSE(called);
        remove();
        EXPECT_TRUE(called);
        FlushAllDescriptorResources();
    }
}

// ---- Data ----------------------------------------------------------------------------

class ReentrantData : public testing::Test {
protected:
    ReentrantData() { mCache->SetMaxEntries(15); }
    ~ReentrantData() override { FlushAllDescriptorResources(); }

    static void Fill(IDescriptorDataCache& ioCache, std::function<void()> inOnDestruction,
                     int inFrom = 0, int inTo = 16) {
        for (int frame = inFrom; frame < inTo; ++frame) {
            const auto data = CallingData::Create();
            data->mOnDestruction = inOnDestruction;
            ioCache.StoreData(KeyOf(frame), data);
        }
    }
    void Look() {
        for (int frame = 0; frame < 17; ++frame)
            Has(*mCache.operator->(), frame);
    }

    Ref<DescriptorDataCache> mCache = DescriptorDataCache::Create();
};

TEST_F(ReentrantData, DestructorFillsTheCacheThatMakesRoom) {
    bool hasFilled = false;
    Fill(*mCache.operator->(), [&] {
        if (!std::exchange(hasFilled, true)) Fill(*mCache.operator->(), {}, 100, 116);
    });
    mCache->StoreData(KeyOf(50), CallingData::Create());
    EXPECT_TRUE(hasFilled);
    EXPECT_EQ(mCache->GetTotalDataSize(), 1u) << "never more than one above the limit";
}

TEST_F(ReentrantData, DestructorsThatAlwaysStoreDoNotHoldTheCache) {
    bool isOver = false;
    long long frame = 0;
    std::function<void()> store = [&] {
        if (isOver) return;
        const auto data = CallingData::Create();
        data->mOnDestruction = store;
        mCache->StoreData(KeyOf(frame++), data);
    };
    for (int i = 0; i < 40; ++i)
        store();
    EXPECT_LT(frame, 2000) << "each store drops what there is, twice";
    isOver = true;
    mCache->ClearCache();
}

TEST_F(ReentrantData, DestructorAsksTheCacheThatIsCleared) {
    Fill(*mCache.operator->(), [this] { Look(); });
    mCache->ClearCache();
    EXPECT_EQ(mCache->GetTotalDataSize(), 0u);
}

TEST_F(ReentrantData, DestructorAsksTheCacheThatMakesRoom) {
    Fill(*mCache.operator->(), [this] { Look(); });
    mCache->StoreData(KeyOf(16), CallingData::Create());
    EXPECT_TRUE(Has(*mCache.operator->(), 16));
    EXPECT_EQ(mCache->GetTotalDataSize(), 1u);
}

// The first result stays and is counted once, as for any key that has one.
TEST_F(ReentrantData, DestructorStoresUnderTheKeyThatRoomIsMadeFor) {
    const auto early = CallingData::Create();
    Fill(*mCache.operator->(), [&] { mCache->StoreData(KeyOf(16), early); });
    mCache->StoreData(KeyOf(16), CallingData::Create());
    Ref<IDescriptorData> data;
    RecursiveMutexPtr mutex;
    ASSERT_TRUE(mCache->GetCachedData(KeyOf(16), data, mutex));
    EXPECT_EQ(Ref<CallingData>(data), early);
    EXPECT_EQ(mCache->GetTotalDataSize(), 1u);
}

TEST_F(ReentrantData, DestructorClearsOrFlushesEverythingWhileEverythingIsCleared) {
    const auto clearAll = [] {
        CreateDescriptorDataCacheMgr()->ClearAllCaches();
    };
    for (const std::function<void()>& call :
         {std::function<void()>(clearAll),
          std::function<void()>(FlushAllDescriptorResources)}) {
        for (const auto kind :
             {kDescriptorDataTypeKLT, kDescriptorDataTypeAPT, kDescriptorDataTypeGraphCut})
            Fill(*CreateDescriptorDataCacheMgr()->GetDescriptorDataCache(kind).operator->(),
                 call);
        clearAll();
        EXPECT_EQ(CreateDescriptorDataCacheMgr()->GetTotalDataSize(), 0u);
    }
}

// The walk's reference to the cache may be the last one: its keys in work go with it.
TEST_F(ReentrantData, KeyInWorkClearsEverythingWhenItsCacheGoes) {
    const auto mgr = CreateDescriptorDataCacheMgr();
    auto cache = mgr->GetDescriptorDataCache(kDescriptorDataTypeKLT);
    const auto clearAndMakeAnother = [] {
        const auto again = CreateDescriptorDataCacheMgr();
        again->ClearAllCaches();
        again->GetDescriptorDataCache(kDescriptorDataTypeGraphCut);
    };
    Fill(*cache.operator->(), clearAndMakeAnother, 0, 1);
    {
        const auto key = MakeInitialised<CallingKey>(Wide("clip"), 99LL, 1, 1);
        key->mOnDestruction = [] {
            CreateDescriptorDataCacheMgr()->ClearAllCaches();
        };
        Ref<IDescriptorData> data;
        RecursiveMutexPtr mutex;
        cache->GetCachedData(key, data, mutex);
    }
    cache = nullptr;
    mgr->ClearAllCaches();
    EXPECT_EQ(mgr->GetTotalDataSize(), 0u);
}

// A cache that was cleared early in the walk and filled again since is cleared once more.
TEST_F(ReentrantData, HeldCacheThatIsFilledAnewDuringTheWalkIsEmptyAfterIt) {
    const auto mgr = CreateDescriptorDataCacheMgr();
    const auto held = mgr->GetDescriptorDataCache(kDescriptorDataTypeKLT);
    const auto later = mgr->GetDescriptorDataCache(kDescriptorDataTypeGraphCut);
    Fill(
        *later.operator->(),
        [&] {
            Fill(
                *held.operator->(), [] {}, 0, 1);
        },
        0, 1);
    mgr->ClearAllCaches();
    EXPECT_FALSE(Has(*held.operator->(), 0));
}

// A flush tears the managers down, so they must be empty by then.
TEST_F(ReentrantData, DestructorStoresAnewWhileEverythingIsFlushed) {
    const auto store = [] {
        const auto mgr = CreateDescriptorDataCacheMgr();
        for (const auto kind : {kDescriptorDataTypeKLT, kDescriptorDataTypeGraphCut})
            Fill(
                *mgr->GetDescriptorDataCache(kind).operator->(),
                [] {
                    CreateDescriptorDataCacheMgr()->GetDescriptorDataCache(
                        kDescriptorDataTypeAPT);
                },
                0, 1);
    };
    const auto mgr = CreateDescriptorDataCacheMgr();
    Fill(*mgr->GetDescriptorDataCache(kDescriptorDataTypeKLT).operator->(), store, 0, 3);
    FlushAllDescriptorResources();
    EXPECT_EQ(mgr->GetTotalDataSize(), 0u);
}

}  // namespace
