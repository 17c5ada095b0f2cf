// One step of the region tracker beside one of OpenCV's MedianFlow, and the fit by itself.
//
//     region_tracker_benchmark [--clip=FOLDER] [flags of the benchmark library]
//
// A folder holds frames, files whose names begin with a digit, taken in the order of their
// names, and boxes.txt, one line x,y,w,h a frame, y downward. Without one the clip is rendered:
// 1280x720, a rectangle of a tenth of the frame over a moving background.
//
// Time is that of a step, as processor time, which other work on the machine disturbs least;
// both trackers run on one thread, take turns on every frame and get their grey frames ready
// made. `of_MedianFlow` is the median of the ratios; a step is even if `slowest/median`, the
// slowest of a run over the run's median (the least of all runs), is small. The other
// counters say how well the clip went, started from the first true box: mean overlap
// (intersection over union) and frames above a half.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "DP/DescriptorFactory.h"
#include "RegionTracker/RegionMotionFit.h"
#include "RegionTracker/RegionTrackerDescriptorData.h"
#include "RegionTracker/RegionTrackerWrapper.h"
#include "Support/RegionScene.h"
#include "Support/WideStrings.h"

#ifdef DP_HAVE_OPENCV_TRACKING
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/tracking.hpp>
#include <opencv2/tracking/tracking_legacy.hpp>
#endif

namespace {

using Testing::Box;

struct Clip {
    int mCols = 0;
    int mRows = 0;
    std::vector<std::vector<float>> mFrames;
    std::vector<Box> mTruth;
};

Clip RenderedClip() {
    Testing::RegionScene scene;
    scene.mCols = 1280;
    scene.mRows = 720;
    scene.mObject = {300, 240, 404, 228};
    scene.mSpeedX = 3.4;
    scene.mSpeedY = 1.3;
    scene.mGrowth = 1.002;
    scene.mBackgroundX = -1.6;
    scene.mBackgroundY = 0.4;
    Clip clip{scene.mCols, scene.mRows, {}, {}};
    for (int frame = 0; frame < 24; ++frame) {
        clip.mFrames.push_back(scene.Frame(frame));
        for (float& pixel : clip.mFrames.back())
            pixel = std::round(std::clamp(pixel, 0.0f, 255.0f));
        clip.mTruth.push_back(scene.At(frame));
    }
    return clip;
}

#ifdef DP_HAVE_OPENCV_TRACKING
bool ReadFolder(const std::string& inFolder, Clip& outClip) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(inFolder))
        if (std::isdigit(static_cast<unsigned char>(entry.path().filename().string()[0])))
            names.insert(entry.path().string());
    std::ifstream boxes(inFolder + "/boxes.txt");
    Box box;
    char comma = 0;
    while (boxes >> box.mX >> comma >> box.mY >> comma >> box.mWidth >> comma >> box.mHeight)
        outClip.mTruth.push_back(box);
    for (const std::string& name : names) {
        if (outClip.mFrames.size() == outClip.mTruth.size()) break;
        const cv::Mat grey = cv::imread(name, cv::IMREAD_GRAYSCALE);
        if (grey.empty()) return false;
        outClip.mCols = grey.cols;
        outClip.mRows = grey.rows;
        std::vector<float> frame;
        for (int y = 0; y < grey.rows; ++y)
            frame.insert(frame.end(), grey.ptr(y), grey.ptr(y) + grey.cols);
        outClip.mFrames.push_back(std::move(frame));
    }
    outClip.mTruth.resize(outClip.mFrames.size());
    return outClip.mFrames.size() > 1;
}
#endif

Clip sClip;  // filled before the benchmarks run

// ---- The two trackers ------------------------------------------------------------------

// A tracker starts at frame 0 with the true box and then steps from frame to frame.
class ClipTracker {
public:
    virtual ~ClipTracker() = default;
    virtual void Start() = 0;
    virtual void Step(std::size_t inFrame) = 0;
    virtual Box Result() const = 0;
};

class RegionTracker : public ClipTracker {
public:
    RegionTracker() : mTracker(TVK::MakeObject<DP::APTTracker>()) { mTracker->ApplyParams(); }

