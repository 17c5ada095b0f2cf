// One cache for each kind, with the kind's limit.

#include "DescriptorDataCacheMgr.h"

#include "DP/DescriptorFactory.h"
#include "Kinds.h"
#include "Support/Items.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

class CacheMgr : public testing::Test {
protected:
    ~CacheMgr() override { FlushAllDescriptorResources(); }

    Ref<IDescriptorDataCache> CacheOf(int inKind) {
        return CreateDescriptorDataCacheMgr()->GetDescriptorDataCache(
            static_cast<DescriptorDataType>(inKind));
    }
};

Ref<IDescriptorDataKey> KeyOf(long long inFrame) {
    return CreateDescriptorDataKey(Wide("clip"), inFrame, 1, 1);
}

// How many results a cache takes before a store empties it, less the one over the limit.
int LimitOf(const Ref<IDescriptorDataCache>& inCache) {
    for (int stored = 0;; ++stored) {
        inCache->StoreData(KeyOf(stored), CountedData::Make(1));
        if (inCache->GetTotalDataSize() != unsigned(stored) + 1) return stored - 1;
    }
}

TEST_F(CacheMgr, EachKindHasOneCacheOfItsOwnWithItsLimit) {
    for (int kind = 0; kind < kDescriptorDataTypeCount; ++kind) {
        EXPECT_EQ(CacheOf(kind), CacheOf(kind));
        EXPECT_FALSE(CacheOf(kind) == CacheOf((kind + 1) % kDescriptorDataTypeCount));
        EXPECT_EQ(unsigned(LimitOf(CacheOf(kind))),
                  FindKind(DescriptorDataType(kind))->mMaxCachedResults)
            << "kind " << kind;
    }
}

// The limits that hosts rely on; a new kind need not stand here.
TEST_F(CacheMgr, LimitsAreThoseOfTheTable) {
    const int limits[] = {500, 500, 60, 60, 500, 15, 15, 500};
    for (int kind = 0; kind < int(std::size(limits)); ++kind)
        EXPECT_EQ(LimitOf(CacheOf(kind)), limits[kind]) << "kind " << kind;
}

TEST_F(CacheMgr, ImpossibleKindIsReportedAndGetsACacheWithoutRoomForTwo) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    for (int kind : {kDescriptorDataTypeCount, -1}) {
        const auto cache = CacheOf(kind);
        ASSERT_TRUE(cache != NULL);
        EXPECT_EQ(CacheOf(kind), cache);
        EXPECT_EQ(LimitOf(cache), 0);
    }
    ASSERT_EQ(reports.Asserts().size(), 2u);
    EXPECT_EQ(reports.Asserts()[0].mText, "Invalid Descriptor Data Type\r\n");
    EXPECT_EQ(reports.Asserts()[0].mFunction,
              "DP::DescriptorDataCacheMgr::GetDescriptorDataCache");
    EXPECT_EQ(reports.Asserts()[0].mFile, "Src/DescriptorDataCacheMgr.cpp");
}

TEST_F(CacheMgr, ClearingEmptiesHeldCachesAndMakesNewOnes) {
    const auto mgr = CreateDescriptorDataCacheMgr();
    const auto held = CacheOf(2);
    held->StoreData(KeyOf(1), CountedData::Make(5));
    CacheOf(5)->StoreData(KeyOf(1), CountedData::Make(6));
    EXPECT_EQ(mgr->GetTotalDataSize(), 11u);
    mgr->ClearAllCaches();
    EXPECT_EQ(mgr->GetTotalDataSize(), 0u);
    EXPECT_EQ(held->GetTotalDataSize(), 0u);
    EXPECT_EQ(CountedData::Alive(), 0);
    EXPECT_FALSE(CacheOf(2) == held);
}

}  // namespace
