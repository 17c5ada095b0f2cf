// digest: runs all scenarios and compares their digests with the expected ones.

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include "Scenario.h"

namespace {

using Scenarios::Digest;
using Scenarios::Scenario;

constexpr char kUsage[] =
    "usage: digest [--threads N] [--no-lapack] [--write]\n"
    "\n"
    "  --threads N  calling threads; 1 is the caller's own\n"
    "  --no-lapack  only the scenarios that do not rest on LAPACK\n"
    "  --write      prints the lines of Digests.inc for this machine\n";

struct Options {
    int mThreads = 1;
    bool mNoLapack = false;
    bool mWrite = false;
};

bool ReadOptions(int inCount, char** inArguments, Options& outOptions) {
    for (int i = 1; i < inCount; ++i) {
        const std::string option = inArguments[i];
        const int left = inCount - i - 1;
        if (option == "--threads" && left >= 1)
            outOptions.mThreads = std::stoi(inArguments[++i]);
        else if (option == "--no-lapack")
            outOptions.mNoLapack = true;
        else if (option == "--write")
            outOptions.mWrite = true;
        else
            return false;
    }
    return outOptions.mThreads >= 1;
}

std::vector<Scenario> Chosen(const Options& inOptions) {
    std::vector<Scenario> scenarios = Scenarios::HostScenarios();
    std::ranges::move(Scenarios::InsideScenarios(), std::back_inserter(scenarios));
    std::erase_if(scenarios, [&](const Scenario& inScenario) {
        return inScenario.mUsesLapack && inOptions.mNoLapack;
    });
    return scenarios;
}

// The digests in order, as one number.
std::uint64_t Total(const std::vector<Digest>& inDigests) {
    Digest total;
    for (const Digest& digest : inDigests)
        total.Add(digest.Value());
    return total.Value();
}

void Write(const std::vector<Scenario>& inScenarios, const std::vector<Digest>& inDigests) {
    for (std::size_t i = 0; i < inScenarios.size(); ++i)
        std::printf("{\"%s\", 0x%016llxu},\n", inScenarios[i].mName.c_str(),
                    static_cast<unsigned long long>(inDigests[i].Value()));
}

int Check(const std::vector<Scenario>& inScenarios, const std::vector<Digest>& inDigests) {
    int wrong = 0;
    for (std::size_t i = 0; i < inScenarios.size(); ++i) {
        const auto* const expected = Scenarios::FindExpectedDigest(inScenarios[i].mName);
        if (expected && expected->mDigest == inDigests[i].Value()) continue;
        ++wrong;
        std::printf("DIFFERS  %s\n", inScenarios[i].mName.c_str());
    }
    std::printf("%s  %zu scenarios, %d differ, digest %016llx\n", wrong == 0 ? "PASS" : "FAIL",
                inScenarios.size(), wrong, static_cast<unsigned long long>(Total(inDigests)));
    return wrong == 0 ? 0 : 1;
}

}  // namespace

int main(int inCount, char** inArguments) {
    Options options;
    if (!ReadOptions(inCount, inArguments, options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const auto scenarios = Chosen(options);
    const auto digests = Scenarios::RunScenarios(scenarios, options.mThreads);
    if (options.mWrite) return Write(scenarios, digests), 0;
    return Check(scenarios, digests);
}
