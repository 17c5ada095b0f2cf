// track: points followed through a clip by one tracker, or by both side by side.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "Canvas.h"
#include "Commands.h"
#include "EditorFiles.h"
#include "FrameLoop.h"
#include "Help.h"
#include "Options.h"
#include "PointTracker.h"
#include "Table.h"
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
        : mTracker(std::move(inTracker)),
          mColumns(ColumnsOf(*mTracker)),
          mHistory(inTruth),
          mFile(inFile, mColumns) {}

    static Columns ColumnsOf(const PointTracker& inTracker) {
        Columns columns = FrameColumns();
        columns.push_back(
            {"state", "word", "tracked, or held: the frame repeats the one before"});
        for (const Column& column : inTracker.PointColumns())
            columns.push_back(column);
        return columns;
    }

    void Track(const Frame& inFrame, long long inNumber) {
        const double before = mTracker->LibrarySeconds();
        const std::vector<TrackedPoint>& points = mTracker->Track(inFrame, inNumber);
        mMilliseconds.push_back((mTracker->LibrarySeconds() - before) * 1e3);
        if (mTracker->IsHeld()) {
            ++mHeldFrames;
            mHistory.Hold(inNumber);
        } else {
            mHistory.Add(points, inNumber);
        }
    }

    // Every slot is a row in the table; the frame with its rows is an object in JSON.
    Json Write(long long inNumber, double inTime, bool inWantsJson) {
        const char* const state = mTracker->IsHeld() ? "held" : "tracked";
        Json rows = Json::array();
        const auto& points = mTracker->Points();
        for (std::size_t slot = 0; slot < points.size(); ++slot) {
            const TrackedPoint& point = points[slot];
            const Row row{inNumber,
                          inTime,
                          state,
                          slot,
                          Shortest(point.mX),
                          Shortest(point.mY),
                          point.mStatus,
                          point.mMark,
                          point.mAge,
                          Shortest(point.mDeltaX),
                          Shortest(point.mDeltaY)};
            mFile.Add(row);
            if (inWantsJson) rows.push_back(RowObject(mColumns, row, kPointColumn));
        }
        return {{"tracker", mTracker->Name()},
                {"state", state},
                {"milliseconds", mMilliseconds.back()},
                {"live", mHistory.LiveNow()},
                {"points", std::move(rows)}};
    }

    static constexpr std::size_t kPointColumn = 3;  // the first that is not the frame's
    std::unique_ptr<PointTracker> mTracker;
    Columns mColumns;
    TrackHistory mHistory;
    CsvFile mFile;
    std::vector<double> mMilliseconds;  // of each frame
    long long mHeldFrames = 0;
    PointPaths mPaths;
};

using TrackRuns = std::vector<std::unique_ptr<TrackRun>>;

TrackRuns MakeRuns(const TrackOptions& inOptions, const FrameSource& inSource) {
    std::vector<std::unique_ptr<PointTracker>> trackers;
    if (inOptions.mExported)
        trackers.push_back(MakeExportedTracker(inSource.Name(), inOptions.mSettings.mStep));
    else if (inOptions.mCompare || inOptions.mEngine == "apt")
        trackers.push_back(MakeAptTracker(inSource.Name(), inOptions.mSettings));
    if (inOptions.mCompare || inOptions.mEngine == "klt")
        trackers.push_back(MakeKltTracker(inSource.Name(), inOptions.mSettings));

    TrackRuns runs;
    for (auto& tracker : trackers) {
        const std::string name = trackers.size() > 1 ? "track-" + tracker->Name() : "track";
        runs.push_back(std::make_unique<TrackRun>(std::move(tracker), inSource.Truth(),
                                                  inOptions.mOutput.Path(name + ".csv")));
    }
    return runs;
}

std::vector<TrackView> ViewsOf(const TrackRuns& inRuns, long long inNumber) {
    std::vector<TrackView> views;
    for (const auto& run : inRuns)
        views.push_back({run->mTracker->Name() + ", frame " + std::to_string(inNumber) + ": " +
                             std::to_string(run->mHistory.LiveNow()) + " points" +
                             (run->mTracker->IsHeld() ? ", held" : ""),
                         run->mHistory.Trails()});
    return views;
}

