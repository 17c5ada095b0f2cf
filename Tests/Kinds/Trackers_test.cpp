// One suite for the kinds that follow something through frames: a run, what the numbers of
// property and key do, and what is said about bad input. What is one tracker's alone is
// tested with that tracker.

#include "APT/APTDescriptorData.h"
#include "APT/APTDescriptorWorkerItem.h"
#include "DP/IGreyImageDescriptor.h"
#include "KLTDescriptorData.h"
#include "KLTDescriptorWorkerItem.h"
#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "RegionTracker/RegionTrackerDescriptorWorkerItem.h"
#include "Support/KindTable.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;

// A clip that moves by the same step from frame to frame.
constexpr int kCols = 160, kRows = 120;
constexpr double kStepX = 1.3, kStepY = -0.7;

IP::ImagePtr<unsigned char> ByteFrame(int inNumber) {
    if (inNumber < 0) return {};
    return ImageOf(kCols, kRows,
                   TexturedBytes(kCols, kRows, -kStepX * inNumber, -kStepY * inNumber));
}
IP::ImagePtr<float> FloatFrame(int inNumber) {
    if (inNumber < 0) return {};
    return ImageOf(kCols, kRows,
                   TexturedFrame(kCols, kRows, -kStepX * inNumber, -kStepY * inNumber));
}
RegionPtr Region() { return RegionAt({20, 20, 140, 100}); }

// What the kinds' records have in common.
struct Slot {
    float mX, mY, mDeltaX, mDeltaY;
    bool mIsLive, mIsNew;
    unsigned int mAge;
};

struct Numbers {
    unsigned int mFeatures = 40;
    unsigned int mDistance = 8;
};

// ---- The three -----------------------------------------------------------------------

std::vector<Slot> SlotsOf(const APTFeatureList& inList) {
    std::vector<Slot> slots;
    for (const auto& f : inList)
        slots.push_back(
            {f.mX, f.mY, f.mDeltaX, f.mDeltaY, f.mStatus >= 0, f.mStatus > 0, f.mAge});
    return slots;
}
std::vector<Slot> SlotsOf(const KLTFeatureList& inList) {
    std::vector<Slot> slots;
    for (const auto& f : inList)
        slots.push_back(
            {f.mX, f.mY, f.mDeltaX, f.mDeltaY, f.mValue >= 0, f.mValue > 0, unsigned(f.mAge)});
    return slots;
}

// Each says: how property and key are made; how an item gets its inputs (a negative frame is
// no image); what the first frame gets as its previous data, what is data with one live
// point at (80, 60) among 40 slots, and what is none; where reports come from. Whether the
// key's minimum decides when points are looked for (else each frame does), whether the
// property's distance is taken (else it is 10), and whether the key is read before anything.
struct KLT {
    using Item = KLTDescriptorWorkerItem;
    static constexpr auto kType = kDescriptorDataTypeKLT;
    static constexpr const char* kStem = "Src/KLTDescriptor";
    static constexpr const char* kTrackerArgument = "inKLTTracker";
    static constexpr bool kKeyFills = true, kTakesDistance = false, kReadsKeyFirst = true;

