// select: a foreground cut out of a picture by strokes.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ClientFrames.h"
#include "Commands.h"
#include "FrameReader.h"
#include "Help.h"
#include "Insides.h"
#include "Interrupt.h"
#include "Options.h"
#include "RenderedScene.h"
#include "SelectionPicture.h"
#include "UserError.h"
#include "Windows.h"
#include "descriptor/Selection.h"
#include "descriptor/StrokeMasks.h"
#include "descriptor/strokes_json.h"

namespace Host {
namespace {

using descriptor::Selection;
using descriptor::Strokes;

struct SelectOptions {
    std::string mPicture;
    InputOptions mRaw;  // how bare pixels lie in it
    std::vector<std::string> mForeground, mBackground;
    std::string mStrokesFile;
    std::string mTruth;
    std::string mSize;
    bool mInteractive = false;
    bool mDemo = false;
    OutputOptions mOutput;
};

// What is selected from, and by what.
struct SelectInput {
    std::string mName;
    Frame mPicture;
    std::vector<Strokes> mStrokes;
    std::optional<Mask> mTruth;
};

// A plane of a picture file: grey as it is, colours by their luma, and what is
// transparent counts as not painted.
Mask ReadMask(const std::string& inFile, const Frame& inPicture) {
    const Frame frame = ReadPicture(inFile);
    if (frame.mWidth != inPicture.mWidth || frame.mHeight != inPicture.mHeight)
        throw UserError("'" + inFile + "' is " + std::to_string(frame.mWidth) + "x" +
                        std::to_string(frame.mHeight) + ", but the picture is " +
                        std::to_string(inPicture.mWidth) + "x" +
                        std::to_string(inPicture.mHeight));
    Mask mask(frame.mWidth, frame.mHeight);
    for (std::size_t i = 0; i < mask.mBytes.size(); ++i) {
        const std::uint8_t* const pixel = frame.mPixels.data() + i * 4;
        const int luma = (114 * pixel[0] + 587 * pixel[1] + 299 * pixel[2] + 500) / 1000;
        mask.mBytes[i] = std::uint8_t(luma * pixel[3] / 255);
    }
    return mask;
}

// What two files show as painted. A pixel of both is the background's.
Strokes ReadStrokes(const std::string& inForeground, const std::string& inBackground,
                    const Frame& inPicture) {
    const auto read = [&](const std::string& inFile, descriptor::Label inLabel) {
        return descriptor::strokes_of_mask(ViewOf(ReadMask(inFile, inPicture)), inLabel);
    };
    Strokes strokes = read(inForeground, descriptor::Label::foreground);
    for (descriptor::Stroke& stroke : read(inBackground, descriptor::Label::background))
        strokes.push_back(std::move(stroke));
    if (strokes.empty())
        throw UserError("nothing is painted in '" + inForeground + "' and '" + inBackground +
                        "': strokes are bright");
    return strokes;
}

Frame ReadSelected(const SelectOptions& inOptions) {
    if (inOptions.mRaw.mRawSize.empty()) return ReadPicture(inOptions.mPicture);
    InputOptions raw = inOptions.mRaw;
    raw.mInput = inOptions.mPicture;
    Frame frame;
    if (!raw.Open()->Read(frame)) throw UserError("no picture came");  // Ctrl-C
    return frame;
}

// The cuts of a file as `--interactive` saves it.
std::vector<Strokes> ReadSavedStrokes(const std::string& inFile, const Frame& inPicture) {
    try {
        const descriptor::StrokeFile file = descriptor::load_strokes(inFile);
        if (file.width == inPicture.mWidth && file.height == inPicture.mHeight)
            return file.history;
        throw UserError("'" + inFile + "' has strokes on another size of picture, " +
                        std::to_string(file.width) + "x" + std::to_string(file.height));
    } catch (const descriptor::Error& error) {
        throw UserError("'" + inFile + "' does not hold strokes: " + error.what());
    }
}

SelectInput RenderedInput(const SelectOptions& inOptions) {
    if (!inOptions.mForeground.empty() || !inOptions.mStrokesFile.empty() ||
        !inOptions.mTruth.empty())
        throw UsageError("strokes and --truth belong to a picture, and none is named");
    const Size size = ParseSize(inOptions.mSize.empty() ? "640x480" : inOptions.mSize);
    RenderedScene scene = RenderScene(size.mWidth, size.mHeight);
    return {"rendered scene", std::move(scene.mPicture), std::move(scene.mStrokes),
            std::move(scene.mTruth)};
}

SelectInput ReadInput(const SelectOptions& inOptions) {
    if (inOptions.mForeground.size() != inOptions.mBackground.size())
        throw UsageError("--foreground and --background take as many files each");
    if (inOptions.mPicture.empty() && inOptions.mRaw.mRawSize.empty())
        return RenderedInput(inOptions);
    if (inOptions.mDemo)
        throw UsageError("--demo paints on the rendered scene: name no picture");
    if (!inOptions.mSize.empty())
        throw UsageError("--size is for the rendered scene; '" + inOptions.mPicture +
                         "' has a size of its own");
    if (inOptions.mForeground.empty() && inOptions.mStrokesFile.empty() &&
        !inOptions.mInteractive)
        throw UsageError(
            "a picture needs strokes: --strokes FILE, --foreground FILE --background FILE, or "
            "--interactive");

    SelectInput input{inOptions.mPicture, ReadSelected(inOptions), {}, {}};
    for (std::size_t i = 0; i < inOptions.mForeground.size(); ++i)
        input.mStrokes.push_back(
            ReadStrokes(inOptions.mForeground[i], inOptions.mBackground[i], input.mPicture));
    if (!inOptions.mStrokesFile.empty())
        input.mStrokes = ReadSavedStrokes(inOptions.mStrokesFile, input.mPicture);
    if (!inOptions.mTruth.empty()) input.mTruth = ReadMask(inOptions.mTruth, input.mPicture);
    return input;
}

// Truth masks from data sets have a rim of 128 that is neither: it counts for nothing.
double OverlapWithoutRim(Mask inLabels, Mask inTruth) {
    for (std::size_t i = 0; i < inTruth.mBytes.size(); ++i)
        if (inTruth.mBytes[i] == 128) inLabels.mBytes[i] = inTruth.mBytes[i] = 0;
    return Overlap(inLabels, inTruth);
}

void ReportCut(std::size_t inNumber, const Selection& inSelection, const GraphInside& inGraph,
               const std::optional<Mask>& inTruth) {
    const Mask labels = ToMask(inSelection.mask());
    const auto selected = std::count_if(labels.mBytes.begin(), labels.mBytes.end(),
                                        [](int b) { return b > 127; });
    if (inNumber == 0)
        std::printf("  %u regions, %zu links\n", inGraph.Regions(), inGraph.Links());
    std::printf(
        "  %-14s %9.2f ms, flow %.1f, %.1f %% of the picture selected",
        inNumber == 0 ? "first cut" : ("stroke " + std::to_string(inNumber + 1)).c_str(),
        inSelection.last_cut_seconds() * 1e3, inGraph.Flow(),
        100.0 * double(selected) / double(labels.mBytes.size()));
    if (inTruth)
        std::printf(", overlap with the truth %.3f", OverlapWithoutRim(labels, *inTruth));
    std::printf("\n");
}

Json CutRow(std::size_t inNumber, const Selection& inSelection, const GraphInside& inGraph,
            const std::optional<Mask>& inTruth) {
    const Mask labels = ToMask(inSelection.mask());
    const std::vector<std::uint8_t>& bytes = labels.mBytes;
    Json row{{"cut", inNumber},
             {"milliseconds", inSelection.last_cut_seconds() * 1e3},
             {"regions", inGraph.Regions()},
             {"links", inGraph.Links()},
             {"flow", inGraph.Flow()},
             {"selected_pixels",
              std::count_if(bytes.begin(), bytes.end(), [](int b) { return b > 127; })}};
    if (inTruth) row["overlap"] = OverlapWithoutRim(labels, *inTruth);
    return row;
}

// The sheet: the picture with the strokes of each cut and what came of them.
class SelectSheet {
public:
    SelectSheet(const Frame& inPicture, std::size_t inCuts)
        : mWidth(std::min(inPicture.mWidth, 640)),
          mHeight(std::max(1, inPicture.mHeight * mWidth / inPicture.mWidth)),
          mCanvas(int(inCuts + 1) * (mWidth + kGap) - kGap, mHeight) {
        mCanvas.Fill({255.0, 255.0, 255.0});
    }
    void DrawCut(std::size_t inNumber, const Frame& inPicture, const Mask& inLabels,
                 const Strokes& inStrokes) {
        const Box box = Panel(inNumber);
        DrawSelection(mCanvas, box, inPicture, inLabels);
        DrawStrokes(mCanvas, box, inPicture, inStrokes);
        Name(box, inNumber == 0 ? "first strokes" : "strokes " + std::to_string(inNumber + 1));
    }
    void DrawResult(std::size_t inNumber, const Frame& inPicture, const Mask& inLabels) {
        DrawCutout(mCanvas, Panel(inNumber), inPicture, inLabels);
        Name(Panel(inNumber), "cut out");
    }
    const Canvas& GetCanvas() const { return mCanvas; }

private:
    static constexpr int kGap = 6;
    void Name(const Box& inPanel, const std::string& inName) {
        const double unit = UnitOf(inPanel);
        mCanvas.Label(inPanel.mX + 8.0 * unit, 8.0 * unit, inName, 14.0 * unit);
    }
    Box Panel(std::size_t inIndex) const {
        return {double(int(inIndex) * (mWidth + kGap)), 0.0, double(mWidth), double(mHeight)};
    }

