#include "image/RecycledAllocator.h"
#include "Support/Test.h"

namespace {

std::size_t UsedBytes() { return TVK::MemoryRecycler::Instance()->GetUsedBytes(); }

TEST(RecycledAllocator, LargeVectorsLieInTheRecyclerAndGoBackSmallOnesDoNot) {
    const std::size_t before = UsedBytes();
    {
        const IP::RecycledVector<double> small(100, 1.0);
        EXPECT_EQ(UsedBytes(), before);
        const IP::RecycledVector<double> large(100000, 1.0);
        EXPECT_GE(UsedBytes(), before + 100000 * sizeof(double));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(large.data()) % 64, 0u);
    }
    EXPECT_EQ(UsedBytes(), before);
}

TEST(RecycledAllocator, VectorGrowsFromHeapToRecyclerMovesAndIsSwappedWithItsValues) {
    const std::size_t before = UsedBytes();
    {
        IP::RecycledVector<int> values;
        for (int i = 0; i < 200000; ++i)
            values.push_back(i);
        IP::RecycledVector<int> other(3, 7);
        std::swap(values, other);
        const IP::RecycledVector<int> moved = std::move(other);
        ASSERT_EQ(moved.size(), 200000u);
        EXPECT_EQ(std::accumulate(moved.begin(), moved.end(), 0LL), 199999LL * 100000);
        EXPECT_EQ(values, IP::RecycledVector<int>(3, 7));
    }
    EXPECT_EQ(UsedBytes(), before);
}

TEST(RecycledAllocator, NoBlockIsAnException) {
    IP::RecycledAllocator<double> allocator;
    EXPECT_THROW((void)allocator.allocate(std::size_t{1} << 57), std::bad_alloc);
    EXPECT_THROW((void)allocator.allocate(std::numeric_limits<std::size_t>::max()),
                 std::bad_alloc);
}

}  // namespace
