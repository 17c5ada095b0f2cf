// long_life: the library over a long session, in a process that counts its memory.
//
//     long_life [requests=N] [frames=N] [flushes=N]
//
// At each of 20 checkpoints everything is flushed, and then the process must hold exactly
// the blocks that it held at the checkpoint before; the first quarter, in which pools meet
// their high-water mark, is left out. Resident memory must not grow by more than 1 MiB over
// the whole run, by the line of least squares through its values at the checkpoints.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Clip.h"
#include "DP/DescriptorFactory.h"
#include "DP/IGreyImageDescriptor.h"
#include "Resident.h"
#include "Session.h"
#include "Support/EveryKind.h"
#include "Support/Malloc.h"
#include "Support/WideStrings.h"
#include "TVK/MemoryRecycler.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

using DP::Ref;
using Endurance::Session;
using Scenarios::Clip;

constexpr int kCheckpoints = 20;
constexpr double kMayGrow = 1 << 20;

bool Report(const char* inName, long inSteps, const std::vector<double>& inBlocks,
            const std::vector<double>& inResident) {
    const auto [fewest, most] = std::ranges::minmax(inBlocks);
    const double slope = Testing::SlopePerStep(inResident) * kCheckpoints;
    const bool passed = fewest == most && slope <= kMayGrow;
    std::printf(
        "%s  %ld %s: %.0f to %.0f blocks at the checkpoints, %.1f MiB resident, "
        "growing by %.0f bytes over the run\n",
        passed ? "PASS" : "FAIL", inSteps, inName, fewest, most, inResident.back() / (1 << 20),
        slope);
    return passed;
}

// `inStep` gets the number of the step, `inLetGo` drops what the steps have kept.
bool Run(const char* inName, long inSteps, const std::function<void(long)>& inStep,
         const std::function<void()>& inLetGo) {
    std::vector<double> blocks;
    std::vector<double> resident;
    blocks.reserve(kCheckpoints);
    resident.reserve(kCheckpoints);
    for (int checkpoint = 0; checkpoint < kCheckpoints; ++checkpoint) {
        for (long i = 0; i < inSteps / kCheckpoints; ++i)
            inStep(checkpoint * (inSteps / kCheckpoints) + i);
        inLetGo();
        DP::FlushAllDescriptorResources();
        TVK::MemoryRecycler::Instance()->Trim();
#if defined(__GLIBC__)
        malloc_trim(0);  // what the heap keeps of freed blocks depends on where they lay
#endif
        if (checkpoint < kCheckpoints / 4) continue;
        blocks.push_back(static_cast<double>(Testing::LiveMallocBlocks()));
        resident.push_back(Testing::ResidentBytes());
    }
    return Report(inName, inSteps, blocks, resident);
}

// ---- Requests ------------------------------------------------------------------------

// 200 keys for a cache of 60: hits, misses, and the cache emptied again and again.
bool Requests(long inCount) {
    const Clip clip{.mColumns = 16, .mRows = 12};
    const auto frame = clip.Bgra(0);
    const auto type = DP::kDescriptorDataTypeGreyImage;
    const auto request = [&](long inStep) {
        const auto item = DP::CreateDescriptorWorkerItem(type);
        item->SetDataKey(
            DP::CreateDescriptorDataKey(Testing::LongWide(), inStep / 3 % 200, 12, 16));
        Ref<DP::IGreyImageDescriptorWorkerItem>(item)->SetInputImage(frame.data(), 12, 16,
                                                                     clip.RowBytes());
        DP::CreateDescriptorComputer(DP::CreateDescriptorProperty(Testing::LongWide(), type))
            ->GetDescriptorData(item, true);
    };
    return Run("requests", inCount, request, [] {});
}

// ---- Frames --------------------------------------------------------------------------

bool Frames(long inCount) {
    Session session({.mColumns = 96, .mRows = 72, .mSpeedX = 0.8, .mSpeedY = 0.4, .mNoise = 2},
                    40);
    return Run(
        "frames", inCount, [&](long inStep) { session.Step(inStep); },
        [&] { session.LetGo(); });
}

// ---- Flushes -------------------------------------------------------------------------

// The kinds in turn, each from a fresh start and with the right result.
bool Flushes(long inCount) {
    const auto scenarios = Testing::EveryKind();
    long wrong = 0;
    const auto cycle = [&](long inStep) {
        const auto& scenario = scenarios[std::size_t(inStep) % scenarios.size()];
        Scenarios::Digest digest;
        scenario.mRun(digest);
        const auto* const expected = Scenarios::FindExpectedDigest(scenario.mName);
        if (!expected || digest.Value() != expected->mDigest) ++wrong;
        DP::FlushAllDescriptorResources();
    };
    // Whole rounds between checkpoints, so that each sees the same kind last.
    const long round = kCheckpoints * static_cast<long>(scenarios.size());
    const bool flat = Run("flushes", std::max(1L, inCount / round) * round, cycle, [] {});
    if (wrong != 0) std::printf("FAIL  %ld of them with a wrong digest\n", wrong);
    return flat && wrong == 0;
}

}  // namespace

int main(int inCount, char** inArguments) {
    bool passed = true;
    for (int i = 1; i < inCount; ++i) {
        const std::string argument = inArguments[i];
        const std::size_t sign = argument.find('=');
        const std::string name = argument.substr(0, sign);
        const long count =
            sign == std::string::npos ? 0 : std::atol(argument.c_str() + sign + 1);
        if (count >= kCheckpoints && name == "requests")
            passed = Requests(count) && passed;
        else if (count >= kCheckpoints && name == "frames")
            passed = Frames(count) && passed;
        else if (count >= kCheckpoints && name == "flushes")
            passed = Flushes(count) && passed;
        else {
            std::fputs("usage: long_life [requests=N] [frames=N] [flushes=N]\n", stderr);
            return 2;
        }
    }
    return passed ? 0 : 1;
}
