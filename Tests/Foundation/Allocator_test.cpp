// The allocator's edges: every size it can be asked for.

#include "TVK/Allocator.h"
#include "Support/Test.h"

namespace {

using TVK::Allocator;

TEST(Allocator, BlocksAreWritableAndAligned) {
    for (std::size_t size : {1, 4, 16, 100, 4096}) {
        void* const block = Allocator::Allocate(size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u);
        std::memset(block, 0xAB, size);
        Allocator::Dispose(block, size);
    }
}

TEST(Allocator, SizeZeroGivesABlockAndAnImpossibleSizeNone) {
    void* const block = Allocator::Allocate(0);
    EXPECT_NE(block, nullptr);
    Allocator::Dispose(block, 0);
    EXPECT_EQ(Allocator::Allocate(SIZE_MAX), nullptr);
    EXPECT_EQ(Allocator::Allocate(SIZE_MAX / 2 + 1), nullptr);
    Allocator::Dispose(nullptr, 4);
}

}  // namespace
