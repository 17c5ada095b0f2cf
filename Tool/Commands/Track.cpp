// track: points followed through a clip by one tracker, or by both side by side.

#include <CLI/CLI.hpp>
#include <algorithm>
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
#include "RenderedClip.h"
#include "Table.h"
#include "TrackPicture.h"
#include "Trackers.h"
#include "UserError.h"
#include "Windows.h"

namespace Host {
namespace {

struct TrackOptions {
    InputOptions mInput;
    OutputOptions mOutput;
    descriptor::PointSettings mSettings;
    int mStep = 1;  // every how many frames are tracked
    std::string mEngine = "apt";
    bool mExported = false;
    bool mCompare = false;
    int mPngEvery = 0;
    bool mInteractive = false, mDemo = false;
};

// One tracker with what belongs to it.
struct TrackRun {
    TrackRun(std::unique_ptr<TimedPoints> inTracker, const RenderedClip* inTruth,
             const std::string& inFile)
        : mTracker(std::move(inTracker)),
          mColumns(ColumnsOf(*mTracker)),
          mHistory(inTruth),
          mFile(inFile, mColumns) {}

    static Columns ColumnsOf(const TimedPoints& inTracker) {
        Columns columns = FrameColumns();
        columns.push_back(
            {"state", "word", "tracked, or held: the frame repeats the one before"});
        for (const Column& column : inTracker.PointColumns())
            columns.push_back(column);
        return columns;
    }

    void Track(const Frame& inFrame, long long inNumber) {
        const double before = mTracker->LibrarySeconds();
        const descriptor::FramePoints& points = mTracker->Track(inFrame, inNumber);
        mMilliseconds = (mTracker->LibrarySeconds() - before) * 1e3;
        if (mTracker->IsHeld()) {
            ++mHeldFrames;
            mHistory.Hold(inNumber);
        } else {
            mHistory.Add(points, inNumber);
        }
    }

    // Every point that lives, or was lost in this frame, is a row in the table, in the order
    // of their slots; the frame with its rows is an object in JSON.
    Json Write(long long inNumber, double inTime, bool inWantsJson) {
        const char* const state = mTracker->IsHeld() ? "held" : "tracked";
        Json rows = Json::array();
        const auto write = [&](const descriptor::Point& inPoint) {
            Row row{inNumber, inTime, state};
            for (Json& value : mTracker->PointRow(inPoint))
                row.push_back(std::move(value));
            mFile.Add(row);
            if (inWantsJson) rows.push_back(RowObject(mColumns, row, kPointColumn));
        };
        const descriptor::FramePoints& points = mTracker->Points();
        auto lost = points.lost.begin();
        for (const descriptor::Point& point : points) {
            for (; lost != points.lost.end() && lost->slot <= point.slot; ++lost)
                write(*lost);
            write(point);
        }
        std::for_each(lost, points.lost.end(), write);
        return {{"tracker", mTracker->Name()},
                {"state", state},
                {"milliseconds", mTracker->IsReplay() ? Json() : Json(mMilliseconds)},
                {"live", mHistory.LiveNow()},
                {"points", std::move(rows)}};
    }

