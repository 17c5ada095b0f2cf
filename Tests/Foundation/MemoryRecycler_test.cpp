// The recycler: size classes, the bound, and blocks under threads.

#include "TVK/MemoryRecycler.h"
#include "Support/Test.h"

#include <atomic>
#include <thread>

namespace {

using namespace Testing;

// Destroyed after the library's own statics, whose first use comes later: what it asks for
// then must still work.
struct MakesABlockAtExit {
    ~MakesABlockAtExit() {
        const auto recycler = TVK::MemoryRecycler::Instance();
        TVK::MemoryBuffer buffer = recycler->AllocateBuffer(10000);
        std::memset(buffer.mBlock, 1, 10000);
        recycler->RecycleBuffer(buffer);
    }
} sMakesABlockAtExit;

using TVK::MemoryBuffer;
using TVK::MemoryRecycler;

TEST(MemoryRecycler, BlocksHoldTheirSizeAreAlignedAndWasteAtMostAQuarter) {
    MemoryRecycler recycler;
    std::size_t before = 0;
    for (std::int64_t size : {0, 1, 4095, 4096, 4097, 5120, 5121, 6144, 7169, 8192, 8193, 10240,
                              10241, 640 * 480, 1920 * 1080 * 4, 3840 * 2160 * 4 + 1}) {
        MemoryBuffer buffer = recycler.AllocateBuffer(size);
        ASSERT_NE(buffer.mBlock, nullptr) << size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.mBlock) % 64, 0u);
        std::memset(buffer.mBlock, 0x5A, std::size_t(size));
        const std::size_t classSize = recycler.GetUsedBytes();
        EXPECT_GE(classSize, std::size_t(size));
        EXPECT_LE(classSize, std::max<std::size_t>(4096, std::size_t(size) * 5 / 4));
        EXPECT_GE(classSize, before) << "classes grow with the size";
        before = classSize;
        recycler.RecycleBuffer(buffer);
        EXPECT_EQ(buffer.mBlock, nullptr);
        EXPECT_EQ(recycler.GetUsedBytes(), 0u);
    }
}

TEST(MemoryRecycler, ABlockComesBackToTheNextOfItsClass) {
    MemoryRecycler recycler;
    MemoryBuffer first = recycler.AllocateBuffer(100000);
    const void* const block = first.mBlock;
    recycler.RecycleBuffer(first);
    MemoryBuffer other = recycler.AllocateBuffer(300000);
    EXPECT_NE(other.mBlock, block);
    MemoryBuffer again = recycler.AllocateBuffer(100001);
    EXPECT_EQ(again.mBlock, block);
    recycler.RecycleBuffer(other);
    recycler.RecycleBuffer(again);
}

TEST(MemoryRecycler, ImpossibleSizesGiveANullBlock) {
    MemoryRecycler recycler;
    for (std::int64_t size :
         {std::int64_t{-1}, INT64_MIN, INT64_MAX, (std::int64_t{1} << 46) + 1}) {
        MemoryBuffer buffer = recycler.AllocateBuffer(size);
        EXPECT_EQ(buffer.mBlock, nullptr) << size;
        recycler.RecycleBuffer(buffer);
    }
    EXPECT_EQ(recycler.GetUsedBytes(), 0u);
    EXPECT_EQ(recycler.GetUnusedBytes(), 0u);
}

constexpr std::int64_t kMiB = 1 << 20;

