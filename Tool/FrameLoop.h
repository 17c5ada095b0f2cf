// The loop over the frames of an input, the same for every command.
//
//     reader thread          calling thread             drawing thread
//     decode, convert  --->  the library computes  ---> draw, encode, write
//
// The library does all its work on the calling thread.

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Canvas.h"
#include "FrameSource.h"
#include "Interrupt.h"
#include "JsonFile.h"
#include "Options.h"
#include "Stopwatch.h"
#include "VideoWriter.h"

namespace Host {

using FramePtr = std::shared_ptr<const Frame>;

/// Work for the drawing thread: what it needs of the run's state is copied into it. Jobs are
/// done in the order of the frames. An empty one is none.
using DrawJob = std::function<void()>;

/// Calls for each frame, numbers from 0.
using FrameStep = std::function<DrawJob(const FramePtr&, long long)>;

/// "1 frame", "12 frames".
std::string FramesText(long long inCount);

struct LoopResult {
    long long mFrames = 0;
    double mSeconds = 0.0;
    bool mStopped = false;
    std::string mTrouble;  // what was wrong with the input

    double FramesPerSecond() const { return mSeconds > 0.0 ? double(mFrames) / mSeconds : 0.0; }
    /// How the run ended, for JSON.
    Json Ending() const;
    /// The exit code of the command; says on standard error when the user stopped it, or
    /// when the input broke off.
    int ExitCode() const;
};

/// "NAME.mp4" of such pictures, unless there shall be no video.
std::optional<VideoWriter> OpenVideo(const std::string& inName, const Canvas& inPicture,
                                     const FrameSource& inSource,
                                     const OutputOptions& inOutput);

/// Runs until the frames end or the user presses Ctrl-C. An input that breaks off behind the
/// first frame ends the loop: what was computed stays. When it returns all jobs are done, and
/// the video is finished, with the sound of the source in it.
LoopResult ForEachFrame(FrameSource& ioSource, const std::string& inWhat,
                        const OutputOptions& inOutput, const FrameStep& inStep,
                        std::optional<VideoWriter>& ioVideo);

/// The end of a run that had frames: writes the last picture as "NAME.png", and says what was
/// written, `inTables` too, and what was wrong.
/// @return  the exit code of the command.
int EndRun(const std::string& inName, const Canvas& inLast, const std::string& inTables,
           const std::optional<VideoWriter>& inVideo, const LoopResult& inResult,
           const OutputOptions& inOutput);

}  // namespace Host
