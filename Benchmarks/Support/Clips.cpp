#include "Benchmarks/Support/Clips.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

#include "Support/Textures.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>
#endif

namespace Bench {
namespace {

namespace fs = std::filesystem;

Options sOptions;

bool TakesOption(const std::string& inArgument) {
    int columns = 0, rows = 0;
    if (inArgument.starts_with("--clips="))
        sOptions.mClips = inArgument.substr(8);
    else if (std::sscanf(inArgument.c_str(), "--size=%dx%d", &columns, &rows) == 2)
        sOptions.mSizes.push_back({columns, rows});
    else if (inArgument.starts_with("--frames="))
        sOptions.mFrames = std::max(std::atoi(inArgument.c_str() + 9), 2);
    else if (inArgument == "--brief")
        sOptions.mSizes = {{640, 480}}, sOptions.mFrames = 4;
    else
        return false;
    return true;
}

std::vector<std::string> SortedEntries(const std::string& inFolder) {
    std::vector<std::string> paths;
    for (const auto& entry : fs::directory_iterator(inFolder))
        paths.push_back(entry.path().string());
    std::sort(paths.begin(), paths.end());
    return paths;
}

bool IsPicture(const fs::path& inPath) {
    const std::string kind = inPath.extension().string();
    return kind == ".jpg" || kind == ".jpeg" || kind == ".png" || kind == ".ppm";
}

bool IsNumbered(const fs::path& inPath) {
    const std::string name = inPath.filename().string();
    return std::isdigit(static_cast<unsigned char>(name[0])) != 0 || name.starts_with("frame");
}

// The frames of a folder that is one clip; empty where it is not.
std::vector<std::string> NumberedPictures(const std::string& inFolder) {
    std::vector<std::string> frames = SortedEntries(inFolder);
    std::erase_if(frames, [](const std::string& inPath) {
        return !IsPicture(inPath) || !IsNumbered(inPath) ||
               inPath.find("_", inPath.rfind('/')) != std::string::npos;
    });
    return frames.size() > 1 ? frames : std::vector<std::string>();
}

void AddClipsOf(const std::string& inPath, std::vector<std::string>& ioClips) {
    if (!fs::is_directory(inPath)) {
        ioClips.push_back(inPath);
    } else if (!NumberedPictures(inPath).empty()) {
        ioClips.push_back(inPath);
    } else {
        for (const std::string& entry : SortedEntries(inPath))
            if (fs::is_directory(entry))
                AddClipsOf(entry, ioClips);
            else if (IsPicture(entry) && NameOf(entry).find('_') == std::string::npos)
                ioClips.push_back(entry);
    }
}

// Four textures that move by (-3.3, 1.7) pixels a frame, one a channel.
Clip RenderedClip(Size inSize, int inFrames) {
    Clip clip("rendered", inSize);
    const auto [columns, rows] = inSize;
    for (int frame = 0; frame < inFrames; ++frame) {
        Clip::Pixels pixels(std::size_t(columns) * std::size_t(rows) * 4 + 1, 255);
        for (unsigned int channel = 0; channel < 3; ++channel) {
            const auto plane =
                Testing::TexturedBytes(columns, rows, 3.3 * frame, -1.7 * frame, channel + 1);
            for (std::size_t i = 0; i < plane.size(); ++i)
                pixels[4 * i + channel] = plane[i];
        }
        clip.Add(std::move(pixels));
    }
    return clip;
}

#ifdef DP_HAVE_OPENCV
void AddScaled(const cv::Mat& inPicture, Clip& ioClip) {
    cv::Mat scaled, packed;
    const cv::Size size(ioClip.GetColumns(), ioClip.GetRows());
    cv::resize(inPicture, scaled, size, 0, 0,
               inPicture.cols > size.width ? cv::INTER_AREA : cv::INTER_CUBIC);
    cv::cvtColor(scaled, packed, cv::COLOR_BGR2BGRA);
    Clip::Pixels pixels(packed.total() * 4 + 1);
    std::memcpy(pixels.data(), packed.data, pixels.size() - 1);
    ioClip.Add(std::move(pixels));
}

// A line x,y,w,h a frame, y downward, in the pictures' own scale.
void ReadBoxes(const std::string& inFolder, const cv::Size& inPictures, Clip& ioClip) {
    std::ifstream file(inFolder + "/boxes.txt");
    const double across = double(ioClip.GetColumns()) / inPictures.width;
    const double down = double(ioClip.GetRows()) / inPictures.height;
    double x = 0, y = 0, width = 0, height = 0;
    char comma = 0;
    while (file >> x >> comma >> y >> comma >> width >> comma >> height)
        ioClip.AddBox({x * across, y * down, width * across, height * down});
}

Clip ReadClip(const std::string& inPath, Size inSize, int inFrames) {
    Clip clip(NameOf(inPath), inSize);
    if (fs::is_directory(inPath)) {
        cv::Size size;
        for (const std::string& frame : NumberedPictures(inPath)) {
            if (clip.GetLength() == std::size_t(inFrames)) break;
            const cv::Mat picture = cv::imread(frame, cv::IMREAD_COLOR);
            if (!picture.empty()) AddScaled(picture, clip);
            size = picture.size();
        }
        ReadBoxes(inPath, size, clip);
    } else if (IsPicture(inPath)) {
        const cv::Mat picture = cv::imread(inPath, cv::IMREAD_COLOR);
        if (!picture.empty()) AddScaled(picture, clip);
    } else {
        cv::VideoCapture film(inPath);
        cv::Mat picture;
        while (clip.GetLength() < std::size_t(inFrames) && film.read(picture))
            AddScaled(picture, clip);
    }
    return clip;
}
#endif

Clip MakeClip(const std::string& inPath, Size inSize, int inFrames) {
#ifdef DP_HAVE_OPENCV
    if (inPath != "rendered") return ReadClip(inPath, inSize, inFrames);
#endif
    return RenderedClip(inSize, inFrames);
}

}  // namespace

const Options& TheOptions() { return sOptions; }

bool ReadOptions(int inCount, char** inArguments) {
    std::vector<char*> others;
    for (int i = 0; i < inCount; ++i)
        if (i == 0 || !TakesOption(inArguments[i])) others.push_back(inArguments[i]);
    int count = static_cast<int>(others.size());
    others.push_back(nullptr);
    benchmark::Initialize(&count, others.data());
    if (benchmark::ReportUnrecognizedArguments(count, others.data())) return false;
    if (sOptions.mSizes.empty()) sOptions.mSizes = {{854, 480}, {1280, 720}, {1920, 1080}};
#ifdef DP_HAVE_OPENCV
    cv::setNumThreads(1);
    if (!sOptions.mClips.empty() && !fs::exists(sOptions.mClips)) {
        std::fprintf(stderr, "there is no %s\n", sOptions.mClips.c_str());
        return false;
    }
#else
    if (!sOptions.mClips.empty()) {
        std::fputs("built without OpenCV, which reads the clips\n", stderr);
        return false;
    }
#endif
    return true;
}

void Clip::Add(Pixels inFrame) {
    const auto [columns, rows] = mSize;
    auto grey = TVK::MakeObject<IP::Image<unsigned char>>(columns, rows);
    auto floats = TVK::MakeObject<IP::Image<float>>(columns, rows);
    for (std::size_t i = 0; i < std::size_t(columns) * std::size_t(rows); ++i) {
        const unsigned char* const pixel = inFrame.data() + 4 * i;
        const int value = (3735 * pixel[0] + 19235 * pixel[1] + 9798 * pixel[2] + 16384) >> 15;
        grey->GetData()[i] = static_cast<unsigned char>(value);
        floats->GetData()[i] = static_cast<float>(value);
    }
    mColour.push_back(std::move(inFrame));
    mGrey.push_back(std::move(grey));
    mFloats.push_back(std::move(floats));
}

std::size_t Clip::At(int inFrame) const {
    const std::size_t last = mColour.size() - 1;
    if (last == 0) return 0;
    const std::size_t place = static_cast<std::size_t>(inFrame) % (2 * last);
    return place <= last ? place : 2 * last - place;
}

Box Clip::GetBox(int inFrame) const {
    const auto [columns, rows] = mSize;
    return HasTrueBoxes() ? mBoxes[At(inFrame)]
                          : Box{columns / 3.0, rows / 3.0, columns / 3.0, rows / 3.0};
}

std::vector<std::string> FindClips() {
    std::vector<std::string> clips;
    if (!sOptions.mClips.empty()) AddClipsOf(sOptions.mClips, clips);
    if (clips.empty()) clips.push_back("rendered");
    return clips;
}

const Clip& LoadClip(const std::string& inPath, Size inSize) {
    static std::unique_ptr<Clip> sClip;
    static std::pair<std::string, Size> sLoaded;
    if (!sClip || sLoaded != std::pair(inPath, inSize)) {
        sClip.reset();
        sClip = std::make_unique<Clip>(MakeClip(inPath, inSize, TheOptions().mFrames));
        sLoaded = {inPath, inSize};
    }
    return *sClip;
}

std::string NameOf(const std::string& inPath) {
    const fs::path path(inPath);
    return (path.has_filename() ? path : path.parent_path()).stem().string();
}

}  // namespace Bench
