// What is special about the region kind: its rectangle. What it shares with the other trackers
// is tested in Tests/Kinds, its property and key in Tests/Core.

#include "DP/DescriptorFactory.h"
#include "DP/IAPTDescriptor.h"
#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "Support/Images.h"
#include "Support/RegionScene.h"
#include "Support/Test.h"

namespace {

using namespace DP;
using namespace Testing;
using Rect = TVK::ParamRect<float>;
using Null = TVK::NullInterfaceException;

constexpr auto kKind = kDescriptorDataTypeRegionTracker;

RegionPtr RegionAt(const Rect& inRect) { return TVK::MakeObject<Rect>(inRect); }

Ref<IDescriptorProperty> PropertyOf(RegionPtr inRegion, int inTag = 1) {
    return CreateRegionTrackerDescriptorProperty(80, 3, 4, 20, Wide("clip"), inRegion, inTag,
                                                 kKind);
}

Ref<IDescriptorDataKey> KeyOf(RegionPtr inRegion, long long inFrame, int inTag = 1) {
    return CreateRegionTrackerDescriptorDataKey(Wide("clip"), inFrame, 3, 80, 120, 160,
                                                inRegion, inTag, 4, 20);
}

IP::ImagePtr<float> ImageOf(const RegionScene& inScene, int inFrame) {
    return Testing::ImageOf(inScene.mCols, inScene.mRows, inScene.Frame(inFrame));
}

class RegionTrackerKind : public testing::Test {
protected:
    RegionTrackerKind() { mScene.mSpeedX = 1.5; }
    ~RegionTrackerKind() override { FlushAllDescriptorResources(); }

    RegionPtr Start() const { return RegionAt(RectOf(mScene.At(0), mScene.mRows)); }
    // The item of one frame, inputs set.
    Ref<IDescriptorWorkerItem> ItemOf(int inFrame,
                                      Ref<IRegionTrackerDescriptorData> inPrevious) {
        const auto item = CreateDescriptorWorkerItem(kKind);
        item->SetDataKey(KeyOf(Start(), inFrame));
        Ref<IRegionTrackerDescriptorWorkerItem>(item)->SetInputs(
            inFrame > 0 ? ImageOf(mScene, inFrame - 1) : nullptr, ImageOf(mScene, inFrame),
            inPrevious, 160, 120);
        return item;
    }

    RegionScene mScene;
};

// ---- A run -----------------------------------------------------------------------------

TEST_F(RegionTrackerKind, CarriesTheRectangleThroughARun) {
    const auto computer = CreateDescriptorComputer(PropertyOf(Start()));
    Ref<IRegionTrackerDescriptorData> data = CreateRegionDescriptorData(Start());
    for (int frame = 0; frame < 8; ++frame) {
        const auto result = computer->GetDescriptorData(ItemOf(frame, data), true);
        data = result;
        ASSERT_TRUE(data != NULL);
        EXPECT_GT(Overlap(BoxOf(*data->GetRegion(), mScene.mRows), mScene.At(frame)), 0.9);
        EXPECT_EQ(result->GetDataSize(), 80 * sizeof(APTFeature) + 16);
        EXPECT_EQ(Ref<IAPTDescriptorData>(data)->GetFeatures()->size(), 80u);
    }
}

// ---- Data ------------------------------------------------------------------------------

TEST_F(RegionTrackerKind, TheStartOfARunHoldsARectangleAndNoList) {
    const RegionPtr start = Start();
    const auto data = CreateRegionDescriptorData(start);
    EXPECT_TRUE(data->GetRegion() == start);
    EXPECT_TRUE(Ref<IAPTDescriptorData>(data)->GetFeatures() == NULL);
    EXPECT_EQ(Ref<IDescriptorData>(data)->GetDataSize(), 16u);

    const Ref<IRegionTrackerDescriptorData> clone(Ref<IDescriptorData>(data)->CloneData());
    ASSERT_TRUE(clone != NULL);
    EXPECT_FALSE(clone->GetRegion() == start) << "a rectangle of its own";
    EXPECT_EQ(*clone->GetRegion(), *start);
    EXPECT_TRUE(Ref<IAPTDescriptorData>(clone)->GetFeatures() == NULL);
}

TEST_F(RegionTrackerKind, WithoutARectangleDataHasNoSize) {
    const auto data = RegionTrackerDescriptorData::Create();
    data->SetRegionAndFeatures({}, TVK::MakeObject<APTFeatureList>(5));
    EXPECT_EQ(data->GetDataSize(), 0u);
    data->SetRegionAndFeatures(Start(), TVK::MakeObject<APTFeatureList>(5));
    EXPECT_EQ(data->GetDataSize(), 5 * sizeof(APTFeature) + 16);
}

}  // namespace
