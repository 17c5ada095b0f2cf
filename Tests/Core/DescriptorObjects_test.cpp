// The bases of all kinds: hash, stamps, clones, keys of items, identity.

#include "DescriptorObjects.h"

#include "Support/Items.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

Ref<IDescriptorDataKey> KeyOf(const char* inSource, long long inFrame, int inRows = 1,
                              int inCols = 1) {
    return CreateDescriptorDataKey(Wide(inSource), inFrame, inRows, inCols);
}

TEST(DescriptorDataKey, KeepsWhatItWasMadeOf) {
    const auto key = CreateDescriptorDataKey(LongWide(), -7, 480, 640);
    EXPECT_EQ(key->GetSourceID(), LongWide());
    EXPECT_EQ(key->GetFrameNumber(), -7);
    EXPECT_EQ(key->GetRows(), 480);
    EXPECT_EQ(key->GetColumns(), 640);
}

TEST(DescriptorDataKey, HashIsOfShortSourceAndFrameOnly) {
    const auto hash = KeyOf("clip", 5)->GetHash();
    EXPECT_EQ(hash, KeyOf("clip", 5, 9, 9)->GetHash());
    EXPECT_FALSE(hash == KeyOf("clip", 6)->GetHash());
    EXPECT_FALSE(hash == KeyOf("clip", 5 + (1LL << 56))->GetHash()) << "its last byte";
    EXPECT_FALSE(hash == KeyOf("clap", 5)->GetHash());
    EXPECT_FALSE(hash == KeyOf("cli", 5)->GetHash());
    EXPECT_EQ(hash, CreateKLTDescriptorDataKey(Wide("clip"), 5, 1, 2, 3, 4, 5, 6)->GetHash());
}

// A string that was longer before leaves stale units behind its terminator.
TEST(DescriptorDataKey, HashDoesNotSeeStaleUnits) {
    quillet::WideString once = Wide("abcdefg");
    once.resize(4);
    EXPECT_EQ(CreateDescriptorDataKey(once, 5, 1, 1)->GetHash(), KeyOf("abcd", 5)->GetHash());
}

TEST(DescriptorData, StartsAtZeroWithoutSizeAndClone) {
    const auto data = DescriptorData::Create();
    TVK::HashValue hash{{1, 2, 3}};
    unsigned int time = 1;
    data->GetHash(hash);
    data->GetTimeStamp(time);
    EXPECT_EQ(hash, TVK::HashValue{});
    EXPECT_EQ(time, 0u);
    EXPECT_EQ(data->GetDataSize(), 0u);
    EXPECT_TRUE(data->CloneData() == NULL);
    data->SetHash({{4, 5, 6}});
    data->SetTimeStamp(77);
    data->GetHash(hash);
    data->GetTimeStamp(time);
    EXPECT_EQ(hash, (TVK::HashValue{{4, 5, 6}}));
    EXPECT_EQ(time, 77u);
}

TEST(DescriptorWorkerItem, HoldsOneKeyAtATime) {
    const Ref<IDescriptorWorkerItem> item = DescriptorWorkerItem::Create();
    EXPECT_TRUE(item->GetDataKey() == NULL);
    const auto first = KeyOf("a", 1);
    const auto second = KeyOf("a", 2);
    item->SetDataKey(first);
    EXPECT_EQ(item->GetDataKey(), first);
    item->SetDataKey(second);
    EXPECT_EQ(item->GetDataKey(), second);
    item->SetDataKey(nullptr);
    EXPECT_TRUE(item->GetDataKey() == NULL);
    EXPECT_TRUE(Ref<DescriptorWorkerItem>(item)->ComputeData() == NULL);
}

TEST(FillNewData, ADataObjectOfAnotherClassThrows) {
    Ref<IDescriptorData> result;
    EXPECT_THROW(
        FillNewData<CountedData>(kDescriptorDataTypeGreyImage, result, [](CountedData&) {}),
        TVK::NullInterfaceException);
}

}  // namespace
