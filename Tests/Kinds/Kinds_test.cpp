// One suite for all kinds: what each kind of descriptor must do because it is one. A kind
// adds a row to the table and is tested like the others.

#include "Kinds.h"
#include "DescriptorObjects.h"
#include "Support/KindTable.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;
using TVK::InterfaceID;
using TVK::kIdentifierOf;

constexpr InterfaceID kNone{};

template <class I>
void* Find(const Ref<I>& inObject, const InterfaceID& inID) {
    void* found = nullptr;
    inObject->QueryInterfaceNoAddRef(inID, &found);
    return found;
}

class Kinds : public testing::TestWithParam<KindRow> {
protected:
    ~Kinds() override { FlushAllDescriptorResources(); }

    Ref<IDescriptorData> MakeData() const { return CreateDescriptorData(GetParam().mType); }
    Ref<IDescriptorWorkerItem> MakeItem(long long inFrame) const {
        const auto item = CreateDescriptorWorkerItem(GetParam().mType);
        item->SetDataKey(GetParam().mMakeKey(inFrame));
        return item;
    }
    Ref<IDescriptorWorkerItem> MakeItemWithInputs(long long inFrame) const {
        const auto item = MakeItem(inFrame);
        GetParam().mSetInputs(item);
        return item;
    }
    Ref<IDescriptorComputer> Computer() const {
        return CreateDescriptorComputer(GetParam().mMakeProperty());
    }
};

INSTANTIATE_TEST_SUITE_P(All, Kinds, testing::ValuesIn(KindTable()),
                         [](const auto& inInfo) { return inInfo.param.mName; });

// ---- Identity ------------------------------------------------------------------------

TEST_P(Kinds, DataIsItsInterfaceAndAnswersToEveryName) {
    const auto data = MakeData();
    ASSERT_TRUE(data != NULL);
    void* const root = Find(data, kIdentifierOf<TVK::TVKUnknown>);
    EXPECT_NE(Find(data, kIdentifierOf<DescriptorData>), nullptr);
    EXPECT_NE(Find(data, GetParam().mData.mClass), nullptr);
    if (GetParam().mData.mInterface == kNone) {
        EXPECT_EQ(root, Find(data, kIdentifierOf<IDescriptorData>));
    } else {
        EXPECT_EQ(root, Find(data, GetParam().mData.mInterface));
        EXPECT_EQ(root, Find(data, GetParam().mData.mClass)) << "the primary base";
        EXPECT_NE(root, Find(data, kIdentifierOf<IDescriptorData>));
    }
    EXPECT_EQ(Find(data, kIdentifierOf<IDescriptorProperty>), nullptr);
}

TEST_P(Kinds, ItemIsItsInterfaceAndItsClassIsThePrimaryBase) {
    const auto item = MakeItem(0);
    ASSERT_TRUE(item != NULL);
    void* const root = Find(item, kIdentifierOf<TVK::TVKUnknown>);
    void* const primary = Find(item, kIdentifierOf<IDescriptorWorkerItem>);
    EXPECT_EQ(primary, Find(item, kIdentifierOf<DescriptorWorkerItem>));
    EXPECT_EQ(primary, Find(item, GetParam().mItem.mClass));
    if (GetParam().mItem.mInterface == kNone) {
        EXPECT_EQ(root, primary);
    } else {
        EXPECT_EQ(root, Find(item, GetParam().mItem.mInterface));
        EXPECT_NE(root, primary);
    }
}

// ---- Through computer and cache ------------------------------------------------------

TEST_P(Kinds, ARequestIsComputedOnceAndServedFromTheCache) {
    const auto computer = Computer();
    const auto first = computer->GetDescriptorData(MakeItemWithInputs(1), true);
    ASSERT_TRUE(first != NULL);
    EXPECT_GT(first->GetDataSize(), 0u);
    EXPECT_EQ(CreateDescriptorDataCacheMgr()
                  ->GetDescriptorDataCache(GetParam().mType)
                  ->GetTotalDataSize(),
              first->GetDataSize());
    // No inputs: a hit does not read them.
    EXPECT_EQ(computer->GetDescriptorData(MakeItem(1), true), first);
    EXPECT_FALSE(computer->GetDescriptorData(MakeItemWithInputs(2), true) == first);
}

