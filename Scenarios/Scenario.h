// Scenarios: runs of the library whose every result is known to the bit.
//
// They are what "the same bits on every machine" means. `Digests.inc` holds the digest of
// each; a change of a line there is a change of results, and is told in the CHANGELOG.

#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "Digest.h"

namespace Scenarios {

struct Scenario {
    std::string mName;
    /// Rests on LAPACK, which may round differently on another kind of processor.
    bool mUsesLapack = false;
    /// Graph cuts: one at a time in the process. All others may run side by side.
    bool mRunsAlone = false;
    /// Deterministic; leaves its results in the caches, so that a second run in one process
    /// needs a flush first.
    std::function<void(Digest&)> mRun;
};

/// Through the exported functions alone.
std::vector<Scenario> HostScenarios();

/// What no public interface shows: both pyramids' pixels, and the tiled graph.
std::vector<Scenario> InsideScenarios();

struct ExpectedDigest {
    const char* mName;
    std::uint64_t mDigest;
};

std::span<const ExpectedDigest> ExpectedDigests();

/// Null for a name that there is not.
const ExpectedDigest* FindExpectedDigest(const std::string& inName);

/// Runs scenarios on this many threads, dealt out in order as threads get free, and returns
/// their digests in the order of the scenarios. Flushes the library before and after.
std::vector<Digest> RunScenarios(const std::vector<Scenario>& inScenarios, int inThreads);

}  // namespace Scenarios
