// Corner selection and one tracking step, 500 points, beside OpenCV on one thread.
//
// Selection sees a quality level of 0.01 at the peer, which leaves it few corners to sort.
//
// What the memory must move. Selection reads the image once, 8.3 MB at 1920x1080 (4 bytes a
// pixel), and clears and touches the mask, 2 x 2.1 MB; all rows in between (some 400 KB)
// stay in the second-level cache. At 10 GB/s that is 1.2 ms: the rest is arithmetic, some
// 36 operations a pixel for the smoothing and 40 for the rest. A step touches some 2 KB of
// each image for a point that ends at full resolution, 2 MB in all for 500 points.

#include "APT/APTTracker.h"

#include "Benchmarks/Support/Points.h"
#include "Benchmarks/Support/Turns.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#endif

namespace {

using Bench::Clip;
using Bench::Point;
using benchmark::State;

TVK::ParamRect<float> FullFrame(const Clip& inClip) {
    return {0.0f, 0.0f, float(inClip.GetColumns()), float(inClip.GetRows())};
}

class Selection {
public:
    explicit Selection(const Clip& inClip) : mClip(inClip) { mCorners.ApplyParams({}); }
    void Select(const TVK::ParamRect<float>& inRect) {
        mCorners.SetImage(mClip.FloatGrey(0)->GetData(), mClip.GetColumns(), mClip.GetRows());
        mCorners.FindCorners(nullptr, nullptr, inRect, 500, true);
    }
    std::vector<Point> Selected() const {
        std::vector<Point> points;
        for (const auto& corner : mCorners.GetSelected())
            points.push_back({corner.mX, corner.mY, true});
        return points;
    }

private:
    const Clip& mClip;
    DP::APTCornerSelection mCorners;
};

std::vector<Point> PointsOf(const DP::APTFeatureList& inList) {
    std::vector<Point> points;
    for (const auto& feature : inList)
        points.push_back({feature.mX, feature.mY, feature.mStatus >= 0});
    return points;
}

class Engine {
public:
    explicit Engine(const Clip& inClip)
        : mClip(inClip),
          mSelected(TVK::MakeObject<DP::APTFeatureList>()),
          mTracked(TVK::MakeObject<DP::APTFeatureList>()) {
        mTracker.ApplyParams();
        mTracker.SelectFeatures(inClip.FloatGrey(0)->GetData(), inClip.GetColumns(),
                                inClip.GetRows(), 0, {FullFrame(inClip)}, {mSelected});
    }
    void Track() {
        mTracker.TrackFeatures(mClip.FloatGrey(0)->GetData(), mClip.FloatGrey(1)->GetData(),
                               mClip.GetColumns(), mClip.GetRows(), 1, {mSelected}, {mTracked});
    }
    std::vector<Point> Selected() const { return PointsOf(*mSelected); }
    std::vector<Point> Tracked() const { return PointsOf(*mTracked); }

private:
    const Clip& mClip;
    DP::APTTracker mTracker;
    DP::APTFeatureListPtr mSelected, mTracked;
};

// A rectangle of a tenth of the frame, in its middle, as the region tracker fills it.
void SelectInRectangle(State& ioState, const Clip& inClip) {
    Selection ours(inClip);
    const float width = float(inClip.GetColumns()), height = float(inClip.GetRows());
    Bench::RunAlone(ioState, [&] {
        ours.Select({0.34f * width, 0.34f * height, 0.66f * width, 0.66f * height});
    });
    ioState.counters["points"] = Bench::CountLive(ours.Selected());
}

#ifdef DP_HAVE_OPENCV

void SelectCorners(State& ioState, const Clip& inClip) {
    Selection ours(inClip);
    const cv::Mat image(inClip.GetRows(), inClip.GetColumns(), CV_32F,
                        inClip.FloatGrey(0)->GetData());
    cv::Mat smooth;
    std::vector<cv::Point2f> corners;
    Bench::RunRounds(
        ioState, [&] { ours.Select(FullFrame(inClip)); },
        [&] {
            cv::GaussianBlur(image, smooth, {9, 9}, 1.1, 1.1, cv::BORDER_REPLICATE);
            cv::goodFeaturesToTrack(smooth, corners, 500, 0.01, 10, {}, 11);
        });
    std::vector<Point> peers;
    for (const auto& corner : corners)
        peers.push_back({corner.x, corner.y, true});
    ioState.counters["points"] = Bench::CountLive(ours.Selected());
    ioState.counters["common"] = Bench::PartNear(peers, ours.Selected(), 3.0);
    if (Bench::PartNear(peers, ours.Selected(), 3.0) < 0.3)
        ioState.SkipWithError("the points lie elsewhere than the peer's");
}

void TrackStep(State& ioState, const Clip& inClip) {
    if (inClip.GetLength() < 2) return ioState.SkipWithError("one frame only");
    Engine ours(inClip);
    cv::Mat frames[2];
    for (int i = 0; i < 2; ++i)
        frames[i] =
            cv::Mat(inClip.GetRows(), inClip.GetColumns(), CV_8U, inClip.Grey(i)->GetData());
    const std::vector<Point> selected = ours.Selected();
    std::vector<cv::Point2f> points, found;
    for (const Point& point : selected)
        points.emplace_back(point.mX, point.mY);
    std::vector<unsigned char> status;
    std::vector<float> error;
    Bench::RunRounds(
        ioState, [&] { ours.Track(); },
        [&] {
            cv::calcOpticalFlowPyrLK(
                frames[0], frames[1], points, found, status, error, {11, 11}, 2,
                {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 15, 0.1});
        });
    std::vector<Point> peers;
    for (std::size_t i = 0; i < found.size(); ++i)
        peers.push_back({found[i].x, found[i].y, selected[i].mIsLive && status[i] != 0});
    ioState.counters["kept"] = Bench::CountLive(ours.Tracked());
    ioState.counters["peer_kept"] = Bench::CountLive(peers);
    if (!Bench::Agree(ours.Tracked(), peers))
        ioState.SkipWithError("the points lie elsewhere than the peer's");
}

#else

void SelectCorners(State& ioState, const Clip& inClip) {
    Selection ours(inClip);
    Bench::RunAlone(ioState, [&] { ours.Select(FullFrame(inClip)); });
}

void TrackStep(State& ioState, const Clip& inClip) {
    Engine ours(inClip);
    Bench::RunAlone(ioState, [&] { ours.Track(); });
}

#endif

}  // namespace

int main(int inCount, char** inArguments) {
    return Bench::RunOverClips(inCount, inArguments,
                               {{"SelectCorners", SelectCorners},
                                {"SelectInRectangle", SelectInRectangle},
                                {"TrackStep", TrackStep}});
}