    static auto Property(const Numbers& inNumbers) {
        return CreateKLTDescriptorProperty(inNumbers.mFeatures, 1, inNumbers.mDistance, 20,
                                           Wide("clip"), kType);
    }
    static auto Key(long long inFrame, unsigned int inMinFeatures) {
        return CreateKLTDescriptorDataKey(Wide("clip"), inFrame, 1, 40, kRows, kCols, 10,
                                          inMinFeatures);
    }
    static void SetInputs(const ItemRef& inItem, int inFrom, int inTo, const DataRef& inData) {
        Ref<IKLTDescriptorWorkerItem>(inItem)->SetInputImages(ByteFrame(inFrom),
                                                              ByteFrame(inTo), inData);
    }
    static DataRef DataOf(const KLTFeatureListPtr& inList) {
        const auto data = KLTDescriptorData::Create();
        data->SetFeatureList(inList);
        return data;
    }
    static DataRef Start() { return {}; }
    static DataRef OnePoint() {
        KLTFeature lost;
        lost.mValue = kKLTNotFound;
        const auto list = TVK::MakeObject<KLTFeatureList>(40, lost);
        list->front() = {.mX = 80.0f, .mY = 60.0f};
        return DataOf(list);
    }
    static std::vector<DataRef> BadPrevious() {
        return {DataOf({}), CreateDescriptorData(kDescriptorDataTypeGreyImage)};
    }
    static std::vector<Slot> Slots(const DataRef& inData) {
        return SlotsOf(*Ref<IKLTDescriptorData>(inData)->GetFeatureList());
    }
};

struct APT {
    using Item = APTDescriptorWorkerItem;
    static constexpr auto kType = kDescriptorDataTypeAPT;
    static constexpr const char* kStem = "Src/APT/APTDescriptor";
    static constexpr const char* kTrackerArgument = "inAPTTracker";
    static constexpr bool kKeyFills = true, kTakesDistance = true, kReadsKeyFirst = false;

    static auto Property(const Numbers& inNumbers) {
        return CreateAPTDescriptorProperty(inNumbers.mFeatures, 3, inNumbers.mDistance, 20,
                                           Wide("clip"), kType, 0.0f, 0);
    }
    static auto Key(long long inFrame, unsigned int inMinFeatures) {
        return CreateAPTDescriptorDataKey(Wide("clip"), inFrame, 3, 40, kRows, kCols, 8,
                                          inMinFeatures, 0.0f, 0);
    }
    static void SetInputs(const ItemRef& inItem, int inFrom, int inTo, const DataRef& inData) {
        Ref<IAPTDescriptorWorkerItem>(inItem)->SetInputs(FloatFrame(inFrom), FloatFrame(inTo),
                                                         inData, kCols, kRows);
    }
    static DataRef DataOf(const APTFeatureListPtr& inList) {
        const auto data = APTDescriptorData::Create();
        data->SetFeatures(inList);
        return data;
    }
    static APTFeatureListPtr OnePointList() {
        const auto list = TVK::MakeObject<APTFeatureList>(40);
        list->front() = {.mX = 80.0f, .mY = 60.0f, .mStatus = kAPTFeatureTracked};
        return list;
    }
    static DataRef Start() { return {}; }
    static DataRef OnePoint() { return DataOf(OnePointList()); }
    static std::vector<DataRef> BadPrevious() { return {DataOf({})}; }
    static std::vector<Slot> Slots(const DataRef& inData) {
        return SlotsOf(*Ref<IAPTDescriptorData>(inData)->GetFeatures());
    }
};

struct RegionTracker : APT {
    using Item = RegionTrackerDescriptorWorkerItem;
    static constexpr auto kType = kDescriptorDataTypeRegionTracker;
    static constexpr const char* kStem = "Src/RegionTracker/RegionTrackerDescriptor";
    static constexpr bool kKeyFills = false, kReadsKeyFirst = true;

    static auto Property(const Numbers& inNumbers) {
        return CreateRegionTrackerDescriptorProperty(
            inNumbers.mFeatures, 3, inNumbers.mDistance, 20, Wide("clip"), Region(), 1, kType);
    }
    static auto Key(long long inFrame, unsigned int inMinFeatures) {
        return CreateRegionTrackerDescriptorDataKey(Wide("clip"), inFrame, 3, 40, kRows, kCols,
                                                    Region(), 1, 8, inMinFeatures);
    }
    static void SetInputs(const ItemRef& inItem, int inFrom, int inTo, const DataRef& inData) {
        Ref<IRegionTrackerDescriptorWorkerItem>(inItem)->SetInputs(
            FloatFrame(inFrom), FloatFrame(inTo), inData, kCols, kRows);
    }
    static DataRef Start() { return CreateRegionDescriptorData(Region()); }
    static DataRef OnePoint() {
        const auto data = RegionTrackerDescriptorData::Create();
        data->SetRegionAndFeatures(Region(), OnePointList());
        return data;
    }
    static std::vector<DataRef> BadPrevious() {
        return {DataRef(), CreateRegionDescriptorData(nullptr)};
    }
};

