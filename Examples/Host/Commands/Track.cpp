// track: points followed through a clip by one tracker, or by both side by side.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "Canvas.h"
#include "Commands.h"
#include "FrameLoop.h"
#include "Help.h"
#include "Options.h"
#include "PointTracker.h"
#include "TextFile.h"
#include "TrackPicture.h"
#include "TrackPlots.h"
#include "UserError.h"
#include "VideoWriter.h"

namespace Host {
namespace {

struct TrackOptions {
    InputOptions mInput;
    OutputOptions mOutput;
    TrackSettings mSettings;
    std::string mEngine = "apt";
    bool mExported = false;
    bool mCompare = false;
    int mPngEvery = 0;
};

// One tracker with what belongs to it.
struct TrackRun {
    TrackRun(std::unique_ptr<PointTracker> inTracker, const RenderedClip* inTruth,
             const std::string& inFile)
        : mTracker(std::move(inTracker)), mHistory(inTruth), mFile(inFile) {
        mFile.Print("frame,slot,x,y,%s,%s,age,dx,dy\n", mTracker->StatusColumn().c_str(),
                    mTracker->MarkColumn().c_str());
    }

    void Track(const Frame& inFrame, long long inNumber, JsonFile* ioJson) {
        const double before = mTracker->LibrarySeconds();
        const std::vector<TrackedPoint>& points = mTracker->Track(inFrame, inNumber);
        mMilliseconds.push_back((mTracker->LibrarySeconds() - before) * 1e3);
        mHistory.Add(points, inNumber);
        if (ioJson) WriteJson(*ioJson, points);
        for (std::size_t slot = 0; slot < points.size(); ++slot) {
            const TrackedPoint& point = points[slot];
            mFile.Print("%lld,%zu,%.9g,%.9g,%d,%.9g,%u,%.9g,%.9g\n", inNumber, slot,
                        double(point.mX), double(point.mY), point.mStatus, point.mMark,
                        point.mAge, double(point.mDeltaX), double(point.mDeltaY));
        }
    }

    // The live points of the frame; slots that hold none are left out.
    void WriteJson(JsonFile& ioJson, const std::vector<TrackedPoint>& inPoints) const {
        ioJson.OpenObject();
        ioJson.Value("tracker", mTracker->Name());
        ioJson.Value("milliseconds", mMilliseconds.back());
        ioJson.Value("live", mHistory.LiveNow());
        ioJson.OpenArray("points");
        for (std::size_t slot = 0; slot < inPoints.size(); ++slot) {
            const TrackedPoint& point = inPoints[slot];
            if (!point.IsLive()) continue;
            ioJson.OpenLine();
            ioJson.Value("slot", slot);
            ioJson.Value("x", double(point.mX));
            ioJson.Value("y", double(point.mY));
            ioJson.Value(mTracker->StatusColumn(), point.mStatus);
            ioJson.Value(mTracker->MarkColumn(), point.mMark);
            ioJson.Value("age", point.mAge);
            ioJson.Value("dx", double(point.mDeltaX));
            ioJson.Value("dy", double(point.mDeltaY));
            ioJson.Close();
        }
        ioJson.Close(2);
    }

