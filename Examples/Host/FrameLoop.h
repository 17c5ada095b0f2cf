// The loop over the frames of an input, the same for every command.

#pragma once

#include <iostream>
#include <string>

#include "FrameSource.h"
#include "Interrupt.h"
#include "JsonFile.h"
#include "Progress.h"
#include "UserError.h"

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
    /// How the run ended, for JSON.
    Json Ending() const {
        Json ending{{"stopped", mStopped}};
        if (!mTrouble.empty()) ending["trouble"] = mTrouble;
        return ending;
    }
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
/// the user presses Ctrl-C, and `inSound(packets)` with the sound in between. An input that
/// breaks off behind the first frame ends the loop: what was computed stays.
template <class Step, class Sound>
LoopResult ForEachFrame(FrameSource& ioSource, const std::string& inWhat, Step inStep,
                        Sound inSound) {
    Progress progress(inWhat, ioSource.FrameCount());
    LoopResult result;
    Frame frame;
    const auto read = [&] {
        try {
            const bool found = ioSource.Read(frame);
            inSound(frame.mSound);
            return found;
        } catch (const UserError& error) {
            if (result.mFrames == 0) throw;
            result.mTrouble = error.what();
            return false;
        }
    };
    while (!Interrupted() && read()) {
        inStep(frame, result.mFrames);
        ++result.mFrames;
        progress.Advance();
    }
    result.mStopped = Interrupted();
    if (result.mTrouble.empty()) result.mTrouble = ioSource.Trouble();
    result.mSeconds = progress.Seconds();
    return result;
}

}  // namespace Host
