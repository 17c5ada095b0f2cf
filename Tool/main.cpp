// descriptor-host: drives the descriptor library as a video editor does, and shows what
// comes out.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "Commands/Commands.h"
#include "DP/DescriptorFactory.h"
#include "Help.h"
#include "Interrupt.h"
#include "System.h"
#include "UserError.h"

namespace {

constexpr int kBadInput = 1;
constexpr int kBadOption = 2;
constexpr int kLibraryFailed = 3;

int Complain(const std::string& inText, int inExitCode) {
    std::string line = inText;
    for (char& letter : line)
        if (letter == '\n') letter = ' ';
    std::cerr << "descriptor-host: " << line << "\n";
    return inExitCode;
}

// The parser would only say that a command is missing.
void RefuseUnknownCommand(const CLI::App& inProgram, int inCount, char** inArguments) {
    if (inCount < 2 || inArguments[1][0] == '-') return;
    std::string names;
    for (const CLI::App* command :
         inProgram.get_subcommands([](const CLI::App*) { return true; })) {
        if (command->get_name() == inArguments[1]) return;
        names += (names.empty() ? "" : ", ") + command->get_name();
    }
    throw Host::UsageError(std::string("there is no command '") + inArguments[1] +
                           "'; the commands are: " + names);
}

int RunProgram(int inCount, char** inArguments) {
    CLI::App program(
        Host::Wrapped(
            "Shows what the descriptor library computes from video: images, tracked points and "
            "rectangles, and selections. Without an input, a command renders a short clip "
            "whose "
            "true motion is known, and reports how far its results are off.",
            88),
        "descriptor-host");
    program.footer(
        "Try:      descriptor-host grey -o out\n"
        "Details:  descriptor-host grey --help");
    program.set_version_flag("--version", "descriptor-host " DP_VERSION);
    program.require_subcommand(1);
    program.get_formatter()->column_width(28);

    Host::Run run;
    Host::AddGreyCommand(program, run);
    Host::AddPyramidCommand(program, run);
    Host::AddTrackCommand(program, run);
    Host::AddRegionCommand(program, run);
    Host::AddSelectCommand(program, run);
    Host::AddSelfCheckCommand(program, run);
    Host::AddBenchCommand(program, run);
    RefuseUnknownCommand(program, inCount, inArguments);
    try {
        program.parse(inCount, inArguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return program.exit(error);  // help
        return Complain(std::string(error.what()) + " (--help tells more)", kBadOption);
    }

    Host::CatchInterrupts();
    const int exitCode = run();
    DP::FlushAllDescriptorResources();
    return exitCode;
}

// A full disk behind standard output is noticed when the last of it is written.
int CheckedOutput(int inExitCode) {
    std::cout.flush();
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good())
        return inExitCode;
    return inExitCode != 0 ? inExitCode
                           : Complain("standard output cannot be written", kBadInput);
}

}  // namespace

int main(int inCount, char** inArguments) {
    Host::MakeStreamsPlain();
    std::vector<std::string> texts = Host::Utf8Arguments(inCount, inArguments);
    std::vector<char*> arguments;
    for (std::string& text : texts)
        arguments.push_back(text.data());
    try {
        return CheckedOutput(RunProgram(int(arguments.size()), arguments.data()));
    } catch (const Host::UsageError& error) {
        return Complain(error.what(), kBadOption);
    } catch (const Host::UserError& error) {
        // A signal ends the wait for a pipe, and with it whatever needed the pipe.
        if (Host::Interrupted())
            return Complain(std::string("stopped; ") + error.what(),
                            Host::kInterruptedExitCode);
        return Complain(error.what(), kBadInput);
    } catch (const std::exception& error) {
        return Complain(std::string("the run failed: ") + error.what(), kLibraryFailed);
    }
}
