// The descriptor kind: a run through property, key, item, computer and cache as a host does
// it, and what property, key, data and item add to those of the APT kind.

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "RegionTracker/RegionTrackerDescriptorWorkerItem.h"
#include "Support/Images.h"
#include "Support/RegionScene.h"
#include "Support/Reports.h"
#include "Support/WideStrings.h"
#include "quillet/Error.h"

namespace {

using DP::IDescriptorData;
using DP::Ref;
using DP::RegionPtr;
using Testing::RegionScene;
using Testing::Wide;
using Rect = TVK::ParamRect<float>;
using Null = TVK::NullInterfaceException;

constexpr auto kKind = DP::kDescriptorDataTypeRegionTracker;

RegionPtr RegionAt(const Rect& inRect) { return TVK::MakeObject<Rect>(inRect); }

Ref<DP::IDescriptorProperty> PropertyOf(RegionPtr inRegion, int inTag = 1) {
    return DP::CreateRegionTrackerDescriptorProperty(80, 3, 4, 20, Wide("clip"), inRegion,
                                                     inTag, kKind);
}

Ref<DP::IDescriptorDataKey> KeyOf(RegionPtr inRegion, long long inFrame, int inTag = 1) {
    return DP::CreateRegionTrackerDescriptorDataKey(Wide("clip"), inFrame, 3, 80, 120, 160,
                                                    inRegion, inTag, 4, 20);
}

IP::ImagePtr<float> ImageOf(const RegionScene& inScene, int inFrame) {
    return Testing::ImageOf(inScene.mCols, inScene.mRows, inScene.Frame(inFrame));
}

class RegionTrackerKind : public testing::Test {
protected:
    RegionTrackerKind() { mScene.mSpeedX = 1.5; }
    ~RegionTrackerKind() override { DP::FlushAllDescriptorResources(); }

    RegionPtr Start() const { return RegionAt(Testing::RectOf(mScene.At(0), mScene.mRows)); }
    // The item of one frame, inputs set.
    Ref<DP::IDescriptorWorkerItem> ItemOf(int inFrame,
                                          Ref<DP::IRegionTrackerDescriptorData> inPrevious) {
        const auto item = DP::CreateDescriptorWorkerItem(kKind);
        item->SetDataKey(KeyOf(Start(), inFrame));
        Ref<DP::IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
            inFrame > 0 ? ImageOf(mScene, inFrame - 1) : nullptr, ImageOf(mScene, inFrame),
            inPrevious, 160, 120);
        return item;
    }

    RegionScene mScene;
};

// ---- A run -----------------------------------------------------------------------------

TEST_F(RegionTrackerKind, CarriesTheRectangleThroughComputerAndCache) {
    const auto computer = DP::CreateDescriptorComputer(PropertyOf(Start()));
    Ref<DP::IRegionTrackerDescriptorData> data = DP::CreateRegionDescriptorData(Start());
    std::vector<Ref<IDescriptorData>> results;
    for (int frame = 0; frame < 8; ++frame) {
        results.push_back(computer->GetDescriptorData(ItemOf(frame, data), true));
        data = results.back();
        ASSERT_TRUE(data != NULL);
        EXPECT_GT(Testing::Overlap(Testing::BoxOf(*data->GetRegion(), mScene.mRows),
                                   mScene.At(frame)),
                  0.9);
        EXPECT_EQ(results.back()->GetDataSize(), 80 * sizeof(DP::APTFeature) + 16);
        EXPECT_EQ(Ref<DP::IAPTDescriptorData>(data)->GetFeatures()->size(), 80u);
    }
    // Asked again the frames come from the cache, and no input is read.
    for (int frame = 0; frame < 8; ++frame) {
        const auto item = DP::CreateDescriptorWorkerItem(kKind);
        item->SetDataKey(KeyOf(Start(), frame));
        EXPECT_EQ(computer->GetDescriptorData(item, true), results[std::size_t(frame)]);
    }
}