    int mWidth, mHeight;
    Canvas mCanvas;
};

void WritePictures(const SelectInput& inInput, const Mask& inLabels, const GraphInside& inGraph,
                   const OutputOptions& inOutput) {
    const Frame& picture = inInput.mPicture;
    const Box whole{0.0, 0.0, double(picture.mWidth), double(picture.mHeight)};
    Canvas canvas(picture.mWidth, picture.mHeight);
    WriteSelection(canvas, picture, inLabels, inOutput);
    DrawRegions(canvas, whole, picture, inGraph.RegionOfPixels(), inLabels);
    canvas.WritePng(inOutput.Path("regions.png"));
}

void CheckOutputs(const SelectOptions& inOptions) {
    std::vector<std::string> inputs = inOptions.mForeground;
    inputs.insert(inputs.end(), inOptions.mBackground.begin(), inOptions.mBackground.end());
    inputs.push_back(inOptions.mPicture);
    inputs.push_back(inOptions.mStrokesFile);
    inputs.push_back(inOptions.mTruth);
    Outputs files{"labels.png", "cutout.png"};
    if (inOptions.mInteractive)
        files.insert(files.end(), {"window.png", "strokes.json"});
    else
        files.insert(files.end(), {"select.png", "regions.png"});
    inOptions.mOutput.Check(inputs, files);
}

int RunSelect(const SelectOptions& inOptions) {
    CheckOutputs(inOptions);
    const SelectInput input = ReadInput(inOptions);
    inOptions.mOutput.Prepare();
    if (inOptions.mInteractive) {
        Strokes demo;
        for (const Strokes& strokes : input.mStrokes)
            if (inOptions.mDemo) demo.insert(demo.end(), strokes.begin(), strokes.end());
        return RunStrokeWindow(input.mPicture, input.mName, demo, inOptions.mOutput);
    }

    std::printf("%s, %dx%d\n", input.mName.c_str(), input.mPicture.mWidth,
                input.mPicture.mHeight);
    Selection selection(ColourView(input.mPicture));
    Mask labels;
    GraphInside graph(input.mPicture);
    SelectSheet sheet(input.mPicture, input.mStrokes.size());
    const auto json = inOptions.mOutput.OpenJson(
        JsonHead("select", input.mName, input.mPicture.mWidth, input.mPicture.mHeight), "cuts");
    std::size_t cuts = 0;
    for (const Strokes& strokes : input.mStrokes) {
        if (Interrupted()) break;
        selection.add(strokes);
        labels = ToMask(selection.mask());
        graph.Cut(strokes);
        if (graph.Labels().mBytes != labels.mBytes)
            std::printf("  the library and its sources disagree on the selection\n");
        ReportCut(cuts, selection, graph, input.mTruth);
        if (json) json->Add(CutRow(cuts, selection, graph, input.mTruth));
        sheet.DrawCut(cuts++, input.mPicture, labels, strokes);
    }
    if (json) json->Finish({{"stopped", Interrupted()}});
    if (cuts == 0) return kInterruptedExitCode;
    sheet.DrawResult(cuts, input.mPicture, labels);
    sheet.GetCanvas().WritePng(inOptions.mOutput.Path("select.png"));
    WritePictures(input, labels, graph, inOptions.mOutput);
    std::printf("  wrote select.png, labels.png, cutout.png and regions.png in %s\n",
                inOptions.mOutput.mFolder.c_str());
    return Interrupted() ? kInterruptedExitCode : 0;
}

}  // namespace

void AddSelectCommand(CLI::App& ioProgram, Run& outRun) {
    CLI::App* const command =
        ioProgram.add_subcommand("select", "A foreground cut out of a picture by strokes.");
    const auto options = std::make_shared<SelectOptions>();
    command
        ->add_option("IMAGE", options->mPicture,
                     Wrapped("The picture. Left out, a scene with a known foreground and "
                             "strokes is rendered."))
        ->type_name("");
    options->mRaw.AddRawTo(*command,
                           "IMAGE, a pipe or a file, begins with a bare frame of this size, as "
                           "ffmpeg -f rawvideo writes it.");
    const auto files = [&](const char* inName, std::vector<std::string>& outFiles,
                           const std::string& inHelp) {
        command->add_option(inName, outFiles, Wrapped(inHelp))->type_name("FILE");
    };
    files("--foreground", options->mForeground,
          "Pictures of the picture's size, bright where the foreground was painted; with "
          "several, each pair is applied after the one before.");
    files("--background", options->mBackground, "The same for the background.");
    command
        ->add_option("--strokes", options->mStrokesFile,
                     Wrapped("Strokes as --interactive saves them (strokes.json), in place of "
                             "pictures of them."))
        ->excludes("--foreground")
        ->excludes("--background")
        ->type_name("FILE");
    command
        ->add_option("--truth", options->mTruth,
                     Wrapped("A mask of the true foreground (255; 128 for undecided), to "
                             "compare with."))
        ->type_name("FILE");
    command->add_option("--size", options->mSize, "Size of the rendered scene (640x480).")
        ->type_name("WxH");
    command->add_flag("--interactive", options->mInteractive,
                      Wrapped("Paint in a window: left button foreground, right button "
                              "background."));
    command
        ->add_flag("--demo", options->mDemo,
                   Wrapped("With --interactive: paint the rendered scene's strokes by itself, "
                           "save and end."))
        ->needs("--interactive");
    options->mOutput.AddFolderTo(*command);
    options->mOutput.AddJsonTo(*command);
    command->get_option("--json")->excludes("--interactive");
    command->get_option("--strokes")->excludes("--interactive");
    command->footer(
        "Writes select.png (each cut with its strokes), labels.png, cutout.png (on a\n"
        "checkerboard) and regions.png (the small regions that the cut runs between).\n"
        "Example:  descriptor-host select photo.jpg --foreground fg.png --background bg.png");
    command->callback([&outRun, options] {
        outRun = [options] {
            return RunSelect(*options);
        };
    });
}

}  // namespace Host
