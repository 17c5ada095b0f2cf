#include "Options.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "EditorFiles.h"
#include "FrameReader.h"
#include "Help.h"
#include "MediaFile.h"
#include "Path.h"
#include "RawReader.h"
#include "RenderedClip.h"
#include "System.h"
#include "UserError.h"

namespace Host {
namespace {

void PrepareFolder(const std::string& inFolder) {
    std::error_code error;
    std::filesystem::create_directories(PathOf(inFolder), error);
    if (error || !CanWriteInto(inFolder))
        throw UserError("folder '" + inFolder + "' cannot be written");
}

}  // namespace

Size ParseSize(const std::string& inText) {
    const auto number = [](const char* inFrom, const char* inTo) {
        int value = 0;
        const auto result = std::from_chars(inFrom, inTo, value);
        return result.ec == std::errc() && result.ptr == inTo ? value : -1;
    };
    const std::size_t cross = inText.find('x');
    if (cross != std::string::npos) {
        const char* const text = inText.c_str();
        const Size size{number(text, text + cross),
                        number(text + cross + 1, text + inText.size())};
        if (size.mWidth >= 16 && size.mWidth <= 16384 && size.mHeight >= 16 &&
            size.mHeight <= 16384)
            return size;
    }
    throw UsageError("a size is written as in 640x480, each side from 16 to 16384; '" + inText +
                     "' is none");
}

CLI::Validator RealRange(double inLeast, double inMost) {
    const auto check = [inLeast, inMost](const std::string& inText) -> std::string {
        char* end = nullptr;
        const double value = std::strtod(inText.c_str(), &end);
        if (!inText.empty() && *end == '\0' && value >= inLeast && value <= inMost) return {};
        return "Value " + inText + " not in range " + std::to_string(inLeast) + " to " +
               std::to_string(inMost);
    };
    return {check, ""};
}

void InputOptions::AddTo(CLI::App& ioCommand) {
    ioCommand
        .add_option(
            "INPUT", mInput,
            Wrapped("A video, a picture, a folder of pictures, or a pattern such as "
                    "frames/%04d.png; - is standard input (see --raw). Left out, a clip "
                    "with known motion is rendered."))
        ->type_name("");
    ioCommand.add_option("--frames", mFrames, "Stop after so many frames (rendered: 120).")
        ->check(CLI::Range(1LL, 1000000LL).description(""))
        ->type_name("N");
    ioCommand.add_option("--size", mSize, "Size of the rendered clip (640x480).")
        ->type_name("WxH");
    CLI::Option* const raw = AddRawTo(ioCommand,
                                      "INPUT, a pipe or a file, is bare frames of this size, "
                                      "as ffmpeg -f rawvideo writes them.");
    ioCommand.add_option("--fps", mRawRate, "Raw frames a second, for playback (25).")
        ->needs(raw)
        ->check(RealRange(1.0, 1000.0))
        ->type_name("N");
}

CLI::Option* InputOptions::AddRawTo(CLI::App& ioCommand, const std::string& inHelp) {
    CLI::Option* const raw =
        ioCommand.add_option("--raw", mRawSize, Wrapped(inHelp))->type_name("WxH");
    ioCommand.add_option("--format", mRawPixels, "Raw pixels: bgra (default), rgb24 or gray8.")
        ->needs(raw)
        ->type_name("NAME");
    return raw;
}

void OutputOptions::AddEditorsTo(CLI::App& ioCommand, const std::string& inWhat) {
    ioCommand
        .add_option("--editors", mEditors,
                    Wrapped(inWhat + " as other programs read it: blender, ae, nuke (and "
                                     "Natron), mlt, webvtt; several with commas."))
        ->delimiter(',')
        ->check(CLI::IsMember(EditorForms()).description(""))
        ->type_name("FORM");
}

std::vector<std::string> InputOptions::Files() const {
    if (mInput.empty()) return {};
    if (mInput == "-" || !mRawSize.empty()) return {mInput};
    return FindFiles(mInput);
}

std::unique_ptr<FrameSource> InputOptions::Open() const {
    if (mInput.empty() && mRawSize.empty()) return OpenRendered();
    if (!mSize.empty())
        throw UsageError("--size is for the rendered clip; '" + mInput +
                         "' has a size of its own");
    if (!mRawSize.empty()) return OpenRaw();
    if (mInput == "-")
        throw UsageError("standard input is read as bare frames: --raw WIDTHxHEIGHT");
    return std::make_unique<FrameReader>(mInput, mFrames);
}

std::unique_ptr<FrameSource> InputOptions::OpenRaw() const {
    if (mInput.empty()) throw UsageError("--raw needs an input; - is standard input");
    const Size size = ParseSize(mRawSize);
    return std::make_unique<RawReader>(
        mInput, RawFormat{size.mWidth, size.mHeight, ParsePixels(mRawPixels), mRawRate},
        mFrames);
}

std::unique_ptr<FrameSource> InputOptions::OpenRendered() const {
    RenderedClip::Shape shape;
    if (!mSize.empty()) {
        const Size size = ParseSize(mSize);
        shape.mWidth = size.mWidth;
        shape.mHeight = size.mHeight;
    }
    if (mFrames > 0) shape.mFrames = int(mFrames);
    return std::make_unique<RenderedSource>(shape);
}

void OutputOptions::AddFolderTo(CLI::App& ioCommand) {
    ioCommand
        .add_option("-o,--output", mFolder, "Folder for what is written (" + mFolder + ").")
        ->type_name("FOLDER");
}

void OutputOptions::AddTo(CLI::App& ioCommand) {
    AddFolderTo(ioCommand);
    mWithoutVideo = !CanWriteVideo();
    ioCommand.add_flag("--no-video", mWithoutVideo, "Write pictures only.");
    ioCommand
        .add_option("--progress", mProgress,
                    Wrapped("How far the run is, on standard error: text (the default), json "
                            "(an object a line) or none."))
        ->check(CLI::IsMember({"text", "json", "none"}).description(""))
        ->type_name("FORM");
}

void OutputOptions::AddJsonTo(CLI::App& ioCommand) {
    ioCommand.add_option("--json", mJsonFile, "Write settings and results as one JSON object.")
        ->type_name("FILE");
}

void OutputOptions::AddPlotsTo(CLI::App& ioCommand) {
    ioCommand
        .add_option_function<std::string>(
            "--plots",
            [](const std::string&) {
                throw UsageError(
                    "--plots is gone: write a table with --json FILE, and draw it "
                    "with python3 -m descriptor.plot FILE -o PICTURE");
            })
        ->group("");
}

std::unique_ptr<JsonFile> OutputOptions::OpenJson(const Json& inHead,
                                                  const std::string& inArray) const {
    if (mJsonFile.empty()) return nullptr;
    return std::make_unique<JsonFile>(mJsonFile, inHead, inArray);
}

Json JsonHead(const std::string& inCommand, const std::string& inSource, int inWidth,
              int inHeight) {
    return {{"program", "descriptor-host"}, {"version", DP_VERSION}, {"command", inCommand},
            {"source", inSource},           {"width", inWidth},      {"height", inHeight}};
}

Json JsonHead(const std::string& inCommand, const FrameSource& inSource) {
    Json head = JsonHead(inCommand, inSource.Name(), inSource.Width(), inSource.Height());
    const TimeBase base = inSource.GetTimeBase();
    if (!inSource.Note().empty()) head["note"] = inSource.Note();
    head["frame_rate"] = inSource.FrameRate();
    head["time_base"] = {{"numerator", base.mNumerator}, {"denominator", base.mDenominator}};
    return head;
}

std::string OutputOptions::Path(const std::string& inName) const {
    return (PathOf(mFolder) / PathOf(inName)).string();
}

std::string OutputOptions::NumberedPath(const std::string& inStem, long long inNumber,
                                        const std::string& inEnding) const {
    char number[24];
    std::snprintf(number, sizeof number, "-%06lld", inNumber);
    return Path(inStem + number + inEnding);
}

void OutputOptions::Check(const std::vector<std::string>& inInputs,
                          const Outputs& inFiles) const {
    Outputs outputs;
    for (const std::string& file : inFiles)
        outputs.push_back(Path(file));
    if (!mJsonFile.empty()) outputs.push_back(mJsonFile);
    RefuseSameFiles(inInputs, outputs);
}

void OutputOptions::Prepare() const { PrepareFolder(mFolder); }

}  // namespace Host
