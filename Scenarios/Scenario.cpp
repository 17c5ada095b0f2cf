#include "Scenario.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>

#include "DP/DescriptorFactory.h"

namespace Scenarios {
namespace {

constexpr ExpectedDigest kExpected[] = {
#include "Digests.inc"
};

}  // namespace

std::span<const ExpectedDigest> ExpectedDigests() { return kExpected; }

const ExpectedDigest* FindExpectedDigest(const std::string& inName) {
    const auto found = std::ranges::find(kExpected, inName, &ExpectedDigest::mName);
    return found == std::end(kExpected) ? nullptr : found;
}

std::vector<Digest> RunScenarios(const std::vector<Scenario>& inScenarios, int inThreads) {
    std::vector<Digest> digests(inScenarios.size());
    std::atomic<std::size_t> next{0};
    std::mutex alone;
    const auto work = [&] {
        for (std::size_t i = next++; i < inScenarios.size(); i = next++) {
            std::unique_lock<std::mutex> lock(alone, std::defer_lock);
            if (inScenarios[i].mRunsAlone) lock.lock();
            inScenarios[i].mRun(digests[i]);
        }
    };

    DP::FlushAllDescriptorResources();
    if (inThreads == 1) {
        work();  // the caller's own thread
    } else {
        std::vector<std::jthread> threads;
        threads.reserve(static_cast<std::size_t>(inThreads));
        for (int i = 0; i < inThreads; ++i)
            threads.emplace_back(work);
    }
    DP::FlushAllDescriptorResources();
    return digests;
}

}  // namespace Scenarios
