// region: a rectangle carried through a clip.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BoxFile.h"
#include "Canvas.h"
#include "Commands.h"
#include "EditorFiles.h"
#include "FrameLoop.h"
#include "Help.h"
#include "Options.h"
#include "RenderedClip.h"
#include "Table.h"
#include "Trackers.h"
#include "UserError.h"
#include "Windows.h"

namespace Host {
namespace {

using descriptor::RegionResult;
using descriptor::RegionState;

struct RegionOptions {
    InputOptions mInput;
    OutputOptions mOutput;
    // Repeats that were compressed anew differ a little, and a few may follow each other.
    descriptor::RegionSettings mSettings{.hold_frames = 5};
    std::string mRect;
    std::string mTruthFile;
    int mPngEvery = 0;
    bool mInteractive = false, mDemo = false;
};

// The true rectangles, where they are known.
class RegionTruth {
public:
    RegionTruth(const FrameSource& inSource, const std::string& inFile)
        : mClip(inFile.empty() ? inSource.Truth() : nullptr) {
        if (!inFile.empty()) mBoxes = ReadBoxes(inFile);
    }

    std::optional<Box> At(long long inFrame) const {
        if (mClip) return mClip->ObjectBox(int(inFrame));
        if (inFrame < (long long)mBoxes.size()) return mBoxes[std::size_t(inFrame)];
        return std::nullopt;
    }

private:
    const RenderedClip* mClip;
    std::vector<Box> mBoxes;
};

Box StartBox(const RegionOptions& inOptions, const RegionTruth& inTruth,
             const FrameSource& inSource) {
    const std::optional<Box> truth = inTruth.At(0);
    if (inOptions.mRect.empty() && !truth)
        throw UsageError("which rectangle? --rect x,y,w,h says it");
    const Box box = inOptions.mRect.empty() ? *truth : ParseBox(inOptions.mRect);
    if (box.Right() <= 0.0 || box.Bottom() <= 0.0 || box.mX >= inSource.Width() ||
        box.mY >= inSource.Height())
        throw UserError("the rectangle lies outside the picture, which is " +
                        std::to_string(inSource.Width()) + "x" +
                        std::to_string(inSource.Height()));
    return box;
}

// What is noted of each frame.
struct RegionRun {
    std::vector<double> mOverlaps;
    std::vector<Point> mPath;
    std::size_t mPoints = 0;
    std::vector<Box> mBoxes;
    std::vector<RegionState> mStates;
    double mMilliseconds = 0.0;  // of the last frame

    void Add(const RegionResult& inResult, const std::optional<Box>& inTruth) {
        const Box box = ToBox(inResult.rect);
        mBoxes.push_back(box);
        mStates.push_back(inResult.state);
        if (inTruth) mOverlaps.push_back(Overlap(box, *inTruth));
        mPoints += inResult.points.size();
        mPath.push_back({box.mX + box.mWidth / 2, box.mY + box.mHeight / 2});
    }
    long long Count(RegionState inState) const {
        return std::count(mStates.begin(), mStates.end(), inState);
    }
};

// What is drawn of one frame: a copy, so that the run may go on meanwhile.
struct RegionView {
    RegionView(const RegionResult& inResult, const RegionRun& inRun,
               const std::optional<Box>& inTruth)
        : mResult(inResult), mBox(inRun.mBoxes.back()), mTruth(inTruth), mPath(inRun.mPath) {}

    // Whether the rectangle was not carried on by points.
    bool IsHeld() const {
        return mResult.state == RegionState::held || mResult.state == RegionState::lost;
    }
    std::string Title() const {
        std::string title = "region, frame " + std::to_string(mResult.frame) + ": ";
        if (mResult.state != RegionState::tracked)
            title += std::string(to_string(mResult.state)) + ", ";
        title += std::to_string(mResult.points.size()) + " points";
        char overlap[32];
        std::snprintf(overlap, sizeof overlap, ", overlap %.2f",
                      mTruth ? Overlap(mBox, *mTruth) : 0.0);
        return mTruth ? title + overlap : title;
    }

