// peaks: the most memory that the kinds take for frames of a size.
//
//     peaks [COLUMNS ROWS]
//
// 7680 by 4320 without them. Each kind runs in a process of its own: two frames of a tracker,
// or a frame's first cut and a stroke on it. What is told is the most memory that was resident
// from the first request on, less what was before it: the program and the host's frames.

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Session.h"
#include "TVK/MemoryRecycler.h"

namespace {

using Endurance::Session;

// Of /proc/self/status, in MiB. Linux only, as is counting anew.
double Mebibytes(const char* inName) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(inName))
            return std::atof(line.c_str() + line.find(':') + 1) / 1024;
    return 0.0;
}

void CountPeakAnew() { std::ofstream("/proc/self/clear_refs") << 5; }

void Report(const char* inName, Session::Kind inKind, const Scenarios::Clip& inClip) {
    Session session(inClip, 2);
    TVK::MemoryRecycler::Instance()->Trim();
    CountPeakAnew();
    const double before = Mebibytes("VmRSS");
    session.Step(0, {inKind});
    const double first = Mebibytes("VmHWM") - before;
    session.Step(1, {inKind});
    std::printf("%-8s first frame %6.0f MiB, with a further one %6.0f MiB\n", inName, first,
                Mebibytes("VmHWM") - before);
}

}  // namespace

int main(int inCount, char** inArguments) {
    Scenarios::Clip clip{.mColumns = 7680, .mRows = 4320, .mNoise = 2};
    if (inCount == 3) {
        clip.mColumns = std::atoi(inArguments[1]);
        clip.mRows = std::atoi(inArguments[2]);
    }
    if ((inCount != 1 && inCount != 3) || clip.mColumns < 96 || clip.mRows < 72) {
        std::fputs("usage: peaks [COLUMNS ROWS], of 96 by 72 or more\n", stderr);
        return 2;
    }
    constexpr struct {
        const char* mName;
        Session::Kind mKind;
    } kKinds[] = {{"KLT", Session::kKlt},
                  {"APT", Session::kApt},
                  {"region", Session::kRegion},
                  {"cut", Session::kCut}};
    bool passed = true;
    for (const auto& [name, kind] : kKinds) {
        const pid_t child = fork();
        if (child == 0) {
            Report(name, kind, clip);
            std::exit(0);
        }
        int status = -1;
        passed = waitpid(child, &status, 0) == child && status == 0 && passed;
    }
    return passed ? 0 : 1;
}
