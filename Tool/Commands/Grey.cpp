// grey: every frame as a grey and a float grey image, each asked for twice.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "Canvas.h"
#include "ClientFrames.h"
#include "Commands.h"
#include "FrameLoop.h"
#include "Help.h"
#include "Options.h"
#include "UserError.h"
#include "descriptor/Caches.h"
#include "descriptor/GreyFrames.h"

namespace Host {
namespace {

struct GreyOptions {
    InputOptions mInput;
    OutputOptions mOutput;
};

// Times and counts over a run.
struct GreyFigures {
    double mGreyMilliseconds = 0.0, mFloatMilliseconds = 0.0;  // of the last frame
    double mGreySeconds = 0.0;
    double mFloatSeconds = 0.0;
    double mHitSeconds = 0.0;
    long long mRequests = 0;
    long long mHits = 0;
    double mLargestDifference = 0.0;
    bool mGreyBytesKept = true;

    void NoteFrame() {
        mGreyMilliseconds = (mGreySeconds - mGreyBefore) * 1e3;
        mFloatMilliseconds = (mFloatSeconds - mFloatBefore) * 1e3;
        mGreyBefore = mGreySeconds;
        mFloatBefore = mFloatSeconds;
    }

private:
    double mGreyBefore = 0.0, mFloatBefore = 0.0;
};

// Asks for one image twice: the second time the cache should have it.
template <class Ask>
descriptor::Frame AskTwice(descriptor::Kind inKind, Ask inAsk, double& ioSeconds,
                           GreyFigures& ioFigures) {
    const WorkStopwatch computing;
    descriptor::Frame image = inAsk();
    ioSeconds += computing.Seconds();
    const auto hitsBefore = descriptor::cache_figures(inKind).hits;
    const WorkStopwatch looking;
    inAsk();
    ioFigures.mHitSeconds += looking.Seconds();
    ioFigures.mRequests += 2;
    ioFigures.mHits += (long long)(descriptor::cache_figures(inKind).hits - hitsBefore);
    return image;
}

const float* FloatsOf(const descriptor::Frame& inFrame) {
    return static_cast<const float*>(inFrame.pixels);
}

// How far the 8-bit image is from the float image.
void NoteDifference(const descriptor::Frame& inFloat, const descriptor::Frame& inGrey,
                    GreyFigures& ioFigures) {
    const std::size_t pixels = std::size_t(inFloat.width) * std::size_t(inFloat.height);
    const float* const floats = FloatsOf(inFloat);
    const unsigned char* const bytes = inGrey.row(0);
    float largest = 0.0f;
    for (std::size_t i = 0; i < pixels; ++i)
        largest = std::max(largest, std::abs(floats[i] - float(bytes[i])));
    ioFigures.mLargestDifference = std::max(ioFigures.mLargestDifference, double(largest));
}

// The float image as bytes to look at.
std::vector<std::uint8_t> ShownAsBytes(const descriptor::Frame& inFloat) {
    std::vector<std::uint8_t> bytes(std::size_t(inFloat.width) * std::size_t(inFloat.height));
    std::transform(FloatsOf(inFloat), FloatsOf(inFloat) + bytes.size(), bytes.begin(),
                   [](float v) { return std::uint8_t(std::clamp(v + 0.5f, 0.0f, 255.0f)); });
    return bytes;
}

// Three panels side by side, not wider than a screen.
class GreySheet {
public:
    GreySheet(int inWidth, int inHeight)
        : mPanelWidth(std::min(inWidth, 640)),
          mPanelHeight(std::max(1, inHeight * mPanelWidth / inWidth)),
          mCanvas(3 * mPanelWidth + 2 * kGap, mPanelHeight) {}

    const Canvas& Draw(const Frame& inFrame, const descriptor::Frame& inGrey,
                       const std::vector<std::uint8_t>& inFloatGrey, long long inNumber) {
        mCanvas.Fill({255.0, 255.0, 255.0});
        mCanvas.DrawFrame(inFrame, Panel(0));
        mCanvas.DrawGrey(inGrey.row(0), inFrame.mWidth, inFrame.mHeight, Panel(1));
        mCanvas.DrawGrey(inFloatGrey.data(), inFrame.mWidth, inFrame.mHeight, Panel(2));
        const double unit = UnitOf(Panel(0));
        const std::string names[] = {"frame " + std::to_string(inNumber), "grey, 8 bit",
                                     "float grey"};
        for (int i = 0; i < 3; ++i)
            mCanvas.Label(Panel(i).mX + 8.0 * unit, 8.0 * unit, names[i], 14.0 * unit);
        return mCanvas;
    }
    const Canvas& GetCanvas() const { return mCanvas; }

private:
    static constexpr int kGap = 6;
    Box Panel(int inIndex) const {
        return {double(inIndex * (mPanelWidth + kGap)), 0.0, double(mPanelWidth),
                double(mPanelHeight)};
    }

