// selfcheck: whether this build gives the known results on this machine.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "Help.h"
#include "Insides.h"
#include "Machine.h"
#include "Scenario.h"
#include "System.h"

namespace Host {
namespace {

struct SelfCheckOptions {
    int mThreads = 1;
    bool mNoLapack = false;
};

// What this machine and this build are. False where the process has threads that nobody
// here made: the library promises to start none.
bool ReportMachine() {
    const int threads = ProcessThreads();
    std::printf("  instruction set  %s\n", InstructionSetLevel().c_str());
    std::printf("  kernels          %s\n", KernelTarget().c_str());
    std::printf("  LAPACK           %s\n", DP_LAPACK_IN_USE);
    std::printf("  threads          %d%s\n", threads,
                threads == 1 ? "" : "  (one was expected: another library has made some)");
    return threads == 1;
}

int CountDifferences(const std::vector<Scenarios::Scenario>& inScenarios,
                     const std::vector<Scenarios::Digest>& inDigests) {
    int different = 0;
    for (std::size_t i = 0; i < inScenarios.size(); ++i) {
        const auto* const expected = Scenarios::FindExpectedDigest(inScenarios[i].mName);
        if (expected && expected->mDigest == inDigests[i].Value()) continue;
        ++different;
        std::printf("  DIFFERS          %s%s\n", inScenarios[i].mName.c_str(),
                    inScenarios[i].mUsesLapack ? "  (rests on LAPACK)" : "");
    }
    return different;
}

int RunSelfCheck(const SelfCheckOptions& inOptions) {
    std::vector<Scenarios::Scenario> scenarios = Scenarios::HostScenarios();
    if (inOptions.mNoLapack)
        std::erase_if(scenarios, [](const auto& inScenario) { return inScenario.mUsesLapack; });
    const auto digests = Scenarios::RunScenarios(scenarios, inOptions.mThreads);

    std::printf("descriptor-host %s\n", DP_VERSION);
    const bool quiet = ReportMachine();
    const int different = CountDifferences(scenarios, digests);
    const bool passed = quiet && different == 0;
    std::printf("%s  %zu runs with known results, %d differ\n", passed ? "PASS" : "FAIL",
                scenarios.size(), different);
    return passed ? 0 : 1;
}

}  // namespace

void AddSelfCheckCommand(CLI::App& ioProgram, Run& outRun) {
    CLI::App* const command = ioProgram.add_subcommand(
        "selfcheck", "Whether the library gives its known results on this machine.");
    const auto options = std::make_shared<SelfCheckOptions>();
    command
        ->add_option("--threads", options->mThreads,
                     "Calling threads; 1 is the program's own (1).")
        ->check(CLI::Range(1, 64).description(""))
        ->type_name("N");
    command->add_flag("--no-lapack", options->mNoLapack,
                      Wrapped("Leave out what rests on LAPACK, which may round differently on "
                              "another kind of processor."));
    command->footer(
        "Prints PASS or FAIL with the names of the runs that differ, and what the machine\n"
        "is: instruction set, kernels chosen for it, LAPACK, threads of the process.\n"
        "Exit code 1 on FAIL.\n"
        "Example:  descriptor-host selfcheck --threads 4");
    command->callback([&outRun, options] {
        outRun = [options] {
            return RunSelfCheck(*options);
        };
    });
}

}  // namespace Host
