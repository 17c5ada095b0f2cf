// The graph cut as a kind: item, data, and the road through computer and cache.

#include "DP/DescriptorFactory.h"
#include "DP/IGraphCutDescriptor.h"
#include "GraphCut/GraphCutDescriptorWorkerItem.h"
#include "Scene.h"
#include "Support/Test.h"
#include "TVK/Exception.h"
#include "platform/Debugger.h"

namespace {

using namespace DP;
using namespace Testing;

constexpr auto kKind = kDescriptorDataTypeGraphCut;

std::string sDebugText;

struct RecordedDebugText {
    RecordedDebugText() {
        sDebugText.clear();
        mBefore =
            platform::SetDebugStringReceiver([](const char* inText) { sDebugText += inText; });
    }
    ~RecordedDebugText() { platform::SetDebugStringReceiver(mBefore); }
    platform::DebugStringReceiver mBefore;
};

Ref<IDescriptorWorkerItem> MakeItem(long long inFrame, const Scene& inScene,
                                    ByteImage inForeground, ByteImage inBackground,
                                    ByteImage inLabels) {
    const auto item = CreateDescriptorWorkerItem(kKind);
    item->SetDataKey(
        CreateDescriptorDataKey(Wide("clip"), inFrame, inScene.mRows, inScene.mColumns));
    Ref<IGraphCutDescriptorWorkerItem>(item)->SetInputs(
        inScene.mPixels.data(), inScene.mRowBytes, inForeground, inBackground, inLabels);
    return item;
}

struct GraphCutKind : testing::Test {
    ~GraphCutKind() override { FlushAllDescriptorResources(); }
    Scene mScene{64, 48};
};

TEST_F(GraphCutKind, SelectionRunsThroughTheFactoriesAndItsLabelsStartTheNextStroke) {
    const auto computer =
        CreateDescriptorComputer(CreateDescriptorProperty(Wide("clip"), kKind));
    const auto first = computer->GetDescriptorData(
        MakeItem(3, mScene, mScene.ForegroundStrokes(), mScene.BackgroundStrokes(), {}), true);
    const auto labels = Ref<IGraphCutDescriptorData>(first)->GetLabelImage();
    EXPECT_GT(mScene.Agreement(labels), 0.95);

    const auto background = FlatImage(64, 48, 0);
    PaintDab(background, 32, 24, 30);
    const auto second = computer->GetDescriptorData(
        MakeItem(4, mScene, FlatImage(64, 48, 0), background, labels), true);
    const auto shrunk = Ref<IGraphCutDescriptorData>(second)->GetLabelImage();
    EXPECT_LT(mScene.Agreement(shrunk), mScene.Agreement(labels));

    const auto again =
        computer->GetDescriptorData(MakeItem(3, mScene, {}, {}, {}), true);  // inputs unread
    EXPECT_EQ(Ref<IGraphCutDescriptorData>(again)->GetLabelImage(), labels);
}

TEST_F(GraphCutKind, SaysInTheDebuggerWhatItComputes) {
    const RecordedDebugText recorded;
    const auto none = FlatImage(64, 48, 0);
    Ref<DescriptorWorkerItem>(MakeItem(-17, mScene, none, none, {}))->ComputeData();
    EXPECT_EQ(sDebugText, " *** Computing Graph cut segmentation Data (-17) **** \n");
}

TEST_F(GraphCutKind, ItemWithoutAKeyThrowsBeforeAnythingIsSaid) {
    const RecordedDebugText recorded;
    const Ref<DescriptorWorkerItem> item(CreateDescriptorWorkerItem(kKind));
    EXPECT_THROW(item->ComputeData(), TVK::NullInterfaceException);
    EXPECT_EQ(sDebugText, "");
}

}  // namespace
