// One suite for the kinds that follow something through frames: a run, what the numbers of
// property and key do, and what is said about bad input. What is one tracker's alone is
// tested with that tracker.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "APT/APTDescriptorData.h"
#include "APT/APTDescriptorWorkerItem.h"
#include "DP/IGreyImageDescriptor.h"
#include "KLTDescriptorData.h"
#include "KLTDescriptorWorkerItem.h"
#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "RegionTracker/RegionTrackerDescriptorWorkerItem.h"
#include "Support/KindTable.h"
#include "Support/Reports.h"

namespace {

using DP::Ref;
using Testing::DataRef;
using Testing::ImageOf;
using Testing::ItemRef;
using Testing::RegionAt;
using Testing::Wide;

// A clip that moves by the same step from frame to frame.
constexpr int kCols = 160, kRows = 120;
constexpr double kStepX = 1.3, kStepY = -0.7;

IP::ImagePtr<unsigned char> ByteFrame(int inNumber) {
    if (inNumber < 0) return {};
    return ImageOf(
        kCols, kRows,
        Testing::TexturedBytes(kCols, kRows, -kStepX * inNumber, -kStepY * inNumber));
}
IP::ImagePtr<float> FloatFrame(int inNumber) {
    if (inNumber < 0) return {};
    return ImageOf(
        kCols, kRows,
        Testing::TexturedFrame(kCols, kRows, -kStepX * inNumber, -kStepY * inNumber));
}
DP::RegionPtr Region() { return RegionAt({20, 20, 140, 100}); }

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

std::vector<Slot> SlotsOf(const DP::APTFeatureList& inList) {
    std::vector<Slot> slots;
    for (const auto& f : inList)
        slots.push_back(
            {f.mX, f.mY, f.mDeltaX, f.mDeltaY, f.mStatus >= 0, f.mStatus > 0, f.mAge});
    return slots;
}
std::vector<Slot> SlotsOf(const DP::KLTFeatureList& inList) {
    std::vector<Slot> slots;
    for (const auto& f : inList)
        slots.push_back({f.mX, f.mY, f.mDeltaX, f.mDeltaY, f.mValue >= 0, f.mValue > 0,
                         static_cast<unsigned int>(f.mAge)});
    return slots;
}

// Each says: how property and key are made; how an item gets its inputs (a negative frame is
// no image); what the first frame gets as its previous data, what is data with one live
// point at (80, 60) among 40 slots, and what is none; where reports come from. Whether the
// key's minimum decides when points are looked for (else each frame does), whether the
// property's distance is taken (else it is 10), and whether the key is read before anything.
struct KLT {
    using Item = DP::KLTDescriptorWorkerItem;
    static constexpr auto kType = DP::kDescriptorDataTypeKLT;
    static constexpr const char* kStem = "Src/KLTDescriptor";
    static constexpr const char* kTrackerArgument = "inKLTTracker";
    static constexpr bool kKeyFills = true, kTakesDistance = false, kReadsKeyFirst = true;

    static auto Property(const Numbers& inNumbers) {
        return DP::CreateKLTDescriptorProperty(inNumbers.mFeatures, 1, inNumbers.mDistance, 20,
                                               Wide("clip"), kType);
    }
    static auto Key(long long inFrame, unsigned int inMinFeatures) {
        return DP::CreateKLTDescriptorDataKey(Wide("clip"), inFrame, 1, 40, kRows, kCols, 10,
                                              inMinFeatures);
    }
    static void SetInputs(const ItemRef& inItem, int inFrom, int inTo, const DataRef& inData) {
        Ref<DP::IKLTDescriptorWorkerItem>(inItem)->SetInputImages(ByteFrame(inFrom),
                                                                  ByteFrame(inTo), inData);
    }
    static DataRef DataOf(const DP::KLTFeatureListPtr& inList) {
        const auto data = DP::KLTDescriptorData::Create();
        data->SetFeatureList(inList);
        return data;
    }
    static DataRef Start() { return {}; }
    static DataRef OnePoint() {
        DP::KLTFeature lost;
        lost.mValue = DP::kKLTNotFound;
        const auto list = TVK::MakeObject<DP::KLTFeatureList>(40, lost);
        list->front() = {.mX = 80.0f, .mY = 60.0f};
        return DataOf(list);
    }
    static std::vector<DataRef> BadPrevious() {
        return {DataOf({}), DP::CreateDescriptorData(DP::kDescriptorDataTypeGreyImage)};
    }
    static std::vector<Slot> Slots(const DataRef& inData) {
        return SlotsOf(*Ref<DP::IKLTDescriptorData>(inData)->GetFeatureList());
    }
};

struct APT {
    using Item = DP::APTDescriptorWorkerItem;
    static constexpr auto kType = DP::kDescriptorDataTypeAPT;
    static constexpr const char* kStem = "Src/APT/APTDescriptor";
    static constexpr const char* kTrackerArgument = "inAPTTracker";
    static constexpr bool kKeyFills = true, kTakesDistance = true, kReadsKeyFirst = false;