    int mPanelWidth, mPanelHeight;
    Canvas mCanvas;
};

void Report(const FrameSource& inSource, const LoopResult& inResult,
            const GreyFigures& inFigures) {
    const double frames = double(inResult.mFrames);
    std::printf("%s, %dx%d, %s\n", inSource.Name().c_str(), inSource.Width(), inSource.Height(),
                FramesText(inResult.mFrames).c_str());
    std::printf("  grey        %8.3f ms a frame\n", inFigures.mGreySeconds / frames * 1e3);
    std::printf("  float grey  %8.3f ms a frame\n", inFigures.mFloatSeconds / frames * 1e3);
    std::printf("  from cache  %8.3f ms a request; %lld of %lld requests were cache hits\n",
                inFigures.mHitSeconds / (2.0 * frames) * 1e3, inFigures.mHits,
                inFigures.mRequests);
    std::printf("  8 bits round away at most %.3f of a grey level\n",
                inFigures.mLargestDifference);
    if (!inFigures.mGreyBytesKept) std::printf("  grey input was changed by the conversion\n");
    std::printf("  whole run   %8.1f frames/s with reading, drawing and writing\n",
                inResult.FramesPerSecond());
}

// What is written of a frame.
Json FrameRow(const FrameSource& inSource, const GreyFigures& inFigures, const Frame& inFrame,
              long long inNumber) {
    return {{"frame", inNumber},
            {"time", inSource.GetTimeBase().Seconds(inFrame.mTime)},
            {"grey_milliseconds", inFigures.mGreyMilliseconds},
            {"float_grey_milliseconds", inFigures.mFloatMilliseconds}};
}

Json Summary(const LoopResult& inResult, const GreyFigures& inFigures) {
    const double frames = double(std::max(1LL, inResult.mFrames));
    return {{"frame_count", inResult.mFrames},
            {"milliseconds",
             {{"grey", inFigures.mGreySeconds / frames * 1e3},
              {"float_grey", inFigures.mFloatSeconds / frames * 1e3},
              {"from_cache", inFigures.mHitSeconds / (2.0 * frames) * 1e3}}},
            {"requests", inFigures.mRequests},
            {"cache_hits", inFigures.mHits},
            {"largest_difference", inFigures.mLargestDifference}};
}

int RunGrey(const GreyOptions& inOptions) {
    inOptions.mOutput.Check(inOptions.mInput.Files(), {"grey.mp4", "grey.png"});
    const std::unique_ptr<FrameSource> source = inOptions.mInput.Open();
    inOptions.mOutput.Prepare();
    const descriptor::GreyFrames images{descriptor::Source(source->Name())};
    const auto json = inOptions.mOutput.OpenJson(JsonHead("grey", *source), "frames");
    GreySheet sheet(source->Width(), source->Height());
    std::optional<VideoWriter> video =
        OpenVideo("grey", sheet.GetCanvas(), *source, inOptions.mOutput);

    GreyFigures figures;
    DrawJob last;
    const auto step = [&](const FramePtr& inFrame, long long inNumber) -> DrawJob {
        const descriptor::Frame view = ColourView(*inFrame, inNumber);
        const descriptor::Frame greyImage = AskTwice(
            descriptor::Kind::grey, [&] { return images.grey8(view); }, figures.mGreySeconds,
            figures);
        const descriptor::Frame floatImage = AskTwice(
            descriptor::Kind::grey_float, [&] { return images.grey_float(view); },
            figures.mFloatSeconds, figures);
        figures.NoteFrame();
        if (!inFrame->mGrey.empty() &&
            !std::equal(inFrame->mGrey.begin(), inFrame->mGrey.end(), greyImage.row(0)))
            figures.mGreyBytesKept = false;
        if (json) json->Add(FrameRow(*source, figures, *inFrame, inNumber));
        last = [&, inFrame, inNumber, greyImage, floatImage] {
            sheet.Draw(*inFrame, greyImage, ShownAsBytes(floatImage), inNumber);
        };
        return [&, inFrame, greyImage, floatImage, draw = last] {
            NoteDifference(floatImage, greyImage, figures);
            if (!video) return;
            draw();
            video->Write(sheet.GetCanvas(), inFrame->mTime, inFrame->mDuration);
        };
    };
    const LoopResult result = ForEachFrame(*source, "grey", inOptions.mOutput, step, video);

    if (json) {
        Json tail = Summary(result, figures);
        tail.update(result.Ending());
        json->Finish(tail);
    }
    if (result.mFrames == 0) return result.ExitCode();  // stopped before it began
    Report(*source, result, figures);
    last();
    return EndRun("grey", sheet.GetCanvas(), "", video, result, inOptions.mOutput);
}

}  // namespace

void AddGreyCommand(CLI::App& ioProgram, Run& outRun) {
    CLI::App* const command = ioProgram.add_subcommand(
        "grey",
        "Grey and float grey images of every frame, each asked for twice: the second "
        "time it comes from the cache.");
    const auto options = std::make_shared<GreyOptions>();
    options->mInput.AddTo(*command);
    options->mOutput.AddTo(*command);
    options->mOutput.AddJsonTo(*command);
    options->mOutput.AddPlotsTo(*command);
    command->footer(
        "Writes grey.mp4, and grey.png of the last frame.\n"
        "Example:  descriptor-host grey holiday.mp4 --frames 100 -o out");
    command->callback([&outRun, options] {
        outRun = [options] {
            return RunGrey(*options);
        };
    });
}

}  // namespace Host
