// Selection and the tracking step for 500 features, each beside OpenCV on one thread.
//
// Selection: from 8-bit grey to the list, against conversion, blur and
// `goodFeaturesToTrack` with the smaller eigenvalue over the same window. The step: both
// pyramids in the cache, against `calcOpticalFlowPyrLK` on pyramids that are built already.

#include "Benchmarks/Support/Points.h"
#include "Benchmarks/Support/Turns.h"
#include "DP/DescriptorFactory.h"
#include "KLT/KLTTracker.h"
#include "Support/WideStrings.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#endif

namespace {

using Bench::Clip;
using Bench::Point;

constexpr int kFeatures = 500;

class Engine {
public:
    explicit Engine(const Clip& inClip)
        : mClip(inClip),
          mTracker(kFeatures),
          mSelected{TVK::MakeObject<DP::KLTFeatureList>()},
          mTracked{TVK::MakeObject<DP::KLTFeatureList>()} {
        mTracker.SetSourceID(Testing::Wide(inClip.GetName().c_str()));
        mTracker.SetFrameStep(1);
    }
    ~Engine() { DP::FlushAllDescriptorResources(); }

    void Select() {
        mTracker.SelectGoodFeatures(
            mClip.Grey(0)->GetData(), mClip.GetColumns(), mClip.GetRows(), 0,
            {{0.0f, 0.0f, float(mClip.GetColumns()), float(mClip.GetRows())}}, mSelected);
    }
    void Track() {
        mTracked[0] = TVK::MakeObject<DP::KLTFeatureList>();
        mTracker.TrackFeatures(mClip.Grey(0)->GetData(), mClip.Grey(1)->GetData(),
                               mClip.GetColumns(), mClip.GetRows(), 1, mSelected, mTracked);
    }
    std::vector<Point> Selected() const { return PointsOf(*mSelected[0]); }
    std::vector<Point> Tracked() const { return PointsOf(*mTracked[0]); }

private:
    static std::vector<Point> PointsOf(const DP::KLTFeatureList& inList) {
        std::vector<Point> points;
        for (const auto& feature : inList)
            points.push_back({feature.mX, feature.mY, feature.mValue >= 0});
        return points;
    }

    const Clip& mClip;
    DP::KLTTracker mTracker;
    DP::KLTTracker::Lists mSelected, mTracked;
};

#ifdef DP_HAVE_OPENCV

class Peer {
public:
    explicit Peer(const Clip& inClip) {
        for (int i = 0; i < 2; ++i) {
            mFrames[i] = cv::Mat(inClip.GetRows(), inClip.GetColumns(), CV_8U,
                                 inClip.Grey(i)->GetData());
            cv::buildOpticalFlowPyramid(mFrames[i], mPyramids[i], cv::Size(7, 7), 1);
        }
    }
    void Select() {
        mFrames[0].convertTo(mFloats, CV_32F);
        cv::GaussianBlur(mFloats, mBlurred, cv::Size(5, 5), 0.7);
        cv::goodFeaturesToTrack(mBlurred, mPoints, kFeatures, 1e-4, 10, cv::noArray(), 7);
    }
    void Take(const std::vector<Point>& inPoints) {
        mPoints.clear();
        for (const Point& point : inPoints)
            mPoints.emplace_back(point.mX, point.mY);
    }
    void Track() {
        cv::calcOpticalFlowPyrLK(
            mPyramids[0], mPyramids[1], mPoints, mTracked, mStatus, mErrors, cv::Size(7, 7), 1,
            cv::TermCriteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 10, 0.1));
    }
    std::vector<Point> Selected() const {
        std::vector<Point> points;
        for (const auto& point : mPoints)
            points.push_back({point.x, point.y, true});
        return points;
    }
    std::vector<Point> Tracked() const {
        std::vector<Point> points;
        for (std::size_t i = 0; i < mTracked.size(); ++i)
            points.push_back({mTracked[i].x, mTracked[i].y, mStatus[i] != 0});
        return points;
    }

private:
    cv::Mat mFrames[2], mFloats, mBlurred;
    std::vector<cv::Mat> mPyramids[2];
    std::vector<cv::Point2f> mPoints, mTracked;
    std::vector<unsigned char> mStatus;
    std::vector<float> mErrors;
};

// Taps and borders differ a little: most points are the same, to a pixel.
void Selection(benchmark::State& ioState, const Clip& inClip) {
    Engine ours(inClip);
    Peer peer(inClip);
    Bench::RunRounds(
        ioState, [&] { ours.Select(); }, [&] { peer.Select(); });
    ioState.counters["features"] = Bench::CountLive(ours.Selected());
    ioState.counters["common"] = Bench::PartNear(ours.Selected(), peer.Selected(), 1.5);
    if (Bench::PartNear(ours.Selected(), peer.Selected(), 1.5) < 0.4)
        ioState.SkipWithError("the points lie elsewhere than the peer's");
}

void TrackingStep(benchmark::State& ioState, const Clip& inClip) {
    if (inClip.GetLength() < 2) return ioState.SkipWithError("one frame only");
    Engine ours(inClip);
    Peer peer(inClip);
    ours.Select();
    peer.Take(ours.Selected());
    Bench::RunRounds(
        ioState, [&] { ours.Track(); }, [&] { peer.Track(); });
    ioState.counters["tracked"] = Bench::CountLive(ours.Tracked());
    if (!Bench::Agree(ours.Tracked(), peer.Tracked()))
        ioState.SkipWithError("the points lie elsewhere than the peer's");
}

#else

void Selection(benchmark::State& ioState, const Clip& inClip) {
    Engine ours(inClip);
    Bench::RunAlone(ioState, [&] { ours.Select(); });
}

void TrackingStep(benchmark::State& ioState, const Clip& inClip) {
    Engine ours(inClip);
    ours.Select();
    Bench::RunAlone(ioState, [&] { ours.Track(); });
}

#endif

}  // namespace

int main(int inCount, char** inArguments) {
    return Bench::RunOverClips(inCount, inArguments,
                               {{"Selection", Selection}, {"TrackingStep", TrackingStep}});
}
