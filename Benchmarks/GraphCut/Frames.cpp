#include "Frames.h"

#include <time.h>

#include <algorithm>
#include <cstring>

#include "GraphCut/Scene.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace Bench {
namespace {

Frame WithStrokes(Frame ioFrame) {
    const int columns = ioFrame.mColumns, rows = ioFrame.mRows;
    ioFrame.mForeground = Testing::FlatImage(columns, rows, 0);
    ioFrame.mBackground = Testing::FlatImage(columns, rows, 0);
    Testing::PaintDab(ioFrame.mForeground, columns / 2, rows / 2, rows / 10);
    const int rim = rows / 60;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            if (x < rim || y < rim || x >= columns - rim || y >= rows - rim)
                ioFrame.mBackground->GetData()[y * columns + x] = 255;
    return ioFrame;
}

#ifdef DP_HAVE_OPENCV
bool ReadFrame(const std::string& inPath, int inColumns, int inRows, Frame& outFrame) {
    const cv::Mat picture = cv::imread(inPath, cv::IMREAD_COLOR);
    if (picture.empty()) return false;
    cv::Mat scaled, packed;
    cv::resize(picture, scaled, {inColumns, inRows}, 0, 0, cv::INTER_AREA);
    cv::cvtColor(scaled, packed, cv::COLOR_BGR2BGRA);
    const std::size_t bytes = packed.total() * 4;
    outFrame = {inPath.substr(inPath.rfind('/') + 1), inColumns, inRows, {}, {}, {}};
    outFrame.mPixels.resize(bytes + 1);
    std::memcpy(outFrame.mPixels.data(), packed.data, bytes);
    return true;
}
#else
bool ReadFrame(const std::string&, int, int, Frame&) { return false; }
#endif

}  // namespace

std::vector<Frame> LoadFrames(const std::vector<std::string>& inPaths, int inColumns,
                              int inRows) {
    std::vector<Frame> frames;
    Frame frame;
    for (const std::string& path : inPaths)
        if (ReadFrame(path, inColumns, inRows, frame)) frames.push_back(WithStrokes(frame));
    if (frames.empty()) {
        const Testing::Scene scene(inColumns, inRows);
        frames.push_back(WithStrokes({"scene", inColumns, inRows, scene.mPixels, {}, {}}));
    }
    return frames;
}

double Times::ThreadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return 1e3 * static_cast<double>(now.tv_sec) + 1e-6 * static_cast<double>(now.tv_nsec);
}

double Times::Median(const std::string& inName) const {
    const auto found = mTimes.find(inName);
    if (found == mTimes.end()) return 0;
    std::vector<double> times = found->second;
    std::nth_element(times.begin(), times.begin() + std::ptrdiff_t(times.size() / 2),
                     times.end());
    return times[times.size() / 2];
}

}  // namespace Bench
