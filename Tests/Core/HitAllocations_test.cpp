// A repeated hit takes nothing from the heap. The program's own global `new` counts.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "DP/DescriptorFactory.h"
#include "Support/Items.h"
#include "Support/WideStrings.h"

namespace {

std::atomic<long> sAllocations{0};

}  // namespace

void* operator new(std::size_t inSize) {
    ++sAllocations;
    if (void* const block = std::malloc(inSize != 0 ? inSize : 1)) return block;
    throw std::bad_alloc();
}
void operator delete(void* inBlock) noexcept { std::free(inBlock); }
void operator delete(void* inBlock, std::size_t) noexcept { std::free(inBlock); }

namespace {

TEST(CacheHit, TakesNothingFromTheHeapOnceItsMutexIsMade) {
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty(Testing::Wide("clip"), DP::kDescriptorDataTypeGreyImage));
    const auto request = [&](long long inFrame) {
        return Testing::ScriptedItem::Make(
            DP::CreateDescriptorDataKey(Testing::Wide("clip"), inFrame, 1, 1),
            [] { return Testing::CountedData::Make(); });
    };
    for (int frame = 0; frame < 50; ++frame)
        computer->GetDescriptorData(request(frame), true);
    const auto item = request(25);
    computer->GetDescriptorData(item, true);  // makes the mutex of the key

    const long before = sAllocations;
    for (int i = 0; i < 100; ++i)
        computer->GetDescriptorData(item, true);
    EXPECT_EQ(sAllocations - before, 0);

    computer->GetDescriptorData(request(99), true);
    EXPECT_GT(sAllocations - before, 0) << "the counter counts";
    DP::FlushAllDescriptorResources();
}

}  // namespace