    static constexpr std::size_t kPointColumn = 3;  // the first that is not the frame's
    std::unique_ptr<TimedPoints> mTracker;
    Columns mColumns;
    TrackHistory mHistory;
    CsvFile mFile;
    double mMilliseconds = 0.0;  // of the last frame
    long long mHeldFrames = 0;
    PointPaths mPaths;
};

using TrackRuns = std::vector<std::unique_ptr<TrackRun>>;

TrackRuns MakeRuns(const TrackOptions& inOptions, const FrameSource& inSource) {
    using descriptor::Engine;
    const std::string source = inSource.Name();
    std::vector<std::unique_ptr<TimedPoints>> trackers;
    if (inOptions.mExported)
        trackers.push_back(std::make_unique<TimedPoints>(source, inOptions.mStep));
    for (const Engine engine : {Engine::apt, Engine::klt}) {
        if (!inOptions.mCompare &&
            (inOptions.mExported || inOptions.mEngine != to_string(engine)))
            continue;
        if (inOptions.mExported && engine == Engine::apt) continue;
        descriptor::PointSettings settings = inOptions.mSettings;
        if (engine == Engine::klt)
            settings = {.engine = engine,
                        .max_points = settings.max_points,
                        .min_points = settings.min_points};
        trackers.push_back(std::make_unique<TimedPoints>(source, settings, inOptions.mStep));
    }

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
    if (!inRun.mTracker->IsReplay())
        std::printf("    tracking      %8.3f ms a frame\n",
                    inRun.mTracker->LibrarySeconds() / double(inFrames) * 1e3);
    std::printf("    live points   %8.1f on average; at the end half are of age %.0f or more\n",
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
    Outputs files{"track.mp4", "track.png"};
    if (inOptions.mInteractive) files.insert(files.end(), {"keys.json", "window.png"});
    if (inOptions.mPngEvery > 0) files.push_back("track-*.png");
    for (const char* name :
         {"track.csv", "track-apt.csv", "track-apt-exported.csv", "track-klt.csv"})
        files.push_back(name);
    for (const std::string& form : inOptions.mOutput.mEditors)
        files.push_back(EditorFileName("track-*", form));
    inOptions.mOutput.Check(inOptions.mInput.Files(), files);
}

int WriteRuns(const TrackOptions& inOptions, FrameSource& ioSource, const TrackRuns& inRuns) {
    TrackSheet sheet(ioSource.Width(), ioSource.Height(), int(inRuns.size()));
    const Canvas& canvas = sheet.GetCanvas();
    std::optional<VideoWriter> video = OpenVideo("track", canvas, ioSource, inOptions.mOutput);

    const auto json = OpenJson(inOptions, ioSource, inRuns);
    long long tracked = 0, lastNumber = 0;
    FramePtr last;
    const auto step = [&](const FramePtr& inFrame, long long inNumber) -> DrawJob {
        if (inNumber % inOptions.mStep != 0) return {};
        const double time = ioSource.GetTimeBase().Seconds(inFrame->mTime);
        Json row{{"frame", inNumber}, {"time", time}, {"trackers", Json::array()}};
        for (const auto& run : inRuns) {
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
        return [&, inFrame, inNumber, isPicture, views = ViewsOf(inRuns, inNumber)] {
            sheet.Draw(*inFrame, views);
            if (video) video->Write(canvas, inFrame->mTime, inFrame->mDuration);
            if (isPicture)
                canvas.WritePng(inOptions.mOutput.NumberedPath("track", inNumber, ".png"));
        };
    };
    const LoopResult result = ForEachFrame(ioSource, "track", inOptions.mOutput, step, video);

    for (const auto& run : inRuns)
        run->mFile.Finish();
    if (json) json->Finish(JsonTail(result, inRuns));
    WriteEditors(inOptions, ioSource, inRuns);
    if (tracked == 0) return result.ExitCode();  // stopped before it began
    Report(ioSource, result, inRuns, tracked);
    sheet.Draw(*last, ViewsOf(inRuns, lastNumber));
    return EndRun("track", canvas, ", the tables (csv)", video, result, inOptions.mOutput);
}

// The rectangles that a hand would draw: the panel's in the first frame, and half way.
KeyFrames DemoKeys(const HeldClip& inClip) {
    KeyFrames keys;
    if (inClip.Truth())
        for (const long long frame : {0LL, inClip.FrameCount() / 2})
            keys[frame] = inClip.Truth()->ObjectBox(int(frame));
    return keys;
}

int RunWindow(const TrackOptions& inOptions, FrameSource& ioSource) {
    HeldClip clip(ioSource);
    descriptor::PointSettings settings = inOptions.mSettings;
    if (inOptions.mEngine == "klt") settings.engine = descriptor::Engine::klt;
    KeyedPoints run(clip, settings);
    const KeyFrames demo = inOptions.mDemo ? DemoKeys(clip) : KeyFrames();
    if (!RunClipWindow(clip, run, demo, inOptions.mOutput))
        return Interrupted() ? kInterruptedExitCode : 0;
    const TrackRuns runs = MakeRuns(inOptions, clip);
    runs.front()->mTracker->TakeFrom(
        [&](long long inNumber) -> const descriptor::FramePoints& { return run.At(inNumber); });
    return WriteRuns(inOptions, clip, runs);
}

int RunTrack(const TrackOptions& inOptions) {
    CheckOutputs(inOptions);
    const std::unique_ptr<FrameSource> source = inOptions.mInput.Open();
    inOptions.mOutput.Prepare();
    if (inOptions.mInteractive) return RunWindow(inOptions, *source);
    return WriteRuns(inOptions, *source, MakeRuns(inOptions, *source));
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
    if (inOptions.mInteractive)
        for (const char* option : {"--compare", "--exported-tracker", "--step"})
            refuse(option, "and --interactive exclude each other");
    if (inOptions.mEngine == "klt")
        for (const char* option : {"--min-distance", "--stationary-limit", "--verify"})
            refuse(option, "is for the APT tracker");
}

void AddTrackerOptions(CLI::App& ioCommand, TrackOptions& outOptions) {
    descriptor::PointSettings& settings = outOptions.mSettings;
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
    number("--features", settings.max_points, 1, 100000, "Points at most (500).");
    number("--min-features", settings.min_points, 0, 100000,
           "Below so many live points new ones are looked for (nine tenths of --features).");
    number("--min-distance", settings.min_distance, 0, 10000,
           "APT: pixels between new points (10).");
    ioCommand
        .add_option("--stationary-limit", settings.stationary_limit,
                    Wrapped("APT: points that move no more than so many pixels are dropped "
                            "(0)."))
        ->check(RealRange(-1.0, 1000.0))
        ->type_name("PX");
    ioCommand.add_flag("--verify", settings.verify,
                       Wrapped("APT: check each point against its first patch."));
    number("--step", outOptions.mStep, 1, 1000, "Track every so many frames only (1).");
}

}  // namespace

void AddTrackCommand(CLI::App& ioProgram, Run& outRun) {
    CLI::App* const command = ioProgram.add_subcommand(
        "track", "Points followed through a clip; see --engine and --compare.");
    const auto options = std::make_shared<TrackOptions>();
    options->mInput.AddTo(*command);
    AddTrackerOptions(*command, *options);
    command->add_flag(
        "--interactive", options->mInteractive,
        Wrapped("In a window: draw a rectangle on any frame, and the points in it "
                "are followed up to the next one that you draw; only they are "
                "written."));
    command
        ->add_flag("--demo", options->mDemo,
                   Wrapped("With --interactive, on the rendered clip: draw the panel's true "
                           "rectangle by itself, save and end."))
        ->needs("--interactive");
    options->mOutput.AddTo(*command);
    options->mOutput.AddJsonTo(*command);
    options->mOutput.AddEditorsTo(*command, "The four points that were followed longest,");
    options->mOutput.AddPlotsTo(*command);
    command
        ->add_option("--png-every", options->mPngEvery,
                     "Write a picture of every so many frames.")
        ->check(CLI::Range(1, 1000000).description(""))
        ->type_name("N");
    command->footer(
        "Writes track.mp4 (trails coloured by the age of the point), track.png of the last\n"
        "frame, and track.csv with every point of every frame. On the rendered clip it prints\n"
        "how far the points are off.\n"
        "Example:  descriptor-host track holiday.mp4 --engine klt --features 300 -o out");
    command->callback([&outRun, command, options] {
        CheckOptions(*command, *options);
        outRun = [options] {
            return RunTrack(*options);
        };
    });
}

}  // namespace Host
