// Nothing grows: the heap and the recycler under many strokes and many frames.

#include <gtest/gtest.h>

#include "GraphCut/GraphCutWrapper.h"
#include "Scene.h"
#include "Support/HeapCounter.h"
#include "TVK/MemoryRecycler.h"

namespace {

using Testing::ByteImage;
using Testing::FlatImage;
using Testing::PaintDab;
using Testing::Scene;

struct Held {
    long mBlocks = Testing::LiveHeapBlocks();
    std::size_t mUsed = TVK::MemoryRecycler::Instance()->GetUsedBytes();
    std::size_t mUnused = TVK::MemoryRecycler::Instance()->GetUnusedBytes();
};

void ExpectNoMore(const Held& inBefore) {
    const Held now;
    EXPECT_LE(now.mBlocks, inBefore.mBlocks);
    EXPECT_LE(now.mUsed, inBefore.mUsed);
    EXPECT_LE(now.mUnused, inBefore.mUnused);
}

// Cells may still be added to their pool by a stroke that moves more than any before it; the
// same strokes over again must do with what is there.
TEST(GraphCutHeap, ThousandStrokesOnOneFrameHoldNoMoreThanTheFirst) {
    const Scene scene(96, 64);
    DP::GraphCutWrapper wrapper;
    ByteImage labels =
        wrapper.ComputeLabelImage(scene.mPixels.data(), scene.mRowBytes,
                                  scene.ForegroundStrokes(), scene.BackgroundStrokes(), {});
    const auto strokes = [&](int inCount) {
        for (int i = 0; i < inCount; ++i) {
            const auto foreground = FlatImage(96, 64, 0), background = FlatImage(96, 64, 0);
            PaintDab(i % 2 ? foreground : background, (i * 37) % 96, (i * 23) % 64, 5);
            labels = wrapper.ComputeLabelImage(nullptr, 0, foreground, background, labels);
        }
    };
    strokes(400);
    const Held before;
    strokes(1000);
    ExpectNoMore(before);
}

TEST(GraphCutHeap, HundredFramesHoldNoMoreThanTheFirst) {
    const Scene scene(96, 64);
    DP::GraphCutWrapper wrapper;
    const auto cut = [&] {
        wrapper.ComputeLabelImage(scene.mPixels.data(), scene.mRowBytes,
                                  scene.ForegroundStrokes(), scene.BackgroundStrokes(), {});
    };
    cut();
    cut();
    const Held before;
    for (int i = 0; i < 100; ++i)
        cut();
    ExpectNoMore(before);
}

TEST(GraphCutHeap, WrapperGivesEverythingBackButThePoolOfCells) {
    const Scene scene(96, 64);
    const auto run = [&] {
        DP::GraphCutWrapper wrapper;
        wrapper.ComputeLabelImage(scene.mPixels.data(), scene.mRowBytes,
                                  scene.ForegroundStrokes(), scene.BackgroundStrokes(), {});
    };
    run();
    const Held before;
    run();
    ExpectNoMore(before);
}

}  // namespace
