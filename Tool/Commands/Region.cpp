// region: a rectangle carried through a clip.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
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
#include "Plot.h"
#include "RegionTracker.h"
#include "RenderedClip.h"
#include "Table.h"
#include "UserError.h"
#include "VideoWriter.h"

namespace Host {
namespace {

struct RegionOptions {
    InputOptions mInput;
    OutputOptions mOutput;
    RegionSettings mSettings;
    std::string mRect;
    std::string mTruthFile;
    int mPngEvery = 0;
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
    std::vector<double> mMilliseconds;

    void Add(const RegionTracker& inTracker, const Box& inBox,
             const std::optional<Box>& inTruth) {
        mBoxes.push_back(inBox);
        mStates.push_back(inTracker.State());
        if (inTruth) mOverlaps.push_back(Overlap(inBox, *inTruth));
        mPoints += inTracker.Points().size();
        mPath.push_back({inBox.mX + inBox.mWidth / 2, inBox.mY + inBox.mHeight / 2});
    }
    long long Count(RegionState inState) const {
        return std::count(mStates.begin(), mStates.end(), inState);
    }
};

// What is drawn of one frame: a copy, so that the run may go on meanwhile.
struct RegionView {
    RegionView(const RegionTracker& inTracker, const RegionRun& inRun,
               const std::optional<Box>& inTruth)
        : mNumber(inRun.mBoxes.size() - 1),
          mBox(inRun.mBoxes.back()),
          mTruth(inTruth),
          mState(inTracker.State()),
          mPoints(inTracker.Points()),
          mPath(inRun.mPath) {}

    std::string Title() const {
        std::string title = "region, frame " + std::to_string(mNumber) + ": ";
        if (mState != RegionState::kTracked)
            title += std::string(RegionStateName(mState)) + ", ";
        title += std::to_string(mPoints.size()) + " points";
        char overlap[32];
        std::snprintf(overlap, sizeof overlap, ", overlap %.2f",
                      mTruth ? Overlap(mBox, *mTruth) : 0.0);
        return mTruth ? title + overlap : title;
    }

