// Selection and the tracking step for 500 features, each beside OpenCV on one thread.
//
// Selection: from 8-bit grey to the list, against conversion, blur and
// `goodFeaturesToTrack` with the smaller eigenvalue over the same window. The step: both
// pyramids in the cache, against `calcOpticalFlowPyrLK` on pyramids that are built already.

#include <benchmark/benchmark.h>

#include "Benchmarks/Support/GreyFrames.h"
#include "Benchmarks/Support/Rounds.h"
#include "DP/DescriptorFactory.h"
#include "KLT/KLTTracker.h"
#include "Support/WideStrings.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/video/tracking.hpp>
#endif

namespace {

constexpr int kFeatures = 500;

struct Clip {
    explicit Clip(const benchmark::State& inState)
        : mCols(int(inState.range(0))),
          mRows(int(inState.range(1))),
          mFrames(Bench::GreyFrames(mCols, mRows)),
          mTracker(kFeatures),
          mLists{TVK::MakeObject<DP::KLTFeatureList>()} {
        Bench::KeepFreedBlocks();
        mTracker.SetSourceID(Testing::Wide("clip"));
        mTracker.SetFrameStep(1);
    }
    ~Clip() { DP::FlushAllDescriptorResources(); }

    void Select() {
        mTracker.SelectGoodFeatures(mFrames[0].data(), mCols, mRows, 0,
                                    {{0.0f, 0.0f, float(mCols), float(mRows)}}, mLists);
    }
    DP::KLTFeatureList Track() {
        DP::KLTTracker::Lists out{TVK::MakeObject<DP::KLTFeatureList>()};
        mTracker.TrackFeatures(mFrames[0].data(), mFrames[1].data(), mCols, mRows, 1, mLists,
                               out);
        return *out[0];
    }

    int mCols;
    int mRows;
    std::vector<Bench::GreyFrame> mFrames;
    DP::KLTTracker mTracker;
    DP::KLTTracker::Lists mLists;
};

double CountLive(const DP::KLTFeatureList& inList) {
    return double(std::count_if(inList.begin(), inList.end(),
                                [](const auto& inFeature) { return inFeature.mValue >= 0; }));
}

#ifdef DP_HAVE_OPENCV
struct Peer {
    explicit Peer(Clip& ioClip) {
        cv::setNumThreads(1);
        for (auto& frame : ioClip.mFrames)
            mFrames.emplace_back(ioClip.mRows, ioClip.mCols, CV_8U, frame.data());
    }
    void Select() {
        mFrames[0].convertTo(mFloats, CV_32F);
        cv::GaussianBlur(mFloats, mBlurred, cv::Size(5, 5), 0.7);
        cv::goodFeaturesToTrack(mBlurred, mPoints, kFeatures, 1e-4, 10, cv::noArray(), 7);
    }
    void BuildPyramids() {
        for (int i = 0; i < 2; ++i)
            cv::buildOpticalFlowPyramid(mFrames[std::size_t(i)], mPyramids[i], cv::Size(7, 7),
                                        1);
    }
    void Track() {
        cv::calcOpticalFlowPyrLK(
            mPyramids[0], mPyramids[1], mPoints, mTracked, mStatus, mErrors, cv::Size(7, 7), 1,
            cv::TermCriteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 10, 0.1));
    }
    std::vector<cv::Mat> mFrames, mPyramids[2];
    cv::Mat mFloats, mBlurred;
    std::vector<cv::Point2f> mPoints, mTracked;
    std::vector<unsigned char> mStatus;
    std::vector<float> mErrors;
};
#else
struct Peer {
    explicit Peer(Clip&) {}
    void Select() {}
    void BuildPyramids() {}
    void Track() {}
    std::vector<int> mPoints;
};
#endif

void Selection(benchmark::State& ioState) {
    Clip clip(ioState);
    Peer peer(clip);
    Bench::RunRounds(
        ioState, [&] { clip.Select(); }, [&] { peer.Select(); });
    ioState.counters["features"] = CountLive(*clip.mLists[0]);
    ioState.counters["peer_features"] = double(peer.mPoints.size());
}

void TrackingStep(benchmark::State& ioState) {
    Clip clip(ioState);
    Peer peer(clip);
    clip.Select();
#ifdef DP_HAVE_OPENCV  // the same points for both
    for (const auto& feature : *clip.mLists[0])
        if (feature.mValue >= 0) peer.mPoints.emplace_back(feature.mX, feature.mY);
#endif
    peer.BuildPyramids();
    Bench::RunRounds(
        ioState, [&] { clip.Track(); }, [&] { peer.Track(); });
    ioState.counters["features"] = CountLive(*clip.mLists[0]);
    ioState.counters["tracked"] = CountLive(clip.Track());
}

#define DP_AT_FRAME_SIZES \
    Args({640, 480})->Args({1920, 1080})->UseManualTime()->Unit(benchmark::kMillisecond)

BENCHMARK(Selection)->DP_AT_FRAME_SIZES;
BENCHMARK(TrackingStep)->DP_AT_FRAME_SIZES;

}  // namespace

int main(int inArgc, char** inArgv) { return Bench::RunWithFrames(inArgc, inArgv); }
