// A repeated hit takes nothing from the heap.

#include "DP/DescriptorFactory.h"
#include "Support/HeapCounter.h"
#include "Support/Items.h"
#include "Support/Test.h"

namespace {

using namespace Testing;

TEST(CacheHit, TakesNothingFromTheHeapOnceItsMutexIsMade) {
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty(Wide("clip"), DP::kDescriptorDataTypeGreyImage));
    const auto request = [&](long long inFrame) {
        return ScriptedItem::Make(DP::CreateDescriptorDataKey(Wide("clip"), inFrame, 1, 1),
                                  [] { return CountedData::Make(); });
    };
    for (int frame = 0; frame < 50; ++frame)
        computer->GetDescriptorData(request(frame), true);
    const auto item = request(25);
    computer->GetDescriptorData(item, true);  // makes the mutex of the key

    const long before = HeapAllocations();
    for (int i = 0; i < 100; ++i)
        computer->GetDescriptorData(item, true);
    EXPECT_EQ(HeapAllocations() - before, 0);

    computer->GetDescriptorData(request(99), true);
    EXPECT_GT(HeapAllocations() - before, 0) << "the counter counts";
    DP::FlushAllDescriptorResources();
}

}  // namespace