// One panel for each tracker.
class TrackSheet {
public:
    TrackSheet(int inWidth, int inHeight, int inPanels)
        : mWidth(inWidth), mHeight(inHeight), mCanvas(Left(inPanels) - kGap, inHeight) {
        mCanvas.Fill({255.0, 255.0, 255.0});
    }

    void Draw(const Frame& inFrame, const std::vector<TrackView>& inViews) {
        for (std::size_t i = 0; i < inViews.size(); ++i)
            DrawTracks(mCanvas, {double(Left(int(i))), 0.0, double(mWidth), double(mHeight)},
                       inFrame, inViews[i]);
    }
    const Canvas& GetCanvas() const { return mCanvas; }

private:
    static constexpr int kGap = 6;
    int Left(int inPanel) const { return inPanel * (mWidth + kGap); }

    int mWidth, mHeight;
    Canvas mCanvas;
};

// Each tracker with what it was asked for, and what its numbers mean.
std::unique_ptr<JsonFile> OpenJson(const TrackOptions& inOptions, const FrameSource& inSource,
                                   const TrackRuns& inRuns) {
    Json head = JsonHead("track", inSource);
    for (const auto& run : inRuns)
        head["trackers"].push_back({{"tracker", run->mTracker->Name()},
                                    {"settings", run->mTracker->Settings()},
                                    {"columns", DescribeColumns(run->mColumns)},
                                    {"status_codes", run->mTracker->StatusCodes()}});
    return inOptions.mOutput.OpenJson(head, "frames");
}

Json JsonTail(const LoopResult& inResult, const TrackRuns& inRuns) {
    Json cuts = Json::array();
    for (const auto& run : inRuns)
        for (const long long cut : run->mHistory.Cuts())
            cuts.push_back({{"tracker", run->mTracker->Name()}, {"frame", cut}});
    Json tail{{"cuts", cuts}};
    tail.update(inResult.Ending());
    return tail;
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
    if (inRun.mHeldFrames > 0)
        std::printf("    held          %8lld repeated frames\n", inRun.mHeldFrames);
    for (const long long cut : inRun.mHistory.Cuts())
        std::printf("    most points were lost at once in frame %lld: is there a cut?\n", cut);
}

void Report(const FrameSource& inSource, const LoopResult& inResult, const TrackRuns& inRuns,
            long long inTracked) {
    std::printf("%s, %dx%d, %s\n", inSource.Name().c_str(), inSource.Width(), inSource.Height(),
                FramesText(inResult.mFrames).c_str());
    for (const auto& run : inRuns)
        ReportRun(*run, inTracked, inSource.Truth() != nullptr);
    std::printf("  whole run       %8.1f frames/s with reading, drawing and writing\n",
                inResult.FramesPerSecond());
}

void PlotRuns(const TrackOptions& inOptions, const TrackRuns& inRuns) {
    if (inOptions.mOutput.mPlotFolder.empty()) return;
    for (const auto& run : inRuns)
        WriteTrackPlots(
            run->mHistory, run->mMilliseconds,
            inOptions.mOutput.PlotPath(inRuns.size() > 1 ? run->mTracker->Name() + "-" : ""));
    std::printf("  wrote plots in %s\n", inOptions.mOutput.mPlotFolder.c_str());
}

// As "track-1.vtt", or "track-klt-1.vtt" where both trackers run.
void WriteEditors(const TrackOptions& inOptions, const FrameSource& inSource,
                  const TrackRuns& inRuns) {
    for (const auto& run : inRuns) {
        const std::string stem =
            inRuns.size() > 1 ? "track-" + run->mTracker->Name() + "-" : "track-";
        int number = 0;
        for (PointPaths::Path& path : run->mPaths.Longest())
            WriteEditorFiles(
                {inSource.Width(), inSource.Height(), inSource.FrameRate(), std::move(path)},
                inOptions.mOutput.mEditors,
                inOptions.mOutput.Path(stem + std::to_string(++number)));
    }
}