TEST_F(RegionTrackerKind, AnItemWithoutDataKeyOrEngineSaysSo) {
    const auto computer = DP::CreateDescriptorComputer(PropertyOf(Start()));
    EXPECT_THROW(computer->GetDescriptorData(ItemOf(0, nullptr), true), Null);
    EXPECT_THROW(
        computer->GetDescriptorData(ItemOf(0, DP::CreateRegionDescriptorData(nullptr)), true),
        Null);

    const Ref<DP::RegionTrackerDescriptorWorkerItem> item(
        ItemOf(0, DP::CreateRegionDescriptorData(Start())));
    EXPECT_TRUE(item->ComputeData() == NULL) << "no computer has lent it an engine";
    item->SetDataKey(nullptr);
    EXPECT_THROW(item->ComputeData(), Null);

    const auto empty = DP::CreateDescriptorWorkerItem(kKind);
    empty->SetDataKey(KeyOf(Start(), 1));
    EXPECT_TRUE(computer->GetDescriptorData(empty, true) == NULL) << "no image";
}

TEST_F(RegionTrackerKind, NullArgumentsBreakTheContractAndLeaveTheInputs) {
    const Testing::RecordedReports reports;
    const auto computer = DP::CreateDescriptorComputer(PropertyOf(Start()));
    const auto item = ItemOf(0, DP::CreateRegionDescriptorData(Start()));
    using Error = quillet::config::ReportedError;
    EXPECT_THROW(computer->GetDescriptorData(nullptr, true), Error);
    EXPECT_THROW(Ref<DP::IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(nullptr, nullptr,
                                                                              nullptr, 1, 1),
                 Error);
    EXPECT_THROW(Ref<DP::RegionTrackerDescriptorWorkerItem>(item)->SetTracker(nullptr), Error);
    const std::pair<const char*, const char*> expected[] = {
        {"inDescriptorWorkerItem != NULL",
         "Src/RegionTracker/RegionTrackerDescriptorComputer.cpp"},
        {"inCurrImage != NULL", "Src/RegionTracker/RegionTrackerDescriptorWorkerItem.cpp"},
        {"inAPTTracker != NULL", "Src/RegionTracker/RegionTrackerDescriptorWorkerItem.cpp"}};
    ASSERT_EQ(reports.Contracts().size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(reports.Contracts()[i].mText, expected[i].first);
        EXPECT_EQ(reports.Contracts()[i].mFile, expected[i].second);
    }
    EXPECT_TRUE(computer->GetDescriptorData(item, true) != NULL);
}

TEST_F(RegionTrackerKind, AComputerWantsARegionTrackersProperty) {
    EXPECT_THROW(DP::CreateDescriptorComputer(
                     DP::CreateAPTDescriptorProperty(1, 1, 1, 1, Wide("clip"), kKind, 0, 0)),
                 Null);
}

TEST_F(RegionTrackerKind, TheEngineTakesSlotsAndDistanceFromTheProperty) {
    const auto wide = DP::CreateRegionTrackerDescriptorProperty(12, 3, 15, 20, Wide("clip"),
                                                                Start(), 1, kKind);
    const auto data = DP::CreateDescriptorComputer(wide)->GetDescriptorData(
        ItemOf(0, DP::CreateRegionDescriptorData(Start())), false);
    const auto points = Ref<DP::IAPTDescriptorData>(data)->GetFeatures();
    ASSERT_EQ(points->size(), 12u);
    for (std::size_t i = 0; i < points->size(); ++i)
        for (std::size_t j = 0; j < i; ++j) {
            const auto &a = (*points)[i], &b = (*points)[j];
            if (a.mStatus < 0 || b.mStatus < 0) continue;
            EXPECT_GT(std::hypot(a.mX - b.mX, a.mY - b.mY), 15.0f);
        }
}

// ---- Data ------------------------------------------------------------------------------

TEST_F(RegionTrackerKind, TheStartOfARunHoldsARectangleAndNoList) {
    const RegionPtr start = Start();
    const auto data = DP::CreateRegionDescriptorData(start);
    EXPECT_TRUE(data->GetRegion() == start);
    EXPECT_TRUE(Ref<DP::IAPTDescriptorData>(data)->GetFeatures() == NULL);
    EXPECT_EQ(Ref<IDescriptorData>(data)->GetDataSize(), 16u);

    const Ref<DP::IRegionTrackerDescriptorData> clone(Ref<IDescriptorData>(data)->CloneData());
    ASSERT_TRUE(clone != NULL);
    EXPECT_FALSE(clone->GetRegion() == start) << "a rectangle of its own";
    EXPECT_EQ(*clone->GetRegion(), *start);
    EXPECT_TRUE(Ref<DP::IAPTDescriptorData>(clone)->GetFeatures() == NULL);
}

