// The loop over the frames of an input, the same for every command.

#pragma once

#include <iostream>
#include <string>

#include "FrameSource.h"
#include "Interrupt.h"
#include "Progress.h"

namespace Host {

/// "1 frame", "12 frames".
inline std::string FramesText(long long inCount) {
    return std::to_string(inCount) + (inCount == 1 ? " frame" : " frames");
}

/// The exit code of a run whose input broke off, as of bad input.
inline constexpr int kBrokenInputExitCode = 1;

struct LoopResult {
    long long mFrames = 0;
    double mSeconds = 0.0;
    bool mStopped = false;
    std::string mTrouble;  // what was wrong with the end of the input

    double FramesPerSecond() const { return mSeconds > 0.0 ? double(mFrames) / mSeconds : 0.0; }
    /// The exit code of the command; says on standard error when the user stopped it, or
    /// when the input broke off.
    int ExitCode() const {
        if (!mTrouble.empty()) std::cerr << "descriptor-host: " << mTrouble << "\n";
        if (!mStopped) return mTrouble.empty() ? 0 : kBrokenInputExitCode;
        std::cerr << "stopped after " << FramesText(mFrames)
                  << "; the files hold what was done until then\n";
        return kInterruptedExitCode;
    }
};

/// Calls `inStep(frame, number)` for each frame, numbers from 0, until the frames end or
/// the user presses Ctrl-C.
template <class Step>
LoopResult ForEachFrame(FrameSource& ioSource, const std::string& inWhat, Step inStep) {
    Progress progress(inWhat, ioSource.FrameCount());
    LoopResult result;
    Frame frame;
    while (!Interrupted() && ioSource.Read(frame)) {
        inStep(frame, result.mFrames);
        ++result.mFrames;
        progress.Advance();
    }
    result.mStopped = Interrupted();
    result.mTrouble = ioSource.Trouble();
    result.mSeconds = progress.Seconds();
    return result;
}

}  // namespace Host
