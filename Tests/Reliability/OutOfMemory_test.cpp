// Every allocation of a run over all kinds is refused, one after the other: nothing leaks,
// no lock stays held, and the next run on a fresh start gives the right results.

#include <cstdlib>
#include <thread>

#include "DP/DescriptorFactory.h"
#include "Support/EveryKind.h"
#include "Support/Malloc.h"
#include "Support/Test.h"
#include "TVK/Exception.h"
#include "TVK/MemoryRecycler.h"
#include "TVK/ObjectPtr.h"

namespace {

using Scenarios::Digest;
using Scenarios::Scenario;
using Testing::MallocFaults;
using Testing::MallocPlan;

// The shared count of an ObjectPtr. Where there is no room for one, its object belongs to
// nobody and stays: so these are refused in a round of their own.
constexpr std::size_t kCountSize = sizeof(TVK::AtomicValue);

struct Outcome {
    long mSeen = 0;
    long mRefused = 0;
};

// Without memory a run may give up anywhere, and say so by an exception.
Outcome RunRefusing(const Scenario& inScenario, const MallocPlan& inPlan) {
    Digest ignored;
    const Testing::RecordedReports reports;
    const MallocFaults faults(inPlan);
    try {
        inScenario.mRun(ignored);
    } catch (const std::exception&) {
    }
    return {faults.Seen(), faults.Refused()};
}

void RunOnAnotherThread(const Scenario& inScenario) {
    std::thread([&] { RunRefusing(inScenario, {}); }).join();
}

void ExpectRightDigest(const Scenario& inScenario) {
    DP::FlushAllDescriptorResources();
    Digest digest;
    inScenario.mRun(digest);
    const auto* const expected = Scenarios::FindExpectedDigest(inScenario.mName);
    ASSERT_NE(expected, nullptr) << inScenario.mName;
    EXPECT_EQ(digest.Value(), expected->mDigest);
    DP::FlushAllDescriptorResources();
    TVK::MemoryRecycler::Instance()->Trim();
}

// One run with refusals, and all that has to be in order after it.
Outcome Try(const Scenario& inScenario, const MallocPlan& inPlan) {
    const Outcome outcome = RunRefusing(inScenario, inPlan);
    if (outcome.mRefused == 0) return outcome;
    RunOnAnotherThread(inScenario);  // would wait for a lock that stayed held
    ExpectRightDigest(inScenario);
    return outcome;
}

// What a run time sets up on its first exception stays; what leaks does so every time.
bool LeaksTwice(const Scenario& inScenario, const MallocPlan& inPlan) {
    const long before = Testing::LiveMallocBlocks();
    Try(inScenario, inPlan);
    const long between = Testing::LiveMallocBlocks();
    Try(inScenario, inPlan);
    return between > before && Testing::LiveMallocBlocks() > between;
}

// One refusal after the other until a run sees none. The number of refusals.
long Sweep(const Scenario& inScenario, MallocPlan inPlan, long inStride, bool inMayLeak) {
    ExpectRightDigest(inScenario);
    ExpectRightDigest(inScenario);  // pools have met their high-water mark
    long refused = 0;
    for (inPlan.mFirst = 1; !testing::Test::HasFailure(); inPlan.mFirst += inStride) {
        SCOPED_TRACE(inScenario.mName + ", allocation " + std::to_string(inPlan.mFirst));
        const long before = Testing::LiveMallocBlocks();
        const Outcome outcome = Try(inScenario, inPlan);
        if (outcome.mRefused == 0) break;
        refused += outcome.mRefused;
        const bool grew = Testing::LiveMallocBlocks() > before;
        EXPECT_FALSE(grew && !inMayLeak && LeaksTwice(inScenario, inPlan));
    }
    return refused;
}

// DP_FAULT_STRIDE=1 refuses every allocation; the usual run takes every few.
long Stride() {
    const char* const given = std::getenv("DP_FAULT_STRIDE");
    return given ? std::max(1L, std::atol(given)) : 13;
}

class OutOfMemory : public testing::TestWithParam<Scenario> {};

TEST_P(OutOfMemory, OneRefusalLeaksNothingAndHoldsNothing) {
    const long refused =
        Sweep(GetParam(), {.mExemptSize = kCountSize}, Stride(), /*inMayLeak=*/false);
    RecordProperty("refused", std::to_string(refused));
    EXPECT_GT(refused, 0);
}

TEST_P(OutOfMemory, NoMemoryFromThereOnLeaksNothingAndHoldsNothing) {
    const long refused = Sweep(GetParam(), {.mAndAllAfter = true, .mExemptSize = kCountSize},
                               Stride(), /*inMayLeak=*/false);
    RecordProperty("refused", std::to_string(refused));
    EXPECT_GT(refused, 0);
}

TEST_P(OutOfMemory, AMissingCountIsSafe) {
    const long refused =
        Sweep(GetParam(), {.mOnlySize = kCountSize}, Stride(), /*inMayLeak=*/true);
    RecordProperty("refused", std::to_string(refused));
}

INSTANTIATE_TEST_SUITE_P(EveryKind, OutOfMemory, testing::ValuesIn(Testing::EveryKind()),
                         [](const auto& inInfo) {
                             std::string name = inInfo.param.mName;
                             std::ranges::replace_if(
                                 name, [](char c) { return c == '/' || c == '-'; }, '_');
                             return name;
                         });

TEST(MemoryRecyclers, GiveUnusedBlocksBackWhenTheyGo) {
    const long before = Testing::LiveMallocBlocks();
    {
        TVK::MemoryRecycler recycler;
        TVK::MemoryBuffer buffer = recycler.AllocateBuffer(100000);
        recycler.RecycleBuffer(buffer);
    }
    EXPECT_EQ(Testing::LiveMallocBlocks(), before);
}

}  // namespace