    std::unique_ptr<PointTracker> mTracker;
    TrackHistory mHistory;
    TextFile mFile;
    std::vector<double> mMilliseconds;  // of each frame
};

std::vector<std::unique_ptr<TrackRun>> MakeRuns(const TrackOptions& inOptions,
                                                const FrameSource& inSource) {
    std::vector<std::unique_ptr<PointTracker>> trackers;
    if (inOptions.mExported)
        trackers.push_back(MakeExportedTracker(inSource.Name()));
    else if (inOptions.mCompare || inOptions.mEngine == "apt")
        trackers.push_back(MakeAptTracker(inSource.Name(), inOptions.mSettings));
    if (inOptions.mCompare || inOptions.mEngine == "klt")
        trackers.push_back(MakeKltTracker(inSource.Name(), inOptions.mSettings));

    std::vector<std::unique_ptr<TrackRun>> runs;
    for (auto& tracker : trackers) {
        const std::string name = trackers.size() > 1 ? "track-" + tracker->Name() : "track";
        runs.push_back(std::make_unique<TrackRun>(std::move(tracker), inSource.Truth(),
                                                  inOptions.mOutput.Path(name + ".csv")));
    }
    return runs;
}

// One panel for each tracker.
class TrackSheet {
public:
    TrackSheet(int inWidth, int inHeight, int inPanels)
        : mWidth(inWidth), mHeight(inHeight), mCanvas(Left(inPanels) - kGap, inHeight) {
        mCanvas.Fill({255.0, 255.0, 255.0});
    }

    void Draw(const Frame& inFrame, long long inNumber,
              const std::vector<std::unique_ptr<TrackRun>>& inRuns) {
        for (std::size_t i = 0; i < inRuns.size(); ++i) {
            const TrackRun& run = *inRuns[i];
            const Box box{double(Left(int(i))), 0.0, double(mWidth), double(mHeight)};
            DrawTracks(mCanvas, box, inFrame, run.mHistory,
                       run.mTracker->Name() + ", frame " + std::to_string(inNumber) + ": " +
                           std::to_string(run.mHistory.LiveNow()) + " points");
        }
    }
    const Canvas& GetCanvas() const { return mCanvas; }

private:
    static constexpr int kGap = 6;
    int Left(int inPanel) const { return inPanel * (mWidth + kGap); }

