// digest: runs all scenarios and compares their digests with the expected ones.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Scenario.h"

namespace {

using Scenarios::Digest;
using Scenarios::Scenario;

constexpr char kUsage[] =
    "usage: digest [--threads N] [--no-lapack] [--write | --save FILE | --compare FILE BOUND]\n"
    "\n"
    "  --threads N           calling threads; 1 is the caller's own\n"
    "  --no-lapack           only the scenarios that do not rest on LAPACK\n"
    "  --write               prints the lines of Digests.inc for this machine\n"
    "  --save FILE           writes every number of the scenarios that rest on LAPACK\n"
    "  --compare FILE BOUND  compares these numbers with those of another machine: every\n"
    "                        point's position must agree within BOUND pixels\n";

struct Options {
    int mThreads = 1;
    bool mNoLapack = false;
    bool mWrite = false;
    std::string mSave;
    std::string mCompare;
    double mBound = 0.0;
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
        else if (option == "--save" && left >= 1)
            outOptions.mSave = inArguments[++i];
        else if (option == "--compare" && left >= 2) {
            outOptions.mCompare = inArguments[++i];
            outOptions.mBound = std::stod(inArguments[++i]);
        } else
            return false;
    }
    return outOptions.mThreads >= 1;
}

std::vector<Scenario> Chosen(const Options& inOptions) {
    std::vector<Scenario> scenarios = Scenarios::HostScenarios();
    std::ranges::move(Scenarios::InsideScenarios(), std::back_inserter(scenarios));
    const bool only_lapack = !inOptions.mSave.empty() || !inOptions.mCompare.empty();
    std::erase_if(scenarios, [&](const Scenario& inScenario) {
        return inScenario.mUsesLapack ? inOptions.mNoLapack : only_lapack;
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

int Save(const std::vector<Digest>& inDigests, const std::string& inPath) {
    std::ofstream file(inPath, std::ios::binary);
    for (const Digest& digest : inDigests)
        file.write(reinterpret_cast<const char*>(digest.Floats().data()),
                   static_cast<std::streamsize>(digest.Floats().size() * sizeof(float)));
    return file.flush() ? 0 : 1;
}

// Numbers are compared one by one, in the order they were made.
int Compare(const std::vector<Digest>& inDigests, const std::string& inPath, double inBound) {
    std::ifstream file(inPath, std::ios::binary);
    double largest = 0.0;
    long apart = 0;
    long count = 0;
    for (const Digest& digest : inDigests)
        for (const float value : digest.Floats()) {
            float other = 0.0f;
            if (!file.read(reinterpret_cast<char*>(&other), sizeof other)) {
                std::printf("FAIL  %s is too short\n", inPath.c_str());
                return 1;
            }
            ++count;
            if (value == other || (std::isnan(value) && std::isnan(other))) continue;
            const double difference = std::fabs(double(value) - double(other));
            if (!(difference <= inBound)) ++apart;
            largest = std::isnan(difference) ? INFINITY : std::max(largest, difference);
        }
    std::printf("%s  %ld numbers, %ld apart by more than %g, the largest difference %g\n",
                apart == 0 ? "PASS" : "FAIL", count, apart, inBound, largest);
    return apart == 0 ? 0 : 1;
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
    if (!options.mSave.empty()) return Save(digests, options.mSave);
    if (!options.mCompare.empty()) return Compare(digests, options.mCompare, options.mBound);
    return Check(scenarios, digests);
}
