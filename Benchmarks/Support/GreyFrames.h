// Grey frames for benchmarks: from a folder of pictures, else rendered.
//
//     image_benchmark --frames=FOLDER
//
// The pictures of the folder are taken in the order of their names, and scaled to the size
// that a benchmark asks for. Without a folder, or without OpenCV to read it, the frames are
// the tests' texture, which moves by (3.3, -1.7) pixels a frame.

#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Support/Textures.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace Bench {

using GreyFrame = std::vector<unsigned char>;

inline std::string& FrameFolder() {
    static std::string sFolder;
    return sFolder;
}

/// Two frames or more of `inCols` by `inRows`.
inline std::vector<GreyFrame> GreyFrames(int inCols, int inRows, std::size_t inMost = 2) {
    std::vector<GreyFrame> frames;
#ifdef DP_HAVE_OPENCV
    if (!FrameFolder().empty()) {
        std::vector<std::string> paths;
        for (const auto& entry : std::filesystem::directory_iterator(FrameFolder()))
            paths.push_back(entry.path().string());
        std::sort(paths.begin(), paths.end());
        for (const auto& path : paths) {
            cv::Mat frame = cv::imread(path, cv::IMREAD_GRAYSCALE);
            if (frame.empty() || frames.size() == inMost) continue;
            cv::resize(frame, frame, cv::Size(inCols, inRows), 0, 0, cv::INTER_AREA);
            frames.emplace_back(frame.begin<unsigned char>(), frame.end<unsigned char>());
        }
    }
#endif
    for (std::size_t i = frames.size(); i < inMost; ++i)
        frames.push_back(
            Testing::TexturedBytes(inCols, inRows, -3.3 * double(i), 1.7 * double(i)));
    return frames;
}

/// The `main` of a program with frames.
inline int RunWithFrames(int inArgc, char** inArgv) {
    const std::string kFlag = "--frames=";
    std::vector<char*> others;
    for (int i = 0; i < inArgc; ++i)
        if (std::string(inArgv[i]).starts_with(kFlag))
            FrameFolder() = inArgv[i] + kFlag.size();
        else
            others.push_back(inArgv[i]);
    int count = static_cast<int>(others.size());
    others.push_back(nullptr);
    benchmark::Initialize(&count, others.data());
    if (benchmark::ReportUnrecognizedArguments(count, others.data())) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

}  // namespace Bench