    int mWidth, mHeight;
    Canvas mCanvas;
};

std::unique_ptr<JsonFile> OpenJson(const TrackOptions& inOptions, const FrameSource& inSource) {
    auto json = inOptions.mOutput.OpenJson("track", inSource.Name(), inSource.Width(),
                                           inSource.Height());
    if (!json) return json;
    const TrackSettings& settings = inOptions.mSettings;
    json->OpenObject("settings");
    json->Value("step", settings.mStep);
    if (!inOptions.mExported || inOptions.mCompare) {  // the exported tracker's are its own
        json->Value("features", settings.mFeatures);
        json->Value("min_features", settings.mMinFeatures);
        json->Value("min_distance", settings.mMinDistance);
        json->Value("stationary_limit", double(settings.mStationaryLimit));
        json->Value("verify", settings.mVerify);
    }
    json->Close();
    json->OpenArray("frames");
    return json;
}

void FinishJson(JsonFile& ioJson, const LoopResult& inResult,
                const std::vector<std::unique_ptr<TrackRun>>& inRuns) {
    ioJson.Close();
    ioJson.OpenArray("cuts");
    for (const auto& run : inRuns)
        for (const long long cut : run->mHistory.Cuts()) {
            ioJson.OpenLine();
            ioJson.Value("tracker", run->mTracker->Name());
            ioJson.Value("frame", cut);
            ioJson.Close();
        }
    ioJson.Close();
    ioJson.Value("stopped", inResult.mStopped);
    ioJson.Finish();
}

void ReportRun(const TrackRun& inRun, long long inFrames, bool inHasTruth) {
    const TrackHistory::Summary summary = inRun.mHistory.Summarise();
    std::printf("  %s\n", inRun.mTracker->Name().c_str());
    std::printf("    tracking      %8.3f ms a frame\n",
                inRun.mTracker->LibrarySeconds() / double(inFrames) * 1e3);
    std::printf(
        "    live points   %8.1f on average; at the end half are %.0f frames old or more\n",
        summary.mMeanLive, summary.mMedianAge);
    if (inHasTruth) {
        std::printf("    error a step  %8.3f px median, %.3f px at the 90th percentile\n",
                    summary.mStepMedian, summary.mStepNinety);
        std::printf("    error in all  %8.3f px median, %.3f px at the 90th percentile\n",
                    summary.mStartMedian, summary.mStartNinety);
        std::printf("    kept          %8.2f %% of the points in view, each step\n",
                    100.0 * summary.mKept);
    }
    for (const long long cut : inRun.mHistory.Cuts())
        std::printf("    most points were lost at once in frame %lld: is there a cut?\n", cut);
}

void Report(const FrameSource& inSource, const LoopResult& inResult,
            const std::vector<std::unique_ptr<TrackRun>>& inRuns, long long inTracked) {
    std::printf("%s, %dx%d, %s\n", inSource.Name().c_str(), inSource.Width(), inSource.Height(),
                FramesText(inResult.mFrames).c_str());
    for (const auto& run : inRuns)
        ReportRun(*run, inTracked, inSource.Truth() != nullptr);
    std::printf("  whole run       %8.1f frames/s with reading, drawing and writing\n",
                inResult.FramesPerSecond());
}

void PlotRuns(const TrackOptions& inOptions,
              const std::vector<std::unique_ptr<TrackRun>>& inRuns) {
    if (inOptions.mOutput.mPlotFolder.empty()) return;
    for (const auto& run : inRuns)
        WriteTrackPlots(
            run->mHistory, run->mMilliseconds,
            inOptions.mOutput.PlotPath(inRuns.size() > 1 ? run->mTracker->Name() + "-" : ""));
    std::printf("  wrote plots in %s\n", inOptions.mOutput.mPlotFolder.c_str());
}

int RunTrack(const TrackOptions& inOptions) {
    const std::unique_ptr<FrameSource> source = inOptions.mInput.Open();
    inOptions.mOutput.Prepare();
    const auto runs = MakeRuns(inOptions, *source);
    TrackSheet sheet(source->Width(), source->Height(), int(runs.size()));
    const Canvas& canvas = sheet.GetCanvas();
    std::optional<VideoWriter> video;
    if (!inOptions.mOutput.mWithoutVideo)
        video.emplace(inOptions.mOutput.Path("track.mp4"), canvas.Width(), canvas.Height(),
                      source->FrameRate() / inOptions.mSettings.mStep);

    const auto json = OpenJson(inOptions, *source);
    long long tracked = 0;
    const auto step = [&](const Frame& inFrame, long long inNumber) {
        if (inNumber % inOptions.mSettings.mStep != 0) return;
        if (json) {
            json->OpenObject();
            json->Value("frame", inNumber);
            json->OpenArray("trackers");
        }
        for (const auto& run : runs)
            run->Track(inFrame, inNumber, json.get());
        if (json) json->Close(2);
        ++tracked;
        sheet.Draw(inFrame, inNumber, runs);
        if (video) video->Write(canvas);
        if (inOptions.mPngEvery > 0 && inNumber % inOptions.mPngEvery == 0)
            canvas.WritePng(inOptions.mOutput.NumberedPath("track", inNumber, ".png"));
    };
    const LoopResult result = ForEachFrame(*source, "track", step);

    if (video) video->Finish();
    for (const auto& run : runs)
        run->mFile.Flush();
    if (json) FinishJson(*json, result, runs);
    if (tracked == 0) return result.ExitCode();  // stopped before it began
    Report(*source, result, runs, tracked);
    canvas.WritePng(inOptions.mOutput.Path("track.png"));
    std::printf("  wrote track.png, the tables (csv)%s in %s\n", video ? " and track.mp4" : "",
                inOptions.mOutput.mFolder.c_str());
    PlotRuns(inOptions, runs);
    return result.ExitCode();
}

// Options that belong to one tracker are refused for the other, not passed over.
void CheckOptions(const CLI::App& inCommand, const TrackOptions& inOptions) {
    const auto refuse = [&](const char* inOption, const std::string& inWhy) {
        if (inCommand.count(inOption) > 0) throw UserError(std::string(inOption) + " " + inWhy);
    };
    if (inOptions.mExported) {
        for (const char* option : {"--features", "--min-features", "--min-distance",
                                   "--stationary-limit", "--verify"})
            if (!inOptions.mCompare)
                refuse(option, "has no effect: the exported tracker's settings are fixed");
        if (inOptions.mEngine == "klt") refuse("--exported-tracker", "is an APT tracker");
    }
    if (inOptions.mCompare) refuse("--engine", "and --compare exclude each other");
    if (inOptions.mEngine == "klt")
        for (const char* option : {"--min-distance", "--stationary-limit", "--verify"})
            refuse(option, "is for the APT tracker");
}

void AddTrackerOptions(CLI::App& ioCommand, TrackOptions& outOptions) {
    TrackSettings& settings = outOptions.mSettings;
    const auto number = [&](const char* inName, auto& outValue, auto inLeast, auto inMost,
                            const std::string& inHelp) {
        ioCommand.add_option(inName, outValue, Wrapped(inHelp))
            ->check(CLI::Range(inLeast, inMost).description(""))
            ->type_name("N");
    };
    ioCommand
        .add_option("--engine", outOptions.mEngine,
                    Wrapped("apt (patch alignment, the default) or klt (Gaussian pyramids)."))
        ->check(CLI::IsMember({"apt", "klt"}).description(""))
        ->type_name("NAME");
    ioCommand.add_flag("--compare", outOptions.mCompare,
                       "Run both trackers and show them side by side.");
    ioCommand.add_flag("--exported-tracker", outOptions.mExported,
                       Wrapped("APT by the library's one-call-a-frame class, DP::Tracker, in "
                               "place of descriptors; its settings are fixed."));
    number("--features", settings.mFeatures, 1u, 100000u, "Points at most (500).");
    number("--min-features", settings.mMinFeatures, 0u, 100000u,
           "Below so many live points new ones are looked for (nine tenths of --features).");
    number("--min-distance", settings.mMinDistance, 0u, 10000u,
           "APT: pixels between new points (10).");
    ioCommand
        .add_option("--stationary-limit", settings.mStationaryLimit,
                    Wrapped("APT: points that move no more than so many pixels are dropped "
                            "(0)."))
        ->check(CLI::Range(-1.0, 1000.0).description(""))
        ->type_name("PX");
    ioCommand.add_flag("--verify", settings.mVerify,
                       Wrapped("APT: check each point against its first patch."));
    number("--step", settings.mStep, 1, 1000, "Track every so many frames only (1).");
}

}  // namespace

void AddTrackCommand(CLI::App& ioProgram, Run& outRun) {
    CLI::App* const command = ioProgram.add_subcommand(
        "track", "Points followed through a clip; see --engine and --compare.");
    const auto options = std::make_shared<TrackOptions>();
    options->mInput.AddTo(*command);
    AddTrackerOptions(*command, *options);
    options->mOutput.AddTo(*command);
    options->mOutput.AddJsonTo(*command);
    options->mOutput.AddPlotsTo(
        *command, "live points and their ages, lengths of the tracks, time a frame.");
    command
        ->add_option("--png-every", options->mPngEvery,
                     "Write a picture of every so many frames.")
        ->check(CLI::Range(1, 1000000).description(""))
        ->type_name("N");
    command->footer(
        "Writes track.mp4 (trails coloured by the age of the point), track.png of the last\n"
        "frame, and track.csv with every slot of every frame. On the rendered clip it prints\n"
        "how far the points are off.\n"
        "Example:  descriptor-host track holiday.mp4 --engine klt --features 300 -o out");
    command->callback([&outRun, command, options] {
        CheckOptions(*command, *options);
        if (command->count("--min-features") == 0)
            options->mSettings.mMinFeatures = options->mSettings.mFeatures * 9 / 10;
        outRun = [options] {
            return RunTrack(*options);
        };
    });
}

}  // namespace Host