    std::size_t mNumber;
    Box mBox;
    std::optional<Box> mTruth;
    RegionState mState;
    std::vector<Point> mPoints, mPath;
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
    if (inView.mState == RegionState::kHeld)
        ioCanvas.Outline(name("held", 74.0), kHeldColour, 2.0 * inUnit);
}

void DrawRegion(Canvas& ioCanvas, const Frame& inFrame, const RegionView& inView) {
    const Box whole{0.0, 0.0, double(inFrame.mWidth), double(inFrame.mHeight)};
    const double unit = UnitOf(whole);
    ioCanvas.DrawFrame(inFrame, whole);
    for (std::size_t i = 1; i < inView.mPath.size(); ++i)
        ioCanvas.Line(inView.mPath[i - 1], inView.mPath[i], 1.6 * unit, kRegionColour, 0.8,
                      whole);
    for (const Point& point : inView.mPoints)
        ioCanvas.Dot({point.mX + 0.5, point.mY + 0.5}, 1.8 * unit, kPointColour, whole);
    const bool isHeld = inView.mState == RegionState::kHeld;
    ioCanvas.Outline(inView.mBox, isHeld ? kHeldColour : kRegionColour, 2.5 * unit);
    if (inView.mTruth) DrawTruth(ioCanvas, *inView.mTruth, unit);
    ioCanvas.Label(8.0 * unit, 8.0 * unit, inView.Title(), 14.0 * unit,
                   inFrame.mWidth - 16.0 * unit);
    DrawRegionKey(ioCanvas, inView, unit);
}

Columns RegionColumns(bool inHasTruth) {
    Columns columns = FrameColumns();
    for (const Column& column : Columns{
             {"state", "word",
              "tracked; held: no place was found and the last one stands; restarted: a new run "
              "began with the last rectangle"},
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

Row FrameRow(const RegionRun& inRun, const RegionTracker& inTracker, double inTime,
             const std::optional<Box>& inTruth, bool inHasTruth) {
    const Box& box = inRun.mBoxes.back();
    Row row{inRun.mBoxes.size() - 1,
            inTime,
            RegionStateName(inTracker.State()),
            Shortest(float(box.mX)),
            Shortest(float(box.mY)),
            Shortest(float(box.Right())),
            Shortest(float(box.Bottom())),
            inTracker.Points().size(),
            inRun.mMilliseconds.back()};
    if (inHasTruth) row.push_back(inTruth ? Json(Overlap(box, *inTruth)) : Json());
    return row;
}

std::unique_ptr<JsonFile> OpenJson(const RegionOptions& inOptions, const FrameSource& inSource,
                                   const Box& inStart, const Columns& inColumns) {
    Json head = JsonHead("region", inSource);
    head["settings"] = {{"features", inOptions.mSettings.mFeatures},
                        {"min_distance", inOptions.mSettings.mMinDistance},
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
    std::printf("  tracking  %8.3f ms a frame, %.1f points on average\n",
                inSeconds / frames * 1e3, double(inRun.mPoints) / frames);
    if (const long long held = inRun.Count(RegionState::kHeld))
        std::printf("  held in   %8lld frames: repeats, or without a place\n", held);
    if (const long long restarts = inRun.Count(RegionState::kRestarted))
        std::printf("  restarted %8lld times with the last good rectangle\n", restarts);
    ReportOverlaps(inRun.mOverlaps);
    std::printf("  whole run %8.1f frames/s with reading, drawing and writing\n",
                inResult.FramesPerSecond());
}

void PlotRun(const RegionRun& inRun, const FrameSource& inSource,
             const OutputOptions& inOutput) {
    if (inOutput.mPlotFolder.empty()) return;
    std::vector<double> frames, widths, heights;
    for (const Box& box : inRun.mBoxes) {
        frames.push_back(double(frames.size()));
        widths.push_back(box.mWidth);
        heights.push_back(box.mHeight);
    }
    Plot path, size, time;
    path.SetTitles("Path of the region's centre", "x in pixels", "y in pixels, downward");
    path.mLines = {{"", kPlotColours[0], inRun.mPath, 2.0}};
    path.mPictureWidth = inSource.Width();
    path.mPictureHeight = inSource.Height();
    WritePlots({path}, inOutput.PlotPath("path.png"));
    size.SetTitles("Size of the region", "frame", "pixels");
    size.mFromZero = false;
    size.mLines = {LineOver(frames, widths, "width", kPlotColours[0]),
                   LineOver(frames, heights, "height", kPlotColours[1])};
    WritePlots({size}, inOutput.PlotPath("size.png"));
    time.SetTitles("Time in the region tracker", "frame", "milliseconds");
    time.mLines = {LineOver(frames, inRun.mMilliseconds)};
    WritePlots({time}, inOutput.PlotPath("milliseconds.png"));
    std::printf("  wrote plots in %s\n", inOutput.mPlotFolder.c_str());
}

void CheckOutputs(const RegionOptions& inOptions) {
    std::vector<std::string> inputs = inOptions.mInput.Files();
    if (!inOptions.mTruthFile.empty()) inputs.push_back(inOptions.mTruthFile);
    Outputs files{"region.mp4", "region.png", "region.csv"};
    if (inOptions.mPngEvery > 0) files.push_back("region-*.png");
    for (const std::string& form : inOptions.mOutput.mEditors)
        files.push_back(EditorFileName("region", form));
    inOptions.mOutput.Check(inputs, files, {"path.png", "size.png", "milliseconds.png"});
}

int RunRegion(const RegionOptions& inOptions) {
    CheckOutputs(inOptions);
    const std::unique_ptr<FrameSource> source = inOptions.mInput.Open();
    const RegionTruth truth(*source, inOptions.mTruthFile);
    const Box start = StartBox(inOptions, truth, *source);
    inOptions.mOutput.Prepare();
    RegionTracker tracker(source->Name(), start, source->Height(), inOptions.mSettings);
    Canvas canvas(source->Width(), source->Height());
    const bool hasTruth = truth.At(0).has_value();
    const Columns columns = RegionColumns(hasTruth);
    CsvFile file(inOptions.mOutput.Path("region.csv"), columns);
    const auto json = OpenJson(inOptions, *source, start, columns);
    std::optional<VideoWriter> video;
    if (!inOptions.mOutput.mWithoutVideo)
        video.emplace(inOptions.mOutput.Path("region.mp4"),
                      VideoShape(canvas.Width(), canvas.Height(), *source));

    RegionRun run;
    Motion motion{source->Width(), source->Height(), source->FrameRate(), {}};
    FramePtr last;
    std::optional<RegionView> lastView;
    const auto step = [&](const FramePtr& inFrame, long long inNumber) -> DrawJob {
        const double before = tracker.LibrarySeconds();
        const Box& box = tracker.Track(*inFrame, inNumber);
        const std::optional<Box> trueBox = truth.At(inNumber);
        run.mMilliseconds.push_back((tracker.LibrarySeconds() - before) * 1e3);
        run.Add(tracker, box, trueBox);
        const double time = source->GetTimeBase().Seconds(inFrame->mTime);
        motion.mKeys.push_back({inNumber, time, box});
        const Row row = FrameRow(run, tracker, time, trueBox, hasTruth);
        file.Add(row);
        if (json) json->Add(RowObject(columns, row));
        last = inFrame;
        lastView.emplace(tracker, run, trueBox);
        const bool isPicture = inOptions.mPngEvery > 0 && inNumber % inOptions.mPngEvery == 0;
        if (!video && !isPicture) return {};
        return [&, inFrame, inNumber, isPicture, view = *lastView] {
            DrawRegion(canvas, *inFrame, view);
            if (video) video->Write(canvas, inFrame->mTime, inFrame->mDuration);
            if (isPicture)
                canvas.WritePng(inOptions.mOutput.NumberedPath("region", inNumber, ".png"));
        };
    };
    const LoopResult result = ForEachFrame(*source, "region", inOptions.mOutput, step,
                                           [&](const SoundPackets& inSound) {
                                               if (video) video->WriteSound(inSound);
                                           });

    if (video) video->Finish();
    file.Finish();
    if (json) json->Finish(result.Ending());
    WriteEditorFiles(motion, inOptions.mOutput.mEditors, inOptions.mOutput.Path("region"));
    if (result.mFrames == 0) return result.ExitCode();  // stopped before it began
    Report(*source, result, run, tracker.LibrarySeconds());
    DrawRegion(canvas, *last, *lastView);
    canvas.WritePng(inOptions.mOutput.Path("region.png"));
    std::printf("  wrote region.png, region.csv%s in %s\n", video ? " and region.mp4" : "",
                inOptions.mOutput.mFolder.c_str());
    ReportSound(video);
    PlotRun(run, *source, inOptions.mOutput);
    return result.ExitCode();
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
    command->add_option("--features", options->mSettings.mFeatures, "Points at most (500).")
        ->check(CLI::Range(1u, 100000u).description(""))
        ->type_name("N");
    command
        ->add_option("--min-distance", options->mSettings.mMinDistance,
                     "Pixels between new points (3).")
        ->check(CLI::Range(0u, 10000u).description(""))
        ->type_name("N");
    options->mOutput.AddTo(*command);
    options->mOutput.AddJsonTo(*command);
    options->mOutput.AddEditorsTo(*command, "The rectangle's motion");
    options->mOutput.AddPlotsTo(*command, "the region's path and size, time a frame.");
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
