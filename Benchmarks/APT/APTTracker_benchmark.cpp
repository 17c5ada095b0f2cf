// Corner selection and one tracking step, 500 points, beside OpenCV on one thread.
//
//     apt_benchmark [FOLDER] [--benchmark_...]
//
// Frames: the first two images of FOLDER, by name, scaled to each size; without one, two
// rendered frames that move by (2.3, -1.4) pixels. Our side and the peer take turns inside
// one benchmark, since the machine's speed wanders:
//
//     time                our median
//     min_ratio           our minimum / the peer's minimum
//     median_ratio        our median / the peer's median
//
// The peer is timed in its better case: large freed blocks stay with the process, so that
// it does not pay for fresh pages on every call; selection sees a quality level of 0.01,
// which leaves it few corners to sort.
//
// What the memory must move. Selection reads the image once, 8.3 MB at 1920x1080 (4 bytes a
// pixel), and clears and touches the mask, 2 x 2.1 MB; all rows in between (some 400 KB)
// stay in the second-level cache. At 10 GB/s that is 1.2 ms: the rest is arithmetic, some
// 36 operations a pixel for the smoothing and 40 for the rest. A step touches some 2 KB of
// each image for a point that ends at full resolution, 2 MB in all for 500 points.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "APT/APTTracker.h"
#include "Support/Textures.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#endif

namespace {

using Size = std::pair<int, int>;  // columns, rows

std::string sFolder;

// ---- Frames --------------------------------------------------------------------------

struct FramePair {
    std::vector<float> mFrames[2];
    std::vector<unsigned char> mBytes[2];
};

bool LoadFrames([[maybe_unused]] Size inSize, [[maybe_unused]] FramePair& outPair) {
    if (sFolder.empty()) return false;
#ifdef DP_HAVE_OPENCV
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(sFolder))
        paths.push_back(entry.path().string());
    std::sort(paths.begin(), paths.end());
    int loaded = 0;
    for (const auto& path : paths) {
        if (loaded == 2) break;
        cv::Mat grey = cv::imread(path, cv::IMREAD_GRAYSCALE);
        if (grey.empty()) continue;
        cv::resize(grey, grey, {inSize.first, inSize.second}, 0, 0, cv::INTER_LINEAR);
        outPair.mBytes[loaded].assign(grey.datastart, grey.dataend);
        ++loaded;
    }
    return loaded == 2;
#else
    std::fprintf(stderr, "built without OpenCV: frames are rendered\n");
    return false;
#endif
}

const FramePair& Frames(Size inSize) {
    static std::map<Size, FramePair> sPairs;
    const auto [found, isNew] = sPairs.try_emplace(inSize);
    FramePair& pair = found->second;
    if (!isNew) return pair;
    if (!LoadFrames(inSize, pair))
        for (int i = 0; i < 2; ++i)
            pair.mBytes[i] =
                Testing::TexturedBytes(inSize.first, inSize.second, -2.3 * i, 1.4 * i, 3);
    for (int i = 0; i < 2; ++i)
        pair.mFrames[i].assign(pair.mBytes[i].begin(), pair.mBytes[i].end());
    return pair;
}

// ---- Taking turns --------------------------------------------------------------------

double SecondsOf(const std::function<void()>& inWork) {
    // Of this thread: what others take from the machine does not count.
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    const double start = now();
    inWork();
    return now() - start;
}

double Median(std::vector<double> inValues) {
    std::sort(inValues.begin(), inValues.end());
    return inValues.empty() ? 0.0 : inValues[inValues.size() / 2];
}

void Compare(benchmark::State& ioState, const std::function<void()>& inOurs,
             const std::function<void()>& inPeer) {
    std::vector<double> ours;
    std::vector<double> peer;
    inOurs();
    if (inPeer) inPeer();
    for (auto _ : ioState) {
        ours.push_back(SecondsOf(inOurs));
        ioState.SetIterationTime(ours.back());
        if (inPeer) peer.push_back(SecondsOf(inPeer));
    }
    ioState.counters["min_ms"] = 1e3 * *std::min_element(ours.begin(), ours.end());
    ioState.counters["median_ms"] = 1e3 * Median(ours);
    if (!inPeer) return;
    const double peerMin = *std::min_element(peer.begin(), peer.end());
    ioState.counters["peer_min_ms"] = 1e3 * peerMin;
    ioState.counters["min_ratio"] = *std::min_element(ours.begin(), ours.end()) / peerMin;
    ioState.counters["median_ratio"] = Median(ours) / Median(peer);
}

// ---- Selection -----------------------------------------------------------------------

TVK::ParamRect<float> FullFrame(Size inSize) {
    return {0.0f, 0.0f, static_cast<float>(inSize.first), static_cast<float>(inSize.second)};
}