TEST_P(Kinds, ResultOutlivesCacheComputerAndItem) {
    Ref<IDescriptorData> data = Computer()->GetDescriptorData(MakeItemWithInputs(1), true);
    FlushAllDescriptorResources();
    const unsigned int size = data->GetDataSize();
    EXPECT_GT(size, 0u);
    data = nullptr;
}

std::vector<std::vector<std::byte>> CopyOf(const Payload& inPayload) {
    std::vector<std::vector<std::byte>> copy;
    for (const auto& block : inPayload)
        copy.emplace_back(block.begin(), block.end());
    return copy;
}

TEST_P(Kinds, ACloneHoldsTheSameInMemoryOfItsOwnOrIsNull) {
    const auto data = Computer()->GetDescriptorData(MakeItemWithInputs(1), true);
    const auto clone = data->CloneData();
    if (!GetParam().mPayloadOf) {
        EXPECT_TRUE(clone == NULL);
        return;
    }
    ASSERT_TRUE(clone != NULL);
    EXPECT_FALSE(clone == data);
    EXPECT_EQ(clone->GetDataSize(), data->GetDataSize());
    unsigned int stamp = 1;
    clone->GetTimeStamp(stamp);
    EXPECT_EQ(stamp, 0u);

    const auto mine = GetParam().mPayloadOf(data);
    const auto its = GetParam().mPayloadOf(clone);
    const auto before = CopyOf(mine);
    ASSERT_FALSE(before.empty());
    EXPECT_EQ(CopyOf(its), before);
    for (const auto& block : its)
        std::ranges::fill(block, std::byte{0xA5});
    EXPECT_EQ(CopyOf(mine), before) << "the clone shares what it holds";
}

TEST_P(Kinds, SizeIsThatOfTheWholePayload) {
    if (!GetParam().mPayloadOf) return;
    const auto data = Computer()->GetDescriptorData(MakeItemWithInputs(1), true);
    std::size_t bytes = 0;
    for (const auto& block : GetParam().mPayloadOf(data))
        bytes += block.size();
    EXPECT_EQ(data->GetDataSize(), bytes);
}

TEST_P(Kinds, EmptyDataHasNoSizeAndItsCloneIsEmpty) {
    const auto data = MakeData();
    EXPECT_EQ(data->GetDataSize(), 0u);
    const auto clone = data->CloneData();
    if (!GetParam().mPayloadOf) return;
    EXPECT_TRUE(GetParam().mPayloadOf(data).empty());
    ASSERT_TRUE(clone != NULL);
    EXPECT_TRUE(GetParam().mPayloadOf(clone).empty());
    EXPECT_EQ(clone->GetDataSize(), 0u);
}

TEST(KindTable, ANumberThatIsNoKindHasNoRow) {
    EXPECT_EQ(FindKind(static_cast<DescriptorDataType>(-1)), nullptr);
    EXPECT_EQ(FindKind(DescriptorDataType{kDescriptorDataTypeCount}), nullptr);
}

// ---- What is special about the grey kinds --------------------------------------------

std::vector<KindRow> GreyRows() { return {GreyImageRow(), FloatGreyImageRow()}; }

