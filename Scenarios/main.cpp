// digest: runs all scenarios and compares their digests with the expected ones.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
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
    "  --compare FILE BOUND  compares these numbers with those of another machine: as many,\n"
    "                        every float within BOUND (pixels), statuses and counts equal\n";

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

// The numbers of the scenarios as lines of text: a head with the name, then integers (counts,
// statuses, ages) and floats, each behind its letter and in the order they were made.
std::vector<std::string> Lines(const std::vector<Scenario>& inScenarios,
                               const std::vector<Digest>& inDigests) {
    std::vector<std::string> lines;
    char text[64];
    for (std::size_t i = 0; i < inScenarios.size(); ++i) {
        lines.push_back("s " + inScenarios[i].mName);
        for (const std::int64_t value : inDigests[i].Integers())
            lines.push_back("i " + std::to_string(value));
        for (const float value : inDigests[i].Floats()) {
            std::snprintf(text, sizeof text, "f %a", double(value));
            lines.push_back(std::isnan(value) ? "f nan" : text);  // a NaN has no sign here
        }
    }
    return lines;
}

int Save(const std::vector<std::string>& inLines, const std::string& inPath) {
    std::ofstream file(inPath);
    for (const std::string& line : inLines)
        file << line << '\n';
    return file.flush() ? 0 : 1;
}

// How far two floats' lines are apart. A NaN agrees with a NaN only.
double Distance(const std::string& inLine, const std::string& inOther) {
    const float value = std::strtof(inLine.c_str() + 1, nullptr);
    const float other = std::strtof(inOther.c_str() + 1, nullptr);
    if (value == other || (std::isnan(value) && std::isnan(other))) return 0.0;
    const double difference = std::fabs(double(value) - double(other));
    return std::isnan(difference) ? INFINITY : difference;
}

// Floats may differ by the bound; heads, integers and the number of lines may not.
int Compare(const std::vector<std::string>& inLines, const std::string& inPath,
            double inBound) {
    std::ifstream file(inPath);
    double largest = 0.0;
    long apart = 0;
    long other_integers = 0;
    std::string line;
    std::size_t count = 0;
    for (; std::getline(file, line); ++count) {
        if (count >= inLines.size() || line[0] != inLines[count][0]) break;
        if (line[0] == 'f') {
            const double distance = Distance(line, inLines[count]);
            if (!(distance <= inBound)) ++apart;
            largest = std::max(largest, distance);
        } else if (line != inLines[count]) {
            ++other_integers;
        }
    }
    const bool whole = count == inLines.size() && file.eof();
    if (!whole) std::printf("another number of values, from line %zu on\n", count + 1);
    const bool same = whole && apart == 0 && other_integers == 0;
    std::printf(
        "%s  %zu values, %ld apart by more than %g, the largest difference %g, "
        "%ld statuses or counts differ\n",
        same ? "PASS" : "FAIL", count, apart, inBound, largest, other_integers);
    return same ? 0 : 1;
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
    if (!options.mSave.empty()) return Save(Lines(scenarios, digests), options.mSave);
    if (!options.mCompare.empty())
        return Compare(Lines(scenarios, digests), options.mCompare, options.mBound);
    return Check(scenarios, digests);
}