    void Start() override {
        mRegion = TVK::MakeObject<TVK::ParamRect<float>>(
            Testing::RectOf(sClip.mTruth.front(), sClip.mRows));
        mFeatures = {};
        Step(0);
    }
    void Step(std::size_t inFrame) override {
        const auto data = DP::RegionTrackerDescriptorData::Create();
        data->SetRegionAndFeatures(mRegion, mFeatures);
        const auto key = DP::CreateDescriptorDataKey(
            Testing::Wide("clip"), static_cast<long long>(inFrame), sClip.mRows, sClip.mCols);
        DP::RegionTrackerWrapper(sClip.mRows, sClip.mCols, mTracker)
            .UpdateRegion(inFrame ? sClip.mFrames[inFrame - 1].data() : nullptr,
                          sClip.mFrames[inFrame].data(), key, data, mFeatures, mRegion);
    }
    Box Result() const override { return Testing::BoxOf(*mRegion, sClip.mRows); }

private:
    DP::APTTrackerPtr mTracker;
    DP::RegionPtr mRegion;
    DP::APTFeatureListPtr mFeatures;
};

#ifdef DP_HAVE_OPENCV_TRACKING
class MedianFlow : public ClipTracker {
public:
    MedianFlow() {
        for (const auto& frame : sClip.mFrames) {
            cv::Mat bytes;
            cv::Mat(sClip.mRows, sClip.mCols, CV_32F, const_cast<float*>(frame.data()))
                .convertTo(bytes, CV_8U);
            mFrames.push_back(bytes);
        }
    }
    void Start() override {
        const Box& box = sClip.mTruth.front();
        mBox = {box.mX, box.mY, box.mWidth, box.mHeight};
        mTracker = cv::legacy::TrackerMedianFlow::create();
        mTracker->init(mFrames.front(), mBox);
    }
    void Step(std::size_t inFrame) override {
        if (!mTracker->update(mFrames[inFrame], mBox)) mBox = {};
    }
    Box Result() const override { return {mBox.x, mBox.y, mBox.width, mBox.height}; }

private:
    std::vector<cv::Mat> mFrames;
    cv::Ptr<cv::legacy::Tracker> mTracker;
    cv::Rect2d mBox;
};
#endif

// ---- Steps -----------------------------------------------------------------------------

double Median(std::vector<double> inValues) {
    const auto middle = inValues.begin() + static_cast<std::ptrdiff_t>(inValues.size() / 2);
    std::nth_element(inValues.begin(), middle, inValues.end());
    return *middle;
}

struct Quality {
    double mOverlap = 0.0;
    double mAboveHalf = 0.0;
};

Quality Judge(ClipTracker& ioTracker) {
    Quality quality;
    ioTracker.Start();
    for (std::size_t frame = 1; frame < sClip.mFrames.size(); ++frame) {
        ioTracker.Step(frame);
        const double overlap = Testing::Overlap(ioTracker.Result(), sClip.mTruth[frame]);
        quality.mOverlap += overlap / static_cast<double>(sClip.mFrames.size() - 1);
        quality.mAboveHalf += overlap > 0.5;
    }
    return quality;
}