void CheckOutputs(const TrackOptions& inOptions) {
    Outputs files{"track.mp4", "track.png"}, plots;
    if (inOptions.mPngEvery > 0) files.push_back("track-*.png");
    for (const char* name :
         {"track.csv", "track-apt.csv", "track-apt-exported.csv", "track-klt.csv"})
        files.push_back(name);
    for (const std::string& form : inOptions.mOutput.mEditors)
        files.push_back(EditorFileName("track-*", form));
    for (const char* tracker : {"", "apt-", "apt-exported-", "klt-"})
        for (const char* plot : {"points.png", "lengths.png", "milliseconds.png"})
            plots.push_back(std::string(tracker) + plot);
    inOptions.mOutput.Check(inOptions.mInput.Files(), files, plots);
}

int RunTrack(const TrackOptions& inOptions) {
    CheckOutputs(inOptions);
    const std::unique_ptr<FrameSource> source = inOptions.mInput.Open();
    inOptions.mOutput.Prepare();
    const auto runs = MakeRuns(inOptions, *source);
    TrackSheet sheet(source->Width(), source->Height(), int(runs.size()));
    const Canvas& canvas = sheet.GetCanvas();
    std::optional<VideoWriter> video;
    if (!inOptions.mOutput.mWithoutVideo)
        video.emplace(inOptions.mOutput.Path("track.mp4"),
                      VideoShape(canvas.Width(), canvas.Height(), *source));

    const auto json = OpenJson(inOptions, *source, runs);
    long long tracked = 0, lastNumber = 0;
    FramePtr last;
    const auto step = [&](const FramePtr& inFrame, long long inNumber) -> DrawJob {
        if (inNumber % inOptions.mSettings.mStep != 0) return {};
        const double time = source->GetTimeBase().Seconds(inFrame->mTime);
        Json row{{"frame", inNumber}, {"time", time}, {"trackers", Json::array()}};
        for (const auto& run : runs) {
            run->Track(*inFrame, inNumber);
            if (!inOptions.mOutput.mEditors.empty())
                run->mPaths.Add(run->mTracker->Points(), inNumber, time);
            row["trackers"].push_back(run->Write(inNumber, time, json != nullptr));
        }
        if (json) json->Add(row);
        ++tracked;
        last = inFrame;
        lastNumber = inNumber;
        const bool isPicture = inOptions.mPngEvery > 0 && inNumber % inOptions.mPngEvery == 0;
        if (!video && !isPicture) return {};
        return [&, inFrame, inNumber, isPicture, views = ViewsOf(runs, inNumber)] {
            sheet.Draw(*inFrame, views);
            if (video) video->Write(canvas, inFrame->mTime, inFrame->mDuration);
            if (isPicture)
                canvas.WritePng(inOptions.mOutput.NumberedPath("track", inNumber, ".png"));
        };
    };
    const LoopResult result = ForEachFrame(*source, "track", inOptions.mOutput, step,
                                           [&](const SoundPackets& inSound) {
                                               if (video) video->WriteSound(inSound);
                                           });

    if (video) video->Finish();
    for (const auto& run : runs)
        run->mFile.Finish();
    if (json) json->Finish(JsonTail(result, runs));
    WriteEditors(inOptions, *source, runs);
    if (tracked == 0) return result.ExitCode();  // stopped before it began
    Report(*source, result, runs, tracked);
    sheet.Draw(*last, ViewsOf(runs, lastNumber));
    canvas.WritePng(inOptions.mOutput.Path("track.png"));
    std::printf("  wrote track.png, the tables (csv)%s in %s\n", video ? " and track.mp4" : "",
                inOptions.mOutput.mFolder.c_str());
    ReportSound(video);
    PlotRuns(inOptions, runs);
    return result.ExitCode();
}

// Options that belong to one tracker are refused for the other, not passed over.
void CheckOptions(const CLI::App& inCommand, const TrackOptions& inOptions) {
    const auto refuse = [&](const char* inOption, const std::string& inWhy) {
        if (inCommand.count(inOption) > 0)
            throw UsageError(std::string(inOption) + " " + inWhy);
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
    options->mOutput.AddEditorsTo(*command, "The four points that were followed longest,");
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