    static auto Property(const Numbers& inNumbers) {
        return DP::CreateAPTDescriptorProperty(inNumbers.mFeatures, 3, inNumbers.mDistance, 20,
                                               Wide("clip"), kType, 0.0f, 0);
    }
    static auto Key(long long inFrame, unsigned int inMinFeatures) {
        return DP::CreateAPTDescriptorDataKey(Wide("clip"), inFrame, 3, 40, kRows, kCols, 8,
                                              inMinFeatures, 0.0f, 0);
    }
    static void SetInputs(const ItemRef& inItem, int inFrom, int inTo, const DataRef& inData) {
        Ref<DP::IAPTDescriptorWorkerItem>(inItem)->SetInputs(
            FloatFrame(inFrom), FloatFrame(inTo), inData, kCols, kRows);
    }
    static DataRef DataOf(const DP::APTFeatureListPtr& inList) {
        const auto data = DP::APTDescriptorData::Create();
        data->SetFeatures(inList);
        return data;
    }
    static DP::APTFeatureListPtr OnePointList() {
        const auto list = TVK::MakeObject<DP::APTFeatureList>(40);
        list->front() = {.mX = 80.0f, .mY = 60.0f, .mStatus = DP::kAPTFeatureTracked};
        return list;
    }
    static DataRef Start() { return {}; }
    static DataRef OnePoint() { return DataOf(OnePointList()); }
    static std::vector<DataRef> BadPrevious() { return {DataOf({})}; }
    static std::vector<Slot> Slots(const DataRef& inData) {
        return SlotsOf(*Ref<DP::IAPTDescriptorData>(inData)->GetFeatures());
    }
};

struct RegionTracker : APT {
    using Item = DP::RegionTrackerDescriptorWorkerItem;
    static constexpr auto kType = DP::kDescriptorDataTypeRegionTracker;
    static constexpr const char* kStem = "Src/RegionTracker/RegionTrackerDescriptor";
    static constexpr bool kKeyFills = false, kReadsKeyFirst = true;

    static auto Property(const Numbers& inNumbers) {
        return DP::CreateRegionTrackerDescriptorProperty(
            inNumbers.mFeatures, 3, inNumbers.mDistance, 20, Wide("clip"), Region(), 1, kType);
    }
    static auto Key(long long inFrame, unsigned int inMinFeatures) {
        return DP::CreateRegionTrackerDescriptorDataKey(Wide("clip"), inFrame, 3, 40, kRows,
                                                        kCols, Region(), 1, 8, inMinFeatures);
    }
    static void SetInputs(const ItemRef& inItem, int inFrom, int inTo, const DataRef& inData) {
        Ref<DP::IRegionTrackerDescriptorWorkerItem>(inItem)->SetInputs(
            FloatFrame(inFrom), FloatFrame(inTo), inData, kCols, kRows);
    }
    static DataRef Start() { return DP::CreateRegionDescriptorData(Region()); }
    static DataRef OnePoint() {
        const auto data = DP::RegionTrackerDescriptorData::Create();
        data->SetRegionAndFeatures(Region(), OnePointList());
        return data;
    }
    static std::vector<DataRef> BadPrevious() {
        return {DataRef(), DP::CreateRegionDescriptorData(nullptr)};
    }
};

template <class Tracker>
class Trackers : public testing::Test {
protected:
    ~Trackers() override { DP::FlushAllDescriptorResources(); }

    static Ref<DP::IDescriptorComputer> Computer(const Numbers& inNumbers = {}) {
        return DP::CreateDescriptorComputer(Tracker::Property(inNumbers));
    }
    static ItemRef Item(long long inFrame, unsigned int inMinFeatures = 20) {
        const auto item = DP::CreateDescriptorWorkerItem(Tracker::kType);
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
    const Testing::RecordedReports reports;
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
    const Ref<DP::DescriptorWorkerItem> lonely(this->FirstItem());
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
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage);
    item->SetDataKey(TypeParam::Key(1, 20));
    const unsigned char pixels[16] = {};
    Ref<DP::IGreyImageDescriptorWorkerItem>(item)->SetInputImage(pixels, 2, 2, 8);
    const auto data = this->Computer()->GetDescriptorData(item, false);
    EXPECT_TRUE(Ref<DP::IGreyImageDescriptorData>(data) != NULL);
}

}  // namespace