double SecondsOfStep(ClipTracker& ioTracker, std::size_t inFrame) {
    const std::clock_t start = std::clock();
    ioTracker.Step(inFrame);
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// The two take turns on each frame, so that what slows the machine slows both.
void Steps(benchmark::State& ioState) {
    RegionTracker tracker;
    const Quality quality = Judge(tracker);
    ioState.counters["frames"] = static_cast<double>(sClip.mFrames.size() - 1);
    ioState.counters["overlap"] = quality.mOverlap;
    ioState.counters["above_half"] = quality.mAboveHalf;
#ifdef DP_HAVE_OPENCV_TRACKING
    MedianFlow peer;
    const Quality peerQuality = Judge(peer);
    ioState.counters["MedianFlow_overlap"] = peerQuality.mOverlap;
    ioState.counters["MedianFlow_above_half"] = peerQuality.mAboveHalf;
#endif
    std::vector<double> own, peers, ratios, run;
    double steadiest = std::numeric_limits<double>::infinity();
    std::size_t frame = sClip.mFrames.size();
    for (auto _ : ioState) {
        if (frame == sClip.mFrames.size()) {
            run.clear();
            frame = 1;
            tracker.Start();
#ifdef DP_HAVE_OPENCV_TRACKING
            peer.Start();
#endif
        }
        own.push_back(SecondsOfStep(tracker, frame));
        run.push_back(own.back());
#ifdef DP_HAVE_OPENCV_TRACKING
        peers.push_back(SecondsOfStep(peer, frame));
        ratios.push_back(own.back() / peers.back());
#endif
        ioState.SetIterationTime(own.back());
        if (++frame == sClip.mFrames.size())
            steadiest =
                std::min(steadiest, *std::max_element(run.begin(), run.end()) / Median(run));
    }
    ioState.counters["median_ms"] = 1e3 * Median(own);
    if (std::isfinite(steadiest)) ioState.counters["slowest/median"] = steadiest;
    if (peers.empty()) return;
    ioState.counters["MedianFlow_ms"] = 1e3 * Median(peers);
    ioState.counters["of_MedianFlow"] = Median(ratios);
}

// ---- The fit ---------------------------------------------------------------------------

// Points all over a rectangle, of which the inner ones move otherwise; noise keeps the mean
// residual above the limit that ends the passes early if `inNoise` is above it.
void Fit(benchmark::State& ioState, double inNoise) {
    const auto count = static_cast<std::size_t>(ioState.range(0));
    const TVK::ParamRect<float> rect{400, 200, 800, 430};
    const int rows = 720;
    const auto previous = TVK::MakeObject<DP::APTFeatureList>(count);
    const auto current = TVK::MakeObject<DP::APTFeatureList>(count);
    Testing::Random random(3);
    for (std::size_t i = 0; i < count; ++i) {
        DP::APTFeature& from = (*previous)[i];
        from.mX = static_cast<float>(400 + 400 * random.Real());
        from.mY = static_cast<float>(290 + 230 * random.Real());
        from.mStatus = 0;
        const bool isInner = std::abs(from.mX - 600) < 150 && std::abs(from.mY - 405) < 85;
        const auto noise = [&] {
            return inNoise * (2 * random.Real() - 1);
        };
        (*current)[i] = from;
        (*current)[i].mX += static_cast<float>((isInner ? 4.0 : -1.0) + noise());
        (*current)[i].mY += static_cast<float>((isInner ? 1.5 : 0.2) + noise());
    }
    TVK::ParamRect<float> result;
    for (auto _ : ioState) {
        DP::MotionGroups groups;
        int selected = 0;
        DP::FitRegionMotion(current, previous, rows, &rect, &result, groups, &selected);
        benchmark::DoNotOptimize(result);
    }
    if (inNoise < 0.5 && std::abs(result.mLeft - 404.0f) > 0.5f)
        ioState.SkipWithError("the fit followed the wrong motion");
    ioState.counters["fits/s"] =
        benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate);
}

}  // namespace

int main(int argc, char** argv) {
    std::string folder;
    std::vector<char*> rest;
    for (int i = 0; i < argc; ++i)
        if (const std::string argument = argv[i]; argument.starts_with("--clip="))
            folder = argument.substr(7);
        else
            rest.push_back(argv[i]);

    if (folder.empty()) {
        sClip = RenderedClip();
    } else {
#ifdef DP_HAVE_OPENCV_TRACKING
        if (!ReadFolder(folder, sClip)) {
            std::fprintf(stderr, "no clip with boxes.txt in %s\n", folder.c_str());
            return 1;
        }
#else
        std::fprintf(stderr, "built without OpenCV, which reads the frames\n");
        return 1;
#endif
    }
#ifdef DP_HAVE_OPENCV_TRACKING
    cv::setNumThreads(1);
#endif
    benchmark::RegisterBenchmark("RegionStep", Steps)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("FitRegionMotion/TwoMotions", Fit, 0.2)
        ->Arg(100)
        ->Arg(500)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("FitRegionMotion/AllPasses", Fit, 6.0)
        ->Arg(500)
        ->Unit(benchmark::kMicrosecond);

    int count = static_cast<int>(rest.size());
    benchmark::Initialize(&count, rest.data());
    if (benchmark::ReportUnrecognizedArguments(count, rest.data())) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