template <class Tracker>
class Trackers : public testing::Test {
protected:
    ~Trackers() override { FlushAllDescriptorResources(); }

    static Ref<IDescriptorComputer> Computer(const Numbers& inNumbers = {}) {
        return CreateDescriptorComputer(Tracker::Property(inNumbers));
    }
    static ItemRef Item(long long inFrame, unsigned int inMinFeatures = 20) {
        const auto item = CreateDescriptorWorkerItem(Tracker::kType);
        item->SetDataKey(Tracker::Key(inFrame, inMinFeatures));
        return item;
    }
    static ItemRef FirstItem() {
        const auto item = Item(0);
        Tracker::SetInputs(item, -1, 0, Tracker::Start());
        return item;
    }
    // The result of a frame from that of the frame before.
    static DataRef Step(int inFrame, const DataRef& inPrevious,
                        unsigned int inMinFeatures = 20) {
        const auto item = Item(inFrame, inMinFeatures);
        Tracker::SetInputs(item, inFrame - 1, inFrame, inPrevious);
        return Computer()->GetDescriptorData(item, true);
    }
    static int CountLive(const DataRef& inData) {
        int live = 0;
        for (const Slot& slot : Tracker::Slots(inData))
            live += slot.mIsLive;
        return live;
    }
};
using ThreeTrackers = testing::Types<KLT, APT, RegionTracker>;
struct NameOf {
    template <class Tracker>
    static std::string GetName(int) {
        const std::string stem = Tracker::kStem;
        return stem.substr(stem.rfind('/') + 1);
    }
};
TYPED_TEST_SUITE(Trackers, ThreeTrackers, NameOf);

// ---- A run ---------------------------------------------------------------------------

TYPED_TEST(Trackers, PointsKeepTheirSlotsAndFollowTheMotion) {
    DataRef data = this->Computer()->GetDescriptorData(this->FirstItem(), true);
    for (int frame = 1; frame <= 6; ++frame) {
        const auto before = TypeParam::Slots(data);
        const DataRef next = this->Step(frame, data);
        const auto slots = TypeParam::Slots(next);
        ASSERT_EQ(slots.size(), 40u);
        int tracked = 0;
        for (std::size_t i = 0; i < slots.size(); ++i) {
            EXPECT_EQ(TypeParam::Slots(data)[i].mX, before[i].mX)
                << "previous data is only read";
            if (!slots[i].mIsLive || slots[i].mIsNew) continue;
            ++tracked;
            EXPECT_TRUE(before[i].mIsLive);
            EXPECT_EQ(slots[i].mAge, before[i].mAge + 1);
            EXPECT_NEAR(slots[i].mX, before[i].mX + slots[i].mDeltaX, 1e-4);
            EXPECT_NEAR(slots[i].mY, before[i].mY + slots[i].mDeltaY, 1e-4);
            EXPECT_NEAR(slots[i].mDeltaX, kStepX, 0.5);
            EXPECT_NEAR(slots[i].mDeltaY, kStepY, 0.5);
        }
        EXPECT_GE(tracked, 10) << "frame " << frame;
        EXPECT_GE(this->CountLive(next), 20);
        data = next;
    }
}

// ---- The numbers ---------------------------------------------------------------------