TEST_F(RegionTrackerKind, WithoutARectangleDataHasNoSize) {
    const auto data = DP::RegionTrackerDescriptorData::Create();
    data->SetRegionAndFeatures({}, TVK::MakeObject<DP::APTFeatureList>(5));
    EXPECT_EQ(data->GetDataSize(), 0u);
    data->SetRegionAndFeatures(Start(), TVK::MakeObject<DP::APTFeatureList>(5));
    EXPECT_EQ(data->GetDataSize(), 5 * sizeof(DP::APTFeature) + 16);
}

TEST_F(RegionTrackerKind, ACloneHasAListOfItsOwn) {
    const auto data = DP::RegionTrackerDescriptorData::Create();
    data->SetRegionAndFeatures(Start(), TVK::MakeObject<DP::APTFeatureList>(2));
    const auto clone = data->CloneData();
    EXPECT_EQ(clone->GetDataSize(), data->GetDataSize());
    data->GetFeatures()->front().mX = 5.0f;
    EXPECT_EQ(Ref<DP::IAPTDescriptorData>(clone)->GetFeatures()->front().mX, 0.0f);
}

// ---- Property and key ------------------------------------------------------------------

TEST(RegionTrackerProperty, ComparesLeftRightHeightAndTagAndNotTheHeightItStandsAt) {
    const Rect rect{10, 20, 50, 60};
    const auto equal = [&](const Rect& inOther, int inTag = 1) {
        return PropertyOf(RegionAt(rect))->IsEqual(PropertyOf(RegionAt(inOther), inTag));
    };
    EXPECT_TRUE(equal(rect));
    EXPECT_TRUE(equal({10, 40, 50, 80})) << "moved up by 20";
    EXPECT_FALSE(equal({10, 20, 50, 61}));
    EXPECT_FALSE(equal({11, 20, 51, 60}));
    EXPECT_FALSE(equal({10, 20, 51, 60}));
    EXPECT_FALSE(equal(rect, 2));
    EXPECT_FALSE(PropertyOf(RegionAt(rect))
                     ->IsEqual(DP::CreateAPTDescriptorProperty(80, 3, 4, 20, Wide("clip"),
                                                               kKind, 0, 0)));
}

TEST(RegionTrackerProperty, EqualOnesShareAComputerThoughTheirKeysDiffer) {
    const auto low = RegionAt({10, 20, 50, 60}), high = RegionAt({10, 40, 50, 80});
    EXPECT_EQ(DP::CreateDescriptorComputer(PropertyOf(low)),
              DP::CreateDescriptorComputer(PropertyOf(high)));
    EXPECT_TRUE(KeyOf(low, 1)->IsLessThan(KeyOf(high, 1)));
    DP::FlushAllDescriptorResources();
}

// Each key is below all that follow: the order of the members decides.
TEST(RegionTrackerKey, OrdersByLeftRightTopBottomTagAndThenAsAnAPTKey) {
    const Ref<DP::IDescriptorDataKey> ascending[] = {
        KeyOf(RegionAt({1, 9, 9, 9}), 9, 9), KeyOf(RegionAt({2, 9, 5, 9}), 9, 9),
        KeyOf(RegionAt({2, 3, 6, 9}), 9, 9), KeyOf(RegionAt({2, 4, 6, 5}), 9, 9),
        KeyOf(RegionAt({2, 4, 6, 6}), 9, 1), KeyOf(RegionAt({2, 4, 6, 6}), 1, 2),
        KeyOf(RegionAt({2, 4, 6, 6}), 2, 2)};
    for (std::size_t i = 0; i < std::size(ascending); ++i)
        for (std::size_t j = 0; j < std::size(ascending); ++j)
            EXPECT_EQ(ascending[i]->IsLessThan(ascending[j]), i < j) << i << ", " << j;
}

TEST(RegionTrackerKey, AnotherClassOrANullRegionThrowsAfterTheCheckForNull) {
    const Testing::RecordedReports reports;
    const auto key = KeyOf(RegionAt({1, 2, 3, 4}), 1);
    EXPECT_THROW(key->IsLessThan(nullptr), quillet::config::ReportedError);
    EXPECT_EQ(reports.Contracts().size(), 1u);
    EXPECT_THROW(key->IsLessThan(DP::CreateDescriptorDataKey(Wide("clip"), 1, 1, 1)), Null);
    EXPECT_THROW(key->IsLessThan(KeyOf(nullptr, 1)), Null);
    EXPECT_THROW(KeyOf(nullptr, 1)->IsLessThan(key), Null);
}

}  // namespace
