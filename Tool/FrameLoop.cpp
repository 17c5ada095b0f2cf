#include "FrameLoop.h"

#include <cstdio>
#include <exception>
#include <iostream>
#include <mutex>
#include <thread>
#include <vector>

#include "Handover.h"
#include "Interrupt.h"
#include "Progress.h"
#include "UserError.h"

namespace Host {
namespace {

constexpr std::size_t kFramesAhead = 4;
constexpr int kBrokenInputExitCode = 1;  // as of bad input

// One frame with its number of -1 behind the last one, where only its sound counts.
struct ReadFrame {
    FramePtr mFrame;
    bool mIsLast = false;
};

// Frames whose memory is used again, since new memory comes a page at a time.
class FramePool {
public:
    std::shared_ptr<Frame> Take() {
        std::unique_ptr<Frame> frame;
        {
            const std::lock_guard lock(mFree->mMutex);
            if (!mFree->mFrames.empty()) {
                frame = std::move(mFree->mFrames.back());
                mFree->mFrames.pop_back();
            }
        }
        if (!frame) frame = std::make_unique<Frame>();
        return {frame.release(), [free = mFree](Frame* inFrame) {
                    std::unique_ptr<Frame> back(inFrame);
                    const std::lock_guard lock(free->mMutex);
                    free->mFrames.push_back(std::move(back));
                }};
    }

private:
    struct Free {
        std::mutex mMutex;
        std::vector<std::unique_ptr<Frame>> mFrames;
    };
    std::shared_ptr<Free> mFree = std::make_shared<Free>();  // frames outlive the pool
};

// Reads ahead on a thread of its own.
class Reader {
public:
    explicit Reader(FrameSource& ioSource)
        : mSource(ioSource), mFrames(kFramesAhead), mThread([this] { Run(); }) {}
    ~Reader() { Stop(); }

    std::optional<ReadFrame> Next() { return mFrames.Take(); }
    /// Ends the thread; what it failed with, if anything, is given.
    std::exception_ptr Stop() {
        mFrames.Close();
        if (mThread.joinable()) mThread.join();
        return mError;
    }

private:
    void Run() {
        try {
            for (bool more = true; more && !Interrupted();) {
                const std::shared_ptr<Frame> frame = mPool.Take();
                more = mSource.Read(*frame);
                if (!mFrames.Give({frame, !more})) break;
            }
        } catch (...) {
            mError = std::current_exception();
        }
        mFrames.Close();
    }

    FrameSource& mSource;
    FramePool mPool;
    Handover<ReadFrame> mFrames;
    std::exception_ptr mError;
    std::thread mThread;
};

// Does jobs one after the other on a thread of its own.
class Drawer {
public:
    Drawer() : mJobs(kFramesAhead), mThread([this] { Run(); }) {}
    ~Drawer() { Stop(); }

    void Do(DrawJob inJob) {
        if (inJob && !mJobs.Give(std::move(inJob))) Finish();
    }
    /// Waits for all jobs; throws what one of them threw.
    void Finish() {
        Stop();
        if (mError) std::rethrow_exception(std::exchange(mError, nullptr));
    }

private:
    void Run() {
        try {
            while (const auto job = mJobs.Take())
                (*job)();
        } catch (...) {
            mError = std::current_exception();
            mJobs.Close();
        }
    }
    void Stop() {
        mJobs.Close();
        if (mThread.joinable()) mThread.join();
    }

    Handover<DrawJob> mJobs;
    std::exception_ptr mError;
    std::thread mThread;
};

void NoteReaderError(const std::exception_ptr& inError, LoopResult& ioResult) {
    if (!inError) return;
    try {
        std::rethrow_exception(inError);
    } catch (const UserError& error) {
        if (ioResult.mFrames == 0) throw;
        ioResult.mTrouble = error.what();
    }
}

}  // namespace

std::string FramesText(long long inCount) {
    return std::to_string(inCount) + (inCount == 1 ? " frame" : " frames");
}

Json LoopResult::Ending() const {
    Json ending{{"stopped", mStopped}};
    if (!mTrouble.empty()) ending["trouble"] = mTrouble;
    return ending;
}

int LoopResult::ExitCode() const {
    if (!mTrouble.empty()) std::cerr << "descriptor-host: " << mTrouble << "\n";
    if (!mStopped) return mTrouble.empty() ? 0 : kBrokenInputExitCode;
    std::cerr << "stopped after " << FramesText(mFrames)
              << "; the files hold what was done until then\n";
    return kInterruptedExitCode;
}

std::optional<VideoWriter> OpenVideo(const std::string& inName, const Canvas& inPicture,
                                     const FrameSource& inSource,
                                     const OutputOptions& inOutput) {
    if (inOutput.mWithoutVideo) return std::nullopt;
    return std::optional<VideoWriter>(
        std::in_place, inOutput.Path(inName + ".mp4"),
        VideoShape(inPicture.Width(), inPicture.Height(), inSource));
}

LoopResult ForEachFrame(FrameSource& ioSource, const std::string& inWhat,
                        const OutputOptions& inOutput, const FrameStep& inStep,
                        std::optional<VideoWriter>& ioVideo) {
    LoopResult result;
    Progress progress(inWhat, ioSource.FrameCount(), inOutput.mProgress);
    Drawer drawer;
    Reader reader(ioSource);
    while (!Interrupted()) {
        const std::optional<ReadFrame> read = reader.Next();
        if (!read) break;
        const FramePtr frame = read->mFrame;
        if (ioVideo && !frame->mSound.empty())
            drawer.Do([&ioVideo, frame] { ioVideo->WriteSound(frame->mSound); });
        if (read->mIsLast) break;
        drawer.Do(inStep(frame, result.mFrames));
        ++result.mFrames;
        progress.Advance();
    }
    NoteReaderError(reader.Stop(), result);
    drawer.Finish();
    result.mStopped = Interrupted();
    if (result.mTrouble.empty()) result.mTrouble = ioSource.Trouble();
    result.mSeconds = progress.Seconds();
    if (ioVideo) ioVideo->Finish();
    return result;
}

int EndRun(const std::string& inName, const Canvas& inLast, const std::string& inTables,
           const std::optional<VideoWriter>& inVideo, const LoopResult& inResult,
           const OutputOptions& inOutput) {
    inLast.WritePng(inOutput.Path(inName + ".png"));
    std::printf("  wrote %s.png%s%s in %s\n", inName.c_str(), inTables.c_str(),
                inVideo ? (" and " + inName + ".mp4").c_str() : "", inOutput.mFolder.c_str());
    ReportSound(inVideo);
    return inResult.ExitCode();
}

}  // namespace Host
