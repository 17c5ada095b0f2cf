// bench: this library's times on a clip, beside OpenCV's for the same work.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "BoxFile.h"
#include "Commands.h"
#include "FrameLoop.h"
#include "Help.h"
#include "Options.h"
#include "Peers.h"
#include "RenderedClip.h"
#include "TrackHistory.h"
#include "Trackers.h"
#include "UserError.h"
#include "descriptor/Selection.h"
#include "descriptor/StrokeMasks.h"

namespace Host {
namespace {

using descriptor::Engine;

constexpr long long kFrames = 30;
constexpr std::size_t kMostCuts = 5;
constexpr int kDistance = 10;  // between selected points, in pixels

struct BenchOptions {
    InputOptions mInput;
    int mFeatures = 500;
    std::string mRect;
    bool mGrabCut = false;
};

// Milliseconds of one kind of work, a round each.
struct Times {
    std::vector<double> mOurs, mPeers;

    template <class Call>
    void TakeOurs(Call inCall) {
        Take(inCall, mOurs);
    }
    template <class Call>
    void TakePeer(Call inCall) {
        Take(inCall, mPeers);
    }

private:
    template <class Call>
    static void Take(Call inCall, std::vector<double>& outTimes) {
        const WorkStopwatch stopwatch;
        inCall();
        outTimes.push_back(stopwatch.Seconds() * 1e3);
    }
};

// The frames in memory, with their grey planes: reading is no part of any time.
struct Clip {
    std::string mName;
    std::vector<Frame> mFrames;
    std::vector<std::vector<std::uint8_t>> mGreyBytes;
    Box mBox;

    GreyPlane Grey(std::size_t inFrame) const {
        return {mGreyBytes[inFrame].data(), mFrames[inFrame].mWidth, mFrames[inFrame].mHeight};
    }
};

Box StartBox(const BenchOptions& inOptions, const FrameSource& inSource) {
    if (!inOptions.mRect.empty()) return ParseBox(inOptions.mRect);
    if (inSource.Truth()) return inSource.Truth()->ObjectBox(0);
    return {inSource.Width() / 4.0, inSource.Height() / 4.0, inSource.Width() / 2.0,
            inSource.Height() / 2.0};
}

Clip ReadClip(const BenchOptions& inOptions) {
    InputOptions input = inOptions.mInput;
    if (input.mFrames == 0) input.mFrames = kFrames;
    const std::unique_ptr<FrameSource> source = input.Open();
    Clip clip{source->Name(), {}, {}, StartBox(inOptions, *source)};
    const descriptor::GreyFrames images;
    for (Frame frame; !Interrupted() && source->Read(frame);) {
        const descriptor::Frame grey = images.grey8(TrackerView(frame, 0));
        clip.mGreyBytes.emplace_back(grey.row(0), grey.row(0) + frame.PixelCount());
        clip.mFrames.push_back(frame);
    }
    if (!source->Trouble().empty()) throw UserError(source->Trouble());
    if (!Interrupted() && clip.mFrames.size() < 2)
        throw UserError("'" + clip.mName + "' has one frame only; steps need two");
    return clip;
}

// One row after the other is measured and printed.
class Bench {
public:
    Bench(const BenchOptions& inOptions, Clip inClip)
        : mOptions(inOptions), mClip(std::move(inClip)), mPeers(LoadPeers()) {}

    int Run() {
        PrintHead();
        const descriptor::GreyFrames images{descriptor::Source("bench grey")};
        TimeGrey("grey", &Peers::Grey, "cvtColor",
                 [&](const descriptor::Frame& inFrame) { images.grey8(inFrame); });
        TimeGrey("float grey", &Peers::FloatGrey, "cvtColor, convertTo",
                 [&](const descriptor::Frame& inFrame) { images.grey_float(inFrame); });
        TimePoints("APT", Engine::apt, {11, 2});
        TimePoints("KLT", Engine::klt, {7, 1});
        TimeRegion();
        TimeCut();
        if (!Interrupted()) return 0;
        std::cerr << "stopped; the last row may be of fewer frames\n";
        return kInterruptedExitCode;
    }

private:
    // What the peer looks at, as near to the tracker's own as it can be asked for.
    struct PeerWindow {
        int mSide, mLevels;
    };