TYPED_TEST(Trackers, TheKeysMinimumSaysWhenPointsAreLookedFor) {
    const auto live = [&](unsigned int inMinFeatures) {
        return this->CountLive(this->Step(1, TypeParam::OnePoint(), inMinFeatures));
    };
    if (!TypeParam::kKeyFills) {
        EXPECT_GT(live(0), 10);
        EXPECT_EQ(live(0), live(9999));
        return;
    }
    EXPECT_EQ(live(0), 1);
    EXPECT_EQ(live(1), 1) << "as many as the minimum is enough";
    EXPECT_GT(live(2), 20);
    EXPECT_GT(live(9999), 20);
}

TYPED_TEST(Trackers, ThePropertySaysHowManySlotsThereAreAndHowFarApartPointsLie) {
    const auto slots = TypeParam::Slots(this->Computer({.mFeatures = 12, .mDistance = 25})
                                            ->GetDescriptorData(this->FirstItem(), true));
    EXPECT_EQ(slots.size(), 12u);
    double nearest = 1000.0;
    for (std::size_t i = 0; i < slots.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (slots[i].mIsLive && slots[j].mIsLive)
                nearest = std::min<double>(
                    nearest, std::hypot(slots[i].mX - slots[j].mX, slots[i].mY - slots[j].mY));
    EXPECT_EQ(nearest > 25.0, TypeParam::kTakesDistance) << nearest;
    EXPECT_GT(nearest, 9.0);
}

// ---- Bad input -----------------------------------------------------------------------

TYPED_TEST(Trackers, NullArgumentsBreakTheContractAndLeaveTheInputs) {
    const RecordedReports reports;
    const auto item = this->FirstItem();
    EXPECT_ANY_THROW(this->Computer()->GetDescriptorData(nullptr, true));
    EXPECT_ANY_THROW(TypeParam::SetInputs(item, -1, -1, {}));
    EXPECT_ANY_THROW(Ref<typename TypeParam::Item>(item)->SetTracker(nullptr));
    std::vector<std::string> texts;
    for (const auto& report : reports.Contracts())
        texts.push_back(report.mFile + ": " + report.mText);
    const std::string stem = TypeParam::kStem;
    EXPECT_EQ(texts,
              (std::vector<std::string>{
                  stem + "Computer.cpp: inDescriptorWorkerItem != NULL",
                  stem + "WorkerItem.cpp: inCurrImage != NULL",
                  stem + "WorkerItem.cpp: " + TypeParam::kTrackerArgument + " != NULL"}));
    EXPECT_GT(this->CountLive(this->Computer()->GetDescriptorData(item, true)), 20);
}

TYPED_TEST(Trackers, AnItemWithoutATrackerOrAnImageGivesNull) {
    const Ref<DescriptorWorkerItem> lonely(this->FirstItem());
    EXPECT_TRUE(lonely->ComputeData() == NULL);
    EXPECT_TRUE(this->Computer()->GetDescriptorData(this->Item(1), true) == NULL);
    lonely->SetDataKey(nullptr);
    if (TypeParam::kReadsKeyFirst)
        EXPECT_THROW(lonely->ComputeData(), TVK::NullInterfaceException);
    else
        EXPECT_TRUE(lonely->ComputeData() == NULL);
}

TYPED_TEST(Trackers, PreviousDataThatIsNoneThrows) {
    for (const DataRef& data : TypeParam::BadPrevious())
        EXPECT_THROW(this->Step(1, data), TVK::NullInterfaceException);
}

// The grey item answers to the class identifier of the KLT item, and is smaller.
TYPED_TEST(Trackers, AnItemOfAnotherKindIsComputedAsWhatItIs) {
    const auto item = CreateDescriptorWorkerItem(kDescriptorDataTypeGreyImage);
    item->SetDataKey(TypeParam::Key(1, 20));
    const unsigned char pixels[16] = {};
    Ref<IGreyImageDescriptorWorkerItem>(item)->SetInputImage(pixels, 2, 2, 8);
    const auto data = this->Computer()->GetDescriptorData(item, false);
    EXPECT_TRUE(Ref<IGreyImageDescriptorData>(data) != NULL);
}

}  // namespace