TEST(MemoryRecycler, HoldsWhatWasInUseAtOnceAndTheOldestGoFirst) {
    MemoryRecycler recycler;
    std::vector<MemoryBuffer> buffers;
    const auto take = [&](int inCount, std::int64_t inSize) {
        for (int i = 0; i < inCount; ++i)
            buffers.push_back(recycler.AllocateBuffer(inSize));
    };
    const auto giveBack = [&] {
        for (auto& buffer : buffers)
            recycler.RecycleBuffer(buffer);
        buffers.clear();
    };
    take(2, 16 * kMiB);
    take(3, 32 * kMiB);
    giveBack();
    EXPECT_EQ(recycler.GetUnusedBytes(), std::size_t(128 * kMiB)) << "all of it was in use";
    EXPECT_EQ(recycler.GetMostUsedBytes(), std::size_t(128 * kMiB));

    // Another size: the two old blocks of 16 MiB and one of 32 make room for two of 40, of
    // which the spare bytes hold a part.
    take(2, 40 * kMiB);
    EXPECT_EQ(recycler.GetUsedBytes(), std::size_t(80 * kMiB));
    EXPECT_LE(recycler.GetUsedBytes() + recycler.GetUnusedBytes(),
              recycler.GetMostUsedBytes() + MemoryRecycler::kSpareBytes);
    EXPECT_EQ(recycler.GetUnusedBytes(), std::size_t(32 * kMiB));
    take(4, 40 * kMiB);  // more than ever
    EXPECT_EQ(recycler.GetMostUsedBytes(), std::size_t(240 * kMiB));
    EXPECT_EQ(recycler.GetUnusedBytes(), 0u);
    giveBack();

    recycler.Trim();
    take(1, 16 * kMiB);
    giveBack();
    take(1, 32 * kMiB);
    EXPECT_EQ(recycler.GetUnusedBytes(), 0u) << "what was in use before Trim does not count";
    giveBack();
}

// 64 TiB: there is a class for it, and no system is known to have it.
constexpr std::int64_t kMostBytes = std::int64_t{1} << 46;

TEST(MemoryRecycler, WhatTheSystemDoesNotHaveIsNotCountedAsUsed) {
    MemoryRecycler recycler;
    MemoryBuffer buffer = recycler.AllocateBuffer(kMostBytes);
    recycler.RecycleBuffer(buffer);
    EXPECT_EQ(recycler.GetUsedBytes(), 0u);
    EXPECT_EQ(recycler.GetUnusedBytes(), 0u);
}

TEST(MemoryRecycler, TrimFreesWhatIsUnusedAndLeavesTheRest) {
    MemoryRecycler recycler;
    MemoryBuffer kept = recycler.AllocateBuffer(10000);
    MemoryBuffer unused = recycler.AllocateBuffer(20000);
    recycler.RecycleBuffer(unused);
    std::memset(kept.mBlock, 1, 10000);
    recycler.Trim();
    EXPECT_EQ(recycler.GetUnusedBytes(), 0u);
    EXPECT_GE(recycler.GetUsedBytes(), 10000u);
    std::memset(kept.mBlock, 2, 10000);
    recycler.RecycleBuffer(kept);
}

TEST(MemoryRecycler, InstanceIsOneForAllAndOutlivesItsCallers) {
    TVK::ObjectPtr<MemoryRecycler> first;
    std::thread other([&] { first = MemoryRecycler::Instance(); });
    const auto second = MemoryRecycler::Instance();
    other.join();
    EXPECT_EQ(first, second);
}

// Each thread signs its blocks; a block given to two at once would show a foreign mark.
TEST(MemoryRecycler, ThreadsNeverShareABlock) {
    MemoryRecycler recycler;
    std::atomic<int> foreign{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            Random random(std::uint64_t(t) + 1);
            for (int i = 0; i < 20000; ++i) {  // as close together as can be
                MemoryBuffer buffer = recycler.AllocateBuffer(1);
                recycler.RecycleBuffer(buffer);
            }
            for (int i = 0; i < 3000; ++i) {
                const int size = random.Integer(1, 60000);
                MemoryBuffer buffer = recycler.AllocateBuffer(size);
                auto* const bytes = static_cast<unsigned char*>(buffer.mBlock);
                bytes[0] = bytes[size - 1] = static_cast<unsigned char>(t);
                if (i % 500 == 250) recycler.AllocateBuffer(kMostBytes);  // frees the unused
                std::this_thread::yield();
                if (bytes[0] != t || bytes[size - 1] != t) ++foreign;
                if (i % 500 == 0) recycler.Trim();
                recycler.RecycleBuffer(buffer);
            }
        });
    for (const auto figure : {&MemoryRecycler::GetUsedBytes, &MemoryRecycler::GetMostUsedBytes,
                              &MemoryRecycler::GetUnusedBytes})
        threads.emplace_back([&recycler, figure] {
            EXPECT_LE((recycler.*figure)(), 4 * 65536 + MemoryRecycler::kSpareBytes);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(foreign, 0);
    EXPECT_EQ(recycler.GetUsedBytes(), 0u);
}

}  // namespace
