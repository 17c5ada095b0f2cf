// What the tool asks of the system, beside files, pipes and signals. One file for each system:
// posix/System.cpp and windows/System.cpp.

#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Host {

/// Which file of which volume a path leads to.
struct FileIdentity {
    std::uint64_t mVolume = 0, mFile = 0;
    auto operator<=>(const FileIdentity&) const = default;
};
/// Nothing for what is missing, or is a pipe or a device; `-` is standard input.
std::optional<FileIdentity> IdentifyFile(const std::string& inPath);

bool CanWriteInto(const std::string& inFolder);

/// The arguments of `main` as UTF-8, as all paths of the program are.
std::vector<std::string> Utf8Arguments(int inCount, char** inArguments);

/// Standard input and output are bytes: no system's line ends are put in or taken out.
void MakeStreamsPlain();

bool IsErrorsATerminal();
/// In letters; 80 where that is not known.
std::size_t TerminalWidth();

/// The processor's time of this thread; on Windows, which counts that in steps of 15 ms, time
/// as on the wall.
double ThreadSeconds();

/// As the system calls it.
std::string ProcessorName();

/// The threads of this process; 0 where the system does not say.
int ProcessThreads();

}  // namespace Host
