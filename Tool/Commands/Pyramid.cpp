// pyramid: the pyramids of one frame on a contact sheet.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Canvas.h"
#include "ClientFrames.h"
#include "Commands.h"
#include "Help.h"
#include "Insides.h"
#include "Interrupt.h"
#include "Options.h"
#include "Stopwatch.h"
#include "UserError.h"
#include "descriptor/GreyFrames.h"

namespace Host {
namespace {

struct PyramidOptions {
    InputOptions mInput;
    OutputOptions mOutput;
    PyramidSettings mSettings;
    long long mFrame = 0;
};

// Frame number `inNumber` of a source; nothing if the user stopped the wait for it.
std::optional<Frame> ReadFrame(FrameSource& ioSource, long long inNumber) {
    Frame frame;
    for (long long i = 0; i <= inNumber; ++i) {
        const bool read = ioSource.Read(frame);
        if (Interrupted()) return std::nullopt;
        if (!read)
            throw UserError("'" + ioSource.Name() + "' has no frame " +
                            std::to_string(inNumber) + ", it ends with frame " +
                            std::to_string(i - 1));
    }
    return frame;
}

// The value that all but two in a hundred stay below, so that a few strong edges do not
// darken all the others.
float StrongGradient(const PyramidLevel& inLevel) {
    std::vector<float> sizes;
    for (const std::vector<float>* plane : {&inLevel.mGradientX, &inLevel.mGradientY})
        for (const float value : *plane)
            sizes.push_back(std::abs(value));
    const auto at = sizes.begin() + std::ptrdiff_t(double(sizes.size() - 1) * 0.98);
    std::nth_element(sizes.begin(), at, sizes.end());
    return std::max(*at, 1e-3f);
}

// Black where nothing changes, warm where the picture gets brighter, cold where darker.
Frame GradientPicture(const std::vector<float>& inPlane, const PyramidLevel& inLevel,
                      float inStrong) {
    constexpr Colour kUp{255.0, 176.0, 64.0};
    constexpr Colour kDown{72.0, 160.0, 255.0};
    Frame frame;
    frame.Resize(inLevel.mWidth, inLevel.mHeight);
    for (std::size_t i = 0; i < inPlane.size(); ++i) {
        const double strength = std::min(std::abs(double(inPlane[i])) / inStrong, 1.0);
        const Colour colour = Scale(inPlane[i] > 0.0f ? kUp : kDown, strength);
        std::uint8_t* const pixel = frame.mPixels.data() + i * 4;
        pixel[0] = std::uint8_t(colour.mBlue);
        pixel[1] = std::uint8_t(colour.mGreen);
        pixel[2] = std::uint8_t(colour.mRed);
        pixel[3] = 255;
    }
    return frame;
}

void DrawSheet(Canvas& ioCanvas, const std::vector<PyramidLevel>& inLevels, double inPanelWidth,
               double inPanelHeight, double inGap) {
    ioCanvas.Fill({255.0, 255.0, 255.0});
    for (std::size_t i = 0; i < inLevels.size(); ++i) {
        const PyramidLevel& level = inLevels[i];
        const auto panel = [&](int inColumn) {
            return Box{inColumn * (inPanelWidth + inGap), double(i) * (inPanelHeight + inGap),
                       inPanelWidth, inPanelHeight};
        };
        std::vector<std::uint8_t> grey(level.mSmoothed.size());
        std::transform(
            level.mSmoothed.begin(), level.mSmoothed.end(), grey.begin(),
            [](float v) { return std::uint8_t(std::clamp(v + 0.5f, 0.0f, 255.0f)); });
        ioCanvas.DrawGrey(grey.data(), level.mWidth, level.mHeight, panel(0));
        const float strong = StrongGradient(level);
        ioCanvas.DrawFrame(GradientPicture(level.mGradientX, level, strong), panel(1));
        ioCanvas.DrawFrame(GradientPicture(level.mGradientY, level, strong), panel(2));

        const std::string size = "level " + std::to_string(i) + ", " +
                                 std::to_string(level.mWidth) + "x" +
                                 std::to_string(level.mHeight);
        const char* const kinds[] = {": smoothed", ": gradient in x", ": gradient in y"};
        for (int column = 0; column < 3; ++column)
            ioCanvas.Label(panel(column).mX + 8.0, panel(column).mY + 8.0, size + kinds[column],
                           14.0, inPanelWidth - 16.0);
    }
}

int RunPyramid(const PyramidOptions& inOptions) {
    inOptions.mOutput.Check(inOptions.mInput.Files(), {"pyramid.png"});
    const std::unique_ptr<FrameSource> source = inOptions.mInput.Open();
    inOptions.mOutput.Prepare();
    const std::optional<Frame> read = ReadFrame(*source, inOptions.mFrame);
    if (!read) return kInterruptedExitCode;
    const Frame& frame = *read;
    int width = frame.mWidth;
    int height = frame.mHeight;
    for (int level = 1; level < inOptions.mSettings.mLevels; ++level) {
        width /= inOptions.mSettings.mSubsampling;
        height /= inOptions.mSettings.mSubsampling;
    }
    if (width < 1 || height < 1)
        throw UserError("a frame of " + std::to_string(frame.mWidth) + "x" +
                        std::to_string(frame.mHeight) + " has no room for " +
                        std::to_string(inOptions.mSettings.mLevels) + " levels");

    const descriptor::Frame grey = descriptor::GreyFrames().grey8(ColourView(frame));
    const WorkStopwatch computing;
    const std::vector<PyramidLevel> levels =
        ComputePyramids(grey.row(0), frame.mWidth, frame.mHeight, inOptions.mSettings);
    const double milliseconds = computing.Seconds() * 1e3;

    constexpr int kGap = 6;
    const int panelWidth = std::min(frame.mWidth, 640);
    const int panelHeight = std::max(1, frame.mHeight * panelWidth / frame.mWidth);
    Canvas canvas(3 * (panelWidth + kGap) - kGap,
                  int(levels.size()) * (panelHeight + kGap) - kGap);
    DrawSheet(canvas, levels, panelWidth, panelHeight, kGap);
    canvas.WritePng(inOptions.mOutput.Path("pyramid.png"));
    std::printf("%s, frame %lld of %dx%d\n  %zu levels of three pyramids in %.2f ms\n",
                source->Name().c_str(), inOptions.mFrame, frame.mWidth, frame.mHeight,
                levels.size(), milliseconds);
    std::printf("  wrote %s\n", inOptions.mOutput.Path("pyramid.png").c_str());
    return 0;
}

}  // namespace

void AddPyramidCommand(CLI::App& ioProgram, Run& outRun) {
    CLI::App* const command = ioProgram.add_subcommand(
        "pyramid", "The smoothed and gradient pyramids of one frame on a contact sheet.");
    const auto options = std::make_shared<PyramidOptions>();
    options->mInput.AddTo(*command);
    command->add_option("--frame", options->mFrame, "Number of the frame, from 0 (0).")
        ->check(CLI::Range(0LL, 1000000LL).description(""))
        ->type_name("N");
    command->add_option("--levels", options->mSettings.mLevels, "Levels (2).")
        ->check(CLI::Range(1, 8).description(""))
        ->type_name("N");
    command
        ->add_option("--subsampling", options->mSettings.mSubsampling,
                     "How much smaller each level is: 2, 4, 8, 16 or 32 (4).")
        ->check(CLI::IsMember({2, 4, 8, 16, 32}).description(""))
        ->type_name("N");
    options->mOutput.AddFolderTo(*command);
    command->footer(
        "Writes pyramid.png: a row for each level, which is what the KLT tracker\n"
        "makes of each frame. Gradients: warm upward, cold downward.\n"
        "Example:  descriptor-host pyramid photo.jpg --levels 3 --subsampling 2");
    command->callback([&outRun, options] {
        outRun = [options] {
            return RunPyramid(*options);
        };
    });
}

}  // namespace Host