void SelectCorners(benchmark::State& ioState, Size inSize) {
    const FramePair& frames = Frames(inSize);
    DP::APTCornerSelection selection;
    selection.ApplyParams({});
    const auto ours = [&] {
        selection.SetImage(frames.mFrames[0].data(), inSize.first, inSize.second);
        selection.FindCorners(nullptr, nullptr, FullFrame(inSize), 500, true);
    };
    std::function<void()> peer;
#ifdef DP_HAVE_OPENCV
    const cv::Mat image(inSize.second, inSize.first, CV_32F,
                        const_cast<float*>(frames.mFrames[0].data()));
    cv::Mat smooth;
    std::vector<cv::Point2f> corners;
    peer = [&] {
        cv::GaussianBlur(image, smooth, {9, 9}, 1.1, 1.1, cv::BORDER_REPLICATE);
        cv::goodFeaturesToTrack(smooth, corners, 500, 0.01, 10, {}, 11);
    };
#endif
    Compare(ioState, ours, peer);
    ioState.counters["points"] = static_cast<double>(selection.GetSelected().size());
}

// A rectangle of a tenth of the frame, in its middle, as the region tracker fills it.
void SelectInRectangle(benchmark::State& ioState, Size inSize) {
    const FramePair& frames = Frames(inSize);
    DP::APTCornerSelection selection;
    selection.ApplyParams({});
    const float width = static_cast<float>(inSize.first);
    const float height = static_cast<float>(inSize.second);
    const TVK::ParamRect<float> rect{0.34f * width, 0.34f * height, 0.66f * width,
                                     0.66f * height};
    Compare(
        ioState,
        [&] {
            selection.SetImage(frames.mFrames[0].data(), inSize.first, inSize.second);
            selection.FindCorners(nullptr, nullptr, rect, 500, true);
        },
        nullptr);
    ioState.counters["points"] = static_cast<double>(selection.GetSelected().size());
}

// ---- One step ------------------------------------------------------------------------

void TrackStep(benchmark::State& ioState, Size inSize) {
    const FramePair& frames = Frames(inSize);
    DP::APTTracker engine;
    engine.ApplyParams();
    const auto list = TVK::MakeObject<DP::APTFeatureList>();
    engine.SelectFeatures(frames.mFrames[0].data(), inSize.first, inSize.second, 0,
                          {FullFrame(inSize)}, {list});
    const auto tracked = TVK::MakeObject<DP::APTFeatureList>();
    const auto ours = [&] {
        engine.TrackFeatures(frames.mFrames[0].data(), frames.mFrames[1].data(), inSize.first,
                             inSize.second, 1, {list}, {tracked});
    };
    std::function<void()> peer;
#ifdef DP_HAVE_OPENCV
    const cv::Mat from(inSize.second, inSize.first, CV_8U,
                       const_cast<unsigned char*>(frames.mBytes[0].data()));
    const cv::Mat to(inSize.second, inSize.first, CV_8U,
                     const_cast<unsigned char*>(frames.mBytes[1].data()));
    std::vector<cv::Point2f> points;
    for (const auto& feature : *list)
        if (feature.mStatus >= 0) points.emplace_back(feature.mX, feature.mY);
    std::vector<cv::Point2f> found;
    std::vector<unsigned char> status;
    std::vector<float> error;
    peer = [&] {
        cv::calcOpticalFlowPyrLK(from, to, points, found, status, error, {11, 11}, 2,
                                 {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 15, 0.1});
    };
#endif
    Compare(ioState, ours, peer);
    ioState.counters["points"] = DP::CountLiveFeatures(*list);
    ioState.counters["kept"] = DP::CountLiveFeatures(*tracked);
#ifdef DP_HAVE_OPENCV
    ioState.counters["peer_kept"] =
        static_cast<double>(std::count(status.begin(), status.end(), 1));
#endif
}

void Register() {
    constexpr Size kSizes[] = {{640, 480}, {1280, 720}, {1920, 1080}};
    const std::pair<const char*, void (*)(benchmark::State&, Size)> benches[] = {
        {"SelectCorners/", SelectCorners},
        {"SelectInRectangle/", SelectInRectangle},
        {"TrackStep/", TrackStep}};
    for (const auto& bench : benches)
        for (const auto& size : kSizes)
            benchmark::RegisterBenchmark(
                (bench.first + std::to_string(size.first) + "x" + std::to_string(size.second))
                    .c_str(),
                bench.second, size)
                ->Unit(benchmark::kMillisecond)
                ->UseManualTime();
}

}  // namespace

int main(int inCount, char** inArguments) {
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
#ifdef DP_HAVE_OPENCV
    cv::setNumThreads(1);
#endif
    benchmark::Initialize(&inCount, inArguments);
    if (inCount > 1) sFolder = inArguments[1];
    Register();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
