// Nothing grows: the heap and the recycler under many strokes and many frames.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "GraphCut/GraphCutWrapper.h"
#include "Scene.h"
#include "TVK/MemoryRecycler.h"

namespace {

std::atomic<long long> sLiveBlocks{0};

void* Allocate(std::size_t inSize, std::size_t inAlignment) {
    const std::size_t size = (inSize + inAlignment - 1) / inAlignment * inAlignment;
    void* const block = std::aligned_alloc(inAlignment, size == 0 ? inAlignment : size);
    if (!block) throw std::bad_alloc();
    ++sLiveBlocks;
    return block;
}

void Free(void* inBlock) {
    if (!inBlock) return;
    --sLiveBlocks;
    std::free(inBlock);
}

}  // namespace

void* operator new(std::size_t inSize) { return Allocate(inSize, alignof(std::max_align_t)); }
void* operator new(std::size_t inSize, std::align_val_t inAlignment) {
    return Allocate(inSize, std::size_t(inAlignment));
}
void operator delete(void* inBlock) noexcept { Free(inBlock); }
void operator delete(void* inBlock, std::size_t) noexcept { Free(inBlock); }
void operator delete(void* inBlock, std::align_val_t) noexcept { Free(inBlock); }
void operator delete(void* inBlock, std::size_t, std::align_val_t) noexcept { Free(inBlock); }

namespace {

using Testing::ByteImage;
using Testing::FlatImage;
using Testing::PaintDab;
using Testing::Scene;

struct Held {
    long long mBlocks = sLiveBlocks;
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