    void PrintHead() const {
        const Frame& first = mClip.mFrames.front();
        std::printf("%s, %dx%d, %s, one thread, medians\n", mClip.mName.c_str(), first.mWidth,
                    first.mHeight, FramesText((long long)mClip.mFrames.size()).c_str());
        std::printf("  %-16s %12s", "", "ms");
        if (mPeers) std::printf(" %12s %8s", "OpenCV, ms", "ratio");
        std::printf("\n");
    }

    void Print(const std::string& inWork, Times inTimes, const std::string& inPeer) const {
        if (inTimes.mOurs.empty()) return;
        const double ours = Quantile(inTimes.mOurs, 0.5);
        std::printf("  %-16s %12.3f", inWork.c_str(), ours);
        if (!inTimes.mPeers.empty()) {
            const double peers = Quantile(inTimes.mPeers, 0.5);
            std::printf(" %12.3f %8.2f  %s", peers, ours / peers, inPeer.c_str());
        }
        std::printf("\n");
        std::fflush(stdout);
    }

    // Calls a step for the numbers from `inFirst` below `inEnd`, until the user stops it.
    template <class Step>
    static void Each(std::size_t inFirst, std::size_t inEnd, Step inStep) {
        for (std::size_t i = inFirst; i < inEnd && !Interrupted(); ++i)
            inStep(i);
    }

    // Two rows of one run: beside a peer that keeps its results in memory of their own, as the
    // cache does, and beside one that writes over its last one.
    template <class Ours>
    void TimeGrey(const std::string& inWork, void (Peers::*inPeer)(const Frame&, Peers::Result),
                  const std::string& inPeerName, Ours inOurs) {
        Times kept, replaced;
        Each(0, mClip.mFrames.size(), [&](std::size_t i) {
            const Frame& frame = mClip.mFrames[i];
            const descriptor::Frame view = ColourView(frame, (long long)i);
            kept.TakeOurs([&] { inOurs(view); });
            if (!mPeers) return;
            kept.TakePeer([&] { (*mPeers.*inPeer)(frame, Peers::Result::kKept); });
            replaced.TakePeer([&] { (*mPeers.*inPeer)(frame, Peers::Result::kReplaced); });
        });
        Print(inWork, kept, inPeerName + ", all results kept");
        if (!mPeers) return;
        replaced.mOurs = kept.mOurs;
        Print(inWork, replaced, inPeerName + ", one matrix");
    }

    // A tracker's first frame is a selection. In the run of steps no new points are looked
    // for, and the peer follows the points that ours starts the step from.
    void TimePoints(const std::string& inName, Engine inEngine, PeerWindow inWindow) {
        const descriptor::PointSettings settings{.engine = inEngine,
                                                 .max_points = mOptions.mFeatures,
                                                 .min_points = 0,
                                                 .min_distance = kDistance};
        Times selection, step;
        Each(0, mClip.mFrames.size(), [&](std::size_t i) {
            TimedPoints tracker("bench selection " + inName, settings, 1);
            tracker.Track(mClip.mFrames[i], (long long)i);
            selection.mOurs.push_back(tracker.LibrarySeconds() * 1e3);
            if (mPeers)
                selection.TakePeer([&] {
                    mPeers->Select(mClip.Grey(i), settings.max_points, kDistance,
                                   inWindow.mSide);
                });
        });
        Print(inName + " selection", selection, "goodFeaturesToTrack");
        TimedPoints tracker("bench steps " + inName, settings, 1);
        TimeSteps(tracker, inWindow, step);
        Print(inName + " step", step, "calcOpticalFlowPyrLK");
    }

    void TimeSteps(TimedPoints& ioTracker, PeerWindow inWindow, Times& outTimes) {
        std::vector<Point> live;
        double before = 0.0;
        Each(0, mClip.mFrames.size(), [&](std::size_t i) {
            const auto& points = ioTracker.Track(mClip.mFrames[i], (long long)i);
            if (i > 0) outTimes.mOurs.push_back((ioTracker.LibrarySeconds() - before) * 1e3);
            before = ioTracker.LibrarySeconds();
            if (i > 0 && mPeers && !live.empty())
                outTimes.TakePeer([&] {
                    mPeers->Flow(mClip.Grey(i - 1), mClip.Grey(i), live, inWindow.mSide,
                                 inWindow.mLevels);
                });
            live.clear();
            for (const descriptor::Point& point : points)
                live.push_back({point.x, point.y});
        });
    }