    RegionResult mResult;
    Box mBox;
    std::optional<Box> mTruth;
    std::vector<Point> mPath;
};

constexpr Colour kRegionColour{96.0, 255.0, 120.0};
constexpr Colour kHeldColour{255.0, 150.0, 40.0};
constexpr Colour kPointColour{255.0, 214.0, 48.0};

// White and black in turns, so that it shows on any ground.
void DrawTruth(Canvas& ioCanvas, const Box& inBox, double inUnit) {
    const double dashes[] = {9.0 * inUnit, 9.0 * inUnit};
    cairo_set_line_width(ioCanvas.Cairo(), 1.2 * inUnit);
    for (const bool isWhite : {false, true}) {
        cairo_set_dash(ioCanvas.Cairo(), dashes, 2, isWhite ? 0.0 : dashes[0]);
        ioCanvas.SetColour(isWhite ? Colour{255.0, 255.0, 255.0} : Colour{});
        cairo_rectangle(ioCanvas.Cairo(), inBox.mX, inBox.mY, inBox.mWidth, inBox.mHeight);
        cairo_stroke(ioCanvas.Cairo());
    }
    cairo_set_dash(ioCanvas.Cairo(), nullptr, 0, 0.0);
}

// The names of the lines, each behind a piece of its line.
void DrawRegionKey(Canvas& ioCanvas, const RegionView& inView, double inUnit) {
    const double y = ioCanvas.Height() - 28.0 * inUnit;
    double x = 8.0 * inUnit;
    const auto name = [&](const std::string& inName, double inWidth) {
        ioCanvas.Label(x, y, "       " + inName, 12.0 * inUnit);
        x += inWidth * inUnit;
        return Box{x - (inWidth - 8.0) * inUnit, y + 5.0 * inUnit, 16.0 * inUnit, 9.0 * inUnit};
    };
    ioCanvas.Outline(name("region", 84.0), kRegionColour, 2.0 * inUnit);
    if (inView.mTruth) DrawTruth(ioCanvas, name("truth", 74.0), inUnit);
    if (inView.IsHeld()) ioCanvas.Outline(name("held", 74.0), kHeldColour, 2.0 * inUnit);
}

void DrawRegion(Canvas& ioCanvas, const Frame& inFrame, const RegionView& inView) {
    const Box whole{0.0, 0.0, double(inFrame.mWidth), double(inFrame.mHeight)};
    const double unit = UnitOf(whole);
    ioCanvas.DrawFrame(inFrame, whole);
    for (std::size_t i = 1; i < inView.mPath.size(); ++i)
        ioCanvas.Line(inView.mPath[i - 1], inView.mPath[i], 1.6 * unit, kRegionColour, 0.8,
                      whole);
    for (const descriptor::Point& point : inView.mResult.points)
        ioCanvas.Dot({point.x + 0.5, point.y + 0.5}, 1.8 * unit, kPointColour, whole);
    ioCanvas.Outline(inView.mBox, inView.IsHeld() ? kHeldColour : kRegionColour, 2.5 * unit);
    if (inView.mTruth) DrawTruth(ioCanvas, *inView.mTruth, unit);
    ioCanvas.Label(8.0 * unit, 8.0 * unit, inView.Title(), 14.0 * unit,
                   inFrame.mWidth - 16.0 * unit);
    DrawRegionKey(ioCanvas, inView, unit);
}

Columns RegionColumns(bool inHasTruth) {
    Columns columns = FrameColumns();
    for (const Column& column : Columns{
             {"state", "word",
              "key frame: given; tracked; held: a repeat, or no good place was found, and the "
              "last one stands; restarted: a new run began with the last rectangle; lost: "
              "nothing there to follow"},
             {"left", "pixel", "the left edge; 0 is that of the picture"},
             {"top", "pixel", "the upper edge, y downward"},
             {"right", "pixel", "the right edge"},
             {"bottom", "pixel", "the lower edge"},
             {"live_points", "number", "points that carry the rectangle"},
             {"milliseconds", "millisecond", "processor time in the library"}})
        columns.push_back(column);
    if (inHasTruth)
        columns.push_back({"overlap", "0 to 1", "shared area with the true rectangle"});
    return columns;
}

Row FrameRow(const RegionRun& inRun, const RegionResult& inResult, bool inIsReplay,
             double inTime, const std::optional<Box>& inTruth, bool inHasTruth) {
    const Box& box = inRun.mBoxes.back();
    Row row{inRun.mBoxes.size() - 1,
            inTime,
            to_string(inResult.state),
            Shortest(float(box.mX)),
            Shortest(float(box.mY)),
            Shortest(float(box.Right())),
            Shortest(float(box.Bottom())),
            inResult.points.size(),
            inIsReplay ? Json() : Json(inRun.mMilliseconds)};
    if (inHasTruth) row.push_back(inTruth ? Json(Overlap(box, *inTruth)) : Json());
    return row;
}

std::unique_ptr<JsonFile> OpenJson(const RegionOptions& inOptions, const FrameSource& inSource,
                                   const Box& inStart, const Columns& inColumns) {
    Json head = JsonHead("region", inSource);
    head["settings"] = {{"features", inOptions.mSettings.max_points},
                        {"min_distance", inOptions.mSettings.min_distance},
                        {"rect",
                         {{"x", inStart.mX},
                          {"y", inStart.mY},
                          {"width", inStart.mWidth},
                          {"height", inStart.mHeight}}}};
    head["columns"] = DescribeColumns(inColumns);
    return inOptions.mOutput.OpenJson(head, "frames");
}

void ReportOverlaps(const std::vector<double>& inOverlaps) {
    if (inOverlaps.empty()) return;
    constexpr std::size_t kInLine = 10;
    for (std::size_t i = 0; i < inOverlaps.size(); ++i) {
        if (i % kInLine == 0) std::printf("%s  overlap from frame %-5zu", i ? "\n" : "", i);
        std::printf(" %.3f", inOverlaps[i]);
    }
    double sum = 0.0;
    for (const double overlap : inOverlaps)
        sum += overlap;
    const auto good = std::count_if(inOverlaps.begin(), inOverlaps.end(),
                                    [](double overlap) { return overlap > 0.5; });
    std::printf("\n  mean overlap with the truth %.3f; above a half in %td of %zu frames\n",
                sum / double(inOverlaps.size()), good, inOverlaps.size());
}

void Report(const FrameSource& inSource, const LoopResult& inResult, const RegionRun& inRun,
            double inSeconds) {
    const double frames = double(inResult.mFrames);
    std::printf("%s, %dx%d, %s\n", inSource.Name().c_str(), inSource.Width(), inSource.Height(),
                FramesText(inResult.mFrames).c_str());
    if (inSeconds > 0.0)
        std::printf("  tracking  %8.3f ms a frame\n", inSeconds / frames * 1e3);
    std::printf("  points    %8.1f on average\n", double(inRun.mPoints) / frames);
    if (const long long held = inRun.Count(RegionState::held))
        std::printf("  held in   %8lld frames: repeats, or without a good place\n", held);
    if (const long long restarts = inRun.Count(RegionState::restarted))
        std::printf("  restarted %8lld times with the last good rectangle\n", restarts);
    if (const long long lost = inRun.Count(RegionState::lost))
        std::printf("  lost in   %8lld frames: nothing there to follow\n", lost);
    ReportOverlaps(inRun.mOverlaps);
    std::printf("  whole run %8.1f frames/s with reading, drawing and writing\n",
                inResult.FramesPerSecond());
}

void CheckOutputs(const RegionOptions& inOptions) {
    std::vector<std::string> inputs = inOptions.mInput.Files();
    if (!inOptions.mTruthFile.empty()) inputs.push_back(inOptions.mTruthFile);
    Outputs files{"region.mp4", "region.png", "region.csv"};
    if (inOptions.mInteractive) files.insert(files.end(), {"keys.json", "window.png"});
    if (inOptions.mPngEvery > 0) files.push_back("region-*.png");
    for (const std::string& form : inOptions.mOutput.mEditors)
        files.push_back(EditorFileName("region", form));
    inOptions.mOutput.Check(inputs, files);
}

// Where the rectangle of a frame comes from, and how long the library has taken so far.
struct RegionFollower {
    std::function<const RegionResult&(const Frame&, long long)> mFollow;
    std::function<double()> mSeconds;  // empty: there is no time to tell
    double Seconds() const { return mSeconds ? mSeconds() : 0.0; }
};

int WriteRun(const RegionOptions& inOptions, FrameSource& ioSource, const RegionTruth& inTruth,
             const Box& inStart, const RegionFollower& inFollower) {
    Canvas canvas(ioSource.Width(), ioSource.Height());
    const bool hasTruth = inTruth.At(0).has_value();
    const Columns columns = RegionColumns(hasTruth);
    CsvFile file(inOptions.mOutput.Path("region.csv"), columns);
    const auto json = OpenJson(inOptions, ioSource, inStart, columns);
    std::optional<VideoWriter> video = OpenVideo("region", canvas, ioSource, inOptions.mOutput);

    RegionRun run;
    Motion motion{ioSource.Width(), ioSource.Height(), ioSource.FrameRate(), {}};
    FramePtr last;
    std::optional<RegionView> lastView;
    const auto step = [&](const FramePtr& inFrame, long long inNumber) -> DrawJob {
        const double before = inFollower.Seconds();
        const RegionResult& result = inFollower.mFollow(*inFrame, inNumber);
        const std::optional<Box> trueBox = inTruth.At(inNumber);
        run.mMilliseconds = (inFollower.Seconds() - before) * 1e3;
        run.Add(result, trueBox);
        const double time = ioSource.GetTimeBase().Seconds(inFrame->mTime);
        motion.mKeys.push_back({inNumber, time, run.mBoxes.back()});
        const Row row = FrameRow(run, result, !inFollower.mSeconds, time, trueBox, hasTruth);
        file.Add(row);
        if (json) json->Add(RowObject(columns, row));
        last = inFrame;
        lastView.emplace(result, run, trueBox);
        const bool isPicture = inOptions.mPngEvery > 0 && inNumber % inOptions.mPngEvery == 0;
        if (!video && !isPicture) return {};
        return [&, inFrame, inNumber, isPicture, view = *lastView] {
            DrawRegion(canvas, *inFrame, view);
            if (video) video->Write(canvas, inFrame->mTime, inFrame->mDuration);
            if (isPicture)
                canvas.WritePng(inOptions.mOutput.NumberedPath("region", inNumber, ".png"));
        };
    };
    const LoopResult result = ForEachFrame(ioSource, "region", inOptions.mOutput, step, video);

    file.Finish();
    if (json) json->Finish(result.Ending());
    WriteEditorFiles(motion, inOptions.mOutput.mEditors, inOptions.mOutput.Path("region"));
    if (result.mFrames == 0) return result.ExitCode();  // stopped before it began
    Report(ioSource, result, run, inFollower.Seconds());
    DrawRegion(canvas, *last, *lastView);
    return EndRun("region", canvas, ", region.csv", video, result, inOptions.mOutput);
}

// The true rectangles that a hand would draw: in the first frame, and a correction half way.
KeyFrames DemoKeys(const RegionTruth& inTruth, const HeldClip& inClip) {
    KeyFrames keys;
    for (const long long frame : {0LL, inClip.FrameCount() / 2})
        if (const std::optional<Box> box = inTruth.At(frame)) keys[frame] = *box;
    return keys;
}

int RunWindow(const RegionOptions& inOptions, FrameSource& ioSource,
              const RegionTruth& inTruth) {
    HeldClip clip(ioSource);
    KeyedRegion run(clip, inOptions.mSettings);
    const KeyFrames demo = inOptions.mDemo ? DemoKeys(inTruth, clip) : KeyFrames();
    if (!RunClipWindow(clip, run, demo, inOptions.mOutput))
        return Interrupted() ? kInterruptedExitCode : 0;
    return WriteRun(inOptions, clip, inTruth, ToBox(run.At(0)->rect),
                    {[&](const Frame&, long long inNumber) -> const RegionResult& {
                         return *run.At(inNumber);
                     },
                     {}});
}

int RunRegion(const RegionOptions& inOptions) {
    CheckOutputs(inOptions);
    const std::unique_ptr<FrameSource> source = inOptions.mInput.Open();
    const RegionTruth truth(*source, inOptions.mTruthFile);
    if (inOptions.mInteractive) {
        inOptions.mOutput.Prepare();
        return RunWindow(inOptions, *source, truth);
    }
    const Box start = StartBox(inOptions, truth, *source);
    inOptions.mOutput.Prepare();
    TimedRegion tracker(source->Name(), start, inOptions.mSettings);
    return WriteRun(inOptions, *source, truth, start,
                    {[&](const Frame& inFrame, long long inNumber) -> const RegionResult& {
                         return tracker.Track(inFrame, inNumber);
                     },
                     [&] {
                         return tracker.LibrarySeconds();
                     }});
}

}  // namespace

void AddRegionCommand(CLI::App& ioProgram, Run& outRun) {
    CLI::App* const command =
        ioProgram.add_subcommand("region", "A rectangle carried through a clip.");
    const auto options = std::make_shared<RegionOptions>();
    options->mInput.AddTo(*command);
    command
        ->add_option("--rect", options->mRect,
                     Wrapped("The rectangle in the first frame, in pixels: its upper left "
                             "corner (y counts downward, as in pictures; the library's own "
                             "y-up rectangles are made from it), width and height. On the "
                             "rendered clip the moving panel where left out."))
        ->type_name("X,Y,W,H");
    command
        ->add_option("--truth", options->mTruthFile,
                     Wrapped("True rectangles, one x,y,w,h a line for each frame, to compare "
                             "with; its first line stands in for --rect."))
        ->type_name("FILE");
    command->add_option("--features", options->mSettings.max_points, "Points at most (500).")
        ->check(CLI::Range(1, 100000).description(""))
        ->type_name("N");
    command
        ->add_option("--min-distance", options->mSettings.min_distance,
                     "Pixels between new points (3).")
        ->check(CLI::Range(0, 10000).description(""))
        ->type_name("N");
    command
        ->add_flag("--interactive", options->mInteractive,
                   Wrapped("In a window: draw the rectangle on any frame, look at the others, "
                           "correct it where it went wrong; what is written is followed from "
                           "all of them, both ways."))
        ->excludes("--rect");
    command
        ->add_flag("--demo", options->mDemo,
                   Wrapped("With --interactive, on the rendered clip: draw the panel's true "
                           "rectangle by itself, save and end."))
        ->needs("--interactive");
    options->mOutput.AddTo(*command);
    options->mOutput.AddJsonTo(*command);
    options->mOutput.AddEditorsTo(*command, "The rectangle's motion");
    options->mOutput.AddPlotsTo(*command);
    command
        ->add_option("--png-every", options->mPngEvery,
                     "Write a picture of every so many frames.")
        ->check(CLI::Range(1, 1000000).description(""))
        ->type_name("N");
    command->footer(
        "Writes region.mp4, region.png of the last frame, and region.csv (y downward).\n"
        "Example:  descriptor-host region holiday.mp4 --rect 320,180,120,90 -o out");
    command->callback([&outRun, options] {
        outRun = [options] {
            return RunRegion(*options);
        };
    });
}

}  // namespace Host
