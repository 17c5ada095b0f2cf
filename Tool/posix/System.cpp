#include "System.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <fstream>

namespace Host {

std::optional<FileIdentity> IdentifyFile(const std::string& inPath) {
    struct stat status {};
    const int result =
        inPath == "-" ? fstat(STDIN_FILENO, &status) : stat(inPath.c_str(), &status);
    if (result != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

bool CanWriteInto(const std::string& inFolder) {
    return access(inFolder.c_str(), W_OK | X_OK) == 0;
}

std::vector<std::string> Utf8Arguments(int inCount, char** inArguments) {
    return {inArguments, inArguments + inCount};
}

void MakeStreamsPlain() {}

bool IsErrorsATerminal() { return isatty(STDERR_FILENO) != 0; }

std::size_t TerminalWidth() {
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return known ? size.ws_col : 80;
}

double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

std::string ProcessorName() {
    utsname system{};
    return uname(&system) == 0 ? system.machine : "unknown";
}

int ProcessThreads() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (int count = 0; word == "Threads:" && status >> count) return count;
    return 0;
}

}  // namespace Host