    void TimeRegion() {
        TimedRegion tracker("bench region", mClip.mBox, {});
        const bool withPeer = mPeers && mPeers->StartRegion(mClip.Grey(0), mClip.mBox);
        Times times;
        double before = 0.0;
        Each(0, mClip.mFrames.size(), [&](std::size_t i) {
            tracker.Track(mClip.mFrames[i], (long long)i);
            if (i > 0) times.mOurs.push_back((tracker.LibrarySeconds() - before) * 1e3);
            before = tracker.LibrarySeconds();
            if (i > 0 && withPeer) times.TakePeer([&] { mPeers->StepRegion(mClip.Grey(i)); });
        });
        Print("region step", times, "MedianFlow");
    }

    // The rectangle stands in for a user's strokes: its middle is foreground, the picture's
    // rim background.
    descriptor::Strokes BoxStrokes(const Frame& inFrame) const {
        const Box& box = mClip.mBox;
        const double y = box.mY + box.mHeight / 2, w = inFrame.mWidth, h = inFrame.mHeight;
        descriptor::Strokes strokes{
            {.path = {{box.mX + box.mWidth / 3, y}, {box.Right() - box.mWidth / 3, y}},
             .radius = 4.0}};
        for (const double edge : {4.0, h - 4.0})
            strokes.push_back({.path = {{4.0, edge}, {w - 4.0, edge}},
                               .radius = 3.0,
                               .label = descriptor::Label::background});
        return strokes;
    }

    void TimeCut() {
        Times cut, grab;
        Each(0, std::min(mClip.mFrames.size(), kMostCuts), [&](std::size_t i) {
            const Frame& frame = mClip.mFrames[i];
            const descriptor::Strokes strokes = BoxStrokes(frame);
            const auto mask = [&](descriptor::Label inLabel) {
                return ToMask(
                    descriptor::mask_of(strokes, inLabel, frame.mWidth, frame.mHeight));
            };
            descriptor::Selection selection(ColourView(frame));
            cut.TakeOurs([&] { selection.add(strokes); });
            if (!mPeers) return;
            const Mask foreground = mask(descriptor::Label::foreground);
            const Mask background = mask(descriptor::Label::background);
            cut.TakePeer([&] { mPeers->Watershed(frame, foreground, background); });
            if (!mOptions.mGrabCut) return;
            grab.mOurs.push_back(cut.mOurs.back());
            grab.TakePeer([&] { mPeers->GrabCut(frame, foreground, background); });
        });
        Print("first cut", cut, "watershed");
        Print("first cut", grab, "grabCut, one iteration");
    }

    BenchOptions mOptions;
    Clip mClip;
    std::unique_ptr<Peers> mPeers;
};

int RunBench(const BenchOptions& inOptions) {
    Clip clip = ReadClip(inOptions);
    if (Interrupted()) return kInterruptedExitCode;
    return Bench(inOptions, std::move(clip)).Run();
}

}  // namespace

void AddBenchCommand(CLI::App& ioProgram, Run& outRun) {
    CLI::App* const command = ioProgram.add_subcommand(
        "bench", "Times of every kind on a clip, beside OpenCV's for the same work.");
    const auto options = std::make_shared<BenchOptions>();
    options->mInput.AddTo(*command);
    command->add_option("--features", options->mFeatures, "Points at most (500).")
        ->check(CLI::Range(1, 100000).description(""))
        ->type_name("N");
    command
        ->add_option("--rect", options->mRect,
                     Wrapped("The rectangle for the region and the cut (the rendered panel, or "
                             "the middle of the picture)."))
        ->type_name("X,Y,W,H");
    command->add_flag("--grabcut", options->mGrabCut, "Also time grabCut, which is slow.");
    command->footer(
        "Takes 30 frames unless --frames says otherwise, all held in memory. A ratio below 1\n"
        "means that this library is faster. Times are the processor's, in the same run and in\n"
        "turns; of points and regions from the grey image to the result, pyramids included.\n"
        "Each result here is new memory that the cache keeps; grey images stand beside an "
        "OpenCV\n"
        "that keeps its own and beside one that writes over its last one.\n"
        "Without OpenCV there is one column.\n"
        "Example:  descriptor-host bench holiday.mp4 --rect 320,180,120,90");
    command->callback([&outRun, options] {
        outRun = [options] {
            return RunBench(*options);
        };
    });
}

}  // namespace Host