TEST(GreyKinds, ImagesHoldTheLumaOfTheFrame) {
    for (const KindRow& kind : GreyRows()) {
        SCOPED_TRACE(kind.mName);
        const auto item = CreateDescriptorWorkerItem(kind.mType);
        item->SetDataKey(PlainKey(1));
        kind.mSetInputs(item);
        const auto data =
            CreateDescriptorComputer(kind.mMakeProperty())->GetDescriptorData(item, true);
        const unsigned char* const p = ColourFrame().data() + (5 * kKindCols + 7) * 4;
        const std::size_t at = 5 * kKindCols + 7;
        if (const Ref<IGreyImageDescriptorData> grey(data); grey != NULL) {
            const auto image = grey->GetGreyImageData();
            EXPECT_EQ(image->GetColumns(), kKindCols);
            EXPECT_EQ(image->GetRows(), kKindRows);
            EXPECT_EQ(image->GetData()[at],
                      (3735 * p[0] + 19235 * p[1] + 9798 * p[2] + 16384) >> 15);
        } else {
            const Ref<IFloatGreyImageDescriptorData> floats(data);
            const auto image = floats->GetFloatGreyImageData();
            EXPECT_NEAR(image->GetData()[at], 0.114 * p[0] + 0.587 * p[1] + 0.299 * p[2], 1e-4);
        }
        FlushAllDescriptorResources();
    }
}

TEST(GreyKinds, AFrameThatCannotBeConvertedGivesNullAndStoresNothing) {
    for (const KindRow& kind : GreyRows()) {
        SCOPED_TRACE(kind.mName);
        const auto computer = CreateDescriptorComputer(kind.mMakeProperty());
        const auto item = CreateDescriptorWorkerItem(kind.mType);
        item->SetDataKey(PlainKey(1));
        if (const Ref<IGreyImageDescriptorWorkerItem> grey(item); grey != NULL)
            grey->SetInputImage(ColourFrame().data(), kKindRows, kKindCols, kKindCols * 4 - 1);
        else
            Ref<IFloatGreyImageDescriptorWorkerItem>(item)->SetInputImage(
                ColourFrame().data(), kKindRows, kKindCols, kKindCols * 4 - 1);
        EXPECT_TRUE(computer->GetDescriptorData(item, true) == NULL);
        kind.mSetInputs(item);
        EXPECT_TRUE(computer->GetDescriptorData(item, true) != NULL);
        FlushAllDescriptorResources();
    }
}

TEST(GreyKinds, TheGreyItemReadsItsKeyAndTheFloatGreyItemDoesNot) {
    for (const KindRow& kind : GreyRows()) {
        const auto item = CreateDescriptorWorkerItem(kind.mType);
        kind.mSetInputs(item);
        const Ref<DescriptorWorkerItem> computing(item);
        if (kind.mType == kDescriptorDataTypeGreyImage)
            EXPECT_THROW(computing->ComputeData(), TVK::NullInterfaceException);
        else
            EXPECT_TRUE(computing->ComputeData() != NULL);
    }
}

TEST(GreyKinds, AnItemKeepsItsEarlierResultWhenALaterConversionFails) {
    const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeGreyImage);
    item->SetDataKey(PlainKey(1));
    const Ref<DescriptorWorkerItem> computing(item);
    const Ref<IGreyImageDescriptorWorkerItem> grey(item);
    grey->SetInputImage(ColourFrame().data(), kKindRows, kKindCols, kKindCols * 4);
    const auto first = computing->ComputeData();
    grey->SetInputImage(ColourFrame().data(), kKindRows, kKindCols, 1);
    EXPECT_EQ(computing->ComputeData(), first);
    EXPECT_TRUE(first != NULL);
}

TEST(GreyKinds, NullFrameBreaksTheContract) {
    const RecordedReports reports;
    const Ref<IGreyImageDescriptorWorkerItem> grey(
        CreateDescriptorWorkerItem(kDescriptorDataTypeGreyImage));
    const Ref<IFloatGreyImageDescriptorWorkerItem> floats(
        CreateDescriptorWorkerItem(kDescriptorDataTypeFloatGreyImage));
    EXPECT_ANY_THROW(grey->SetInputImage(nullptr, 1, 1, 4));
    EXPECT_ANY_THROW(floats->SetInputImage(nullptr, 1, 1, 4));
    ASSERT_EQ(reports.Contracts().size(), 2u);
    EXPECT_EQ(reports.Contracts()[0].mText, "inCurrImage != NULL");
    EXPECT_EQ(reports.Contracts()[0].mFile, "Src/GreyImage/GreyImageDescriptorWorkerItem.cpp");
}

}  // namespace
