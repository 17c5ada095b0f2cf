#include "Peers.h"

#include <algorithm>

#ifdef DP_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#endif
#ifdef DP_HAVE_OPENCV_TRACKING
#include <opencv2/tracking.hpp>
#include <opencv2/tracking/tracking_legacy.hpp>
#endif

namespace Bench {

#ifdef DP_HAVE_OPENCV

namespace {

cv::Mat GreyOf(const Clip& inClip, int inFrame) {
    return {inClip.GetRows(), inClip.GetColumns(), CV_8U, inClip.Grey(inFrame)->GetData()};
}

cv::Mat ColourOf(const Clip& inClip, int inFrame) {
    return {inClip.GetRows(), inClip.GetColumns(), CV_8UC4,
            const_cast<unsigned char*>(inClip.Colour(inFrame).data())};
}

class PyramidFlow : public PointPeer {
public:
    PyramidFlow(int inWindow, int inLevels) : mWindow(inWindow, inWindow), mLevels(inLevels) {}

    void Take(const std::vector<Point>& inPoints) override {
        mPoints.clear();
        mSlots.clear();
        mAll = inPoints;
        for (std::size_t i = 0; i < inPoints.size(); ++i)
            if (inPoints[i].mIsLive) {
                mPoints.emplace_back(inPoints[i].mX, inPoints[i].mY);
                mSlots.push_back(i);
            }
    }
    void Select(const Clip& inClip, int inFrame) override {
        FindPoints(inClip, inFrame, kPoints, cv::noArray());
        BuildPyramid(inClip, inFrame, mPyramid);
    }
    void Step(const Clip& inClip, int inFrame, bool inRefills) override {
        BuildPyramid(inClip, inFrame, mNext);
        mStatus.clear();
        if (!mPoints.empty())
            cv::calcOpticalFlowPyrLK(
                mPyramid, mNext, mPoints, mFound, mStatus, mErrors, mWindow, mLevels - 1,
                cv::TermCriteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 10, 0.1));
        std::swap(mPyramid, mNext);
        if (inRefills) Refill(inClip, inFrame);
    }
    std::vector<Point> GetPoints() const override {
        std::vector<Point> points = mAll;
        for (Point& point : points)
            point.mIsLive = false;
        for (std::size_t i = 0; i < mStatus.size(); ++i)
            if (mStatus[i]) points[mSlots[i]] = {mFound[i].x, mFound[i].y, true};
        return points;
    }

private:
    void BuildPyramid(const Clip& inClip, int inFrame, std::vector<cv::Mat>& outPyramid) {
        cv::buildOpticalFlowPyramid(GreyOf(inClip, inFrame), outPyramid, mWindow, mLevels - 1);
    }
    void FindPoints(const Clip& inClip, int inFrame, unsigned int inCount,
                    const cv::_InputArray& inMask) {
        GreyOf(inClip, inFrame).convertTo(mFloats, CV_32F);
        cv::GaussianBlur(mFloats, mSmooth, cv::Size(5, 5), 0.7);
        cv::goodFeaturesToTrack(mSmooth, mFresh, int(inCount), 1e-4, 10, inMask, mWindow.width);
    }
    void Refill(const Clip& inClip, int inFrame) {
        mMask.create(inClip.GetRows(), inClip.GetColumns(), CV_8U);
        mMask.setTo(255);
        unsigned int kept = 0;
        for (std::size_t i = 0; i < mStatus.size(); ++i)
            if (mStatus[i]) {
                cv::circle(mMask, mFound[i], 10, 0, cv::FILLED);
                ++kept;
            }
        FindPoints(inClip, inFrame, std::max(kPoints - kept, 1u), mMask);
    }

    cv::Size mWindow;
    int mLevels;
    std::vector<cv::Mat> mPyramid, mNext;
    cv::Mat mFloats, mSmooth, mMask;
    std::vector<cv::Point2f> mPoints, mFound, mFresh;
    std::vector<unsigned char> mStatus;
    std::vector<float> mErrors;
    std::vector<Point> mAll;
    std::vector<std::size_t> mSlots;  // where in `mAll` the points come from
};

class MatrixGrey : public GreyPeer {
public:
    void Reused(const Clip& inClip, int inFrame, bool inFloats) override {
        cv::cvtColor(ColourOf(inClip, inFrame), mGrey, cv::COLOR_BGRA2GRAY);
        if (inFloats) mGrey.convertTo(mFloats, CV_32F);
    }
    void Kept(const Clip& inClip, int inFrame, bool inFloats, std::size_t inMost) override {
        if (mKept.size() > inMost) mKept.clear();
        cv::Mat result;
        if (inFloats) {
            cv::cvtColor(ColourOf(inClip, inFrame), mGrey, cv::COLOR_BGRA2GRAY);
            mGrey.convertTo(result, CV_32F);
        } else {
            cv::cvtColor(ColourOf(inClip, inFrame), result, cv::COLOR_BGRA2GRAY);
        }
        mKept.push_back(result);
    }
    bool Equals(const unsigned char* inPixels) const override {
        return std::equal(mGrey.datastart, mGrey.dataend, inPixels);
    }

private:
    cv::Mat mGrey, mFloats;
    std::vector<cv::Mat> mKept;
};

}  // namespace

std::unique_ptr<PointPeer> MakePointPeer(int inWindow, int inLevels) {
    return std::make_unique<PyramidFlow>(inWindow, inLevels);
}

std::unique_ptr<GreyPeer> MakeGreyPeer() { return std::make_unique<MatrixGrey>(); }

bool RunWatershed(const Clip& inClip, int inSpacing) {
    cv::Mat colours;
    cv::cvtColor(ColourOf(inClip, 0), colours, cv::COLOR_BGRA2BGR);
    cv::Mat markers(inClip.GetRows(), inClip.GetColumns(), CV_32S, cv::Scalar(0));
    int marker = 0;
    for (int y = inSpacing / 2; y < inClip.GetRows(); y += inSpacing)
        for (int x = inSpacing / 2; x < inClip.GetColumns(); x += inSpacing)
            markers.at<int>(y, x) = ++marker;
    cv::watershed(colours, markers);
    return true;
}

#else

std::unique_ptr<PointPeer> MakePointPeer(int, int) { return {}; }
std::unique_ptr<GreyPeer> MakeGreyPeer() { return {}; }
bool RunWatershed(const Clip&, int) { return false; }

#endif

#ifdef DP_HAVE_OPENCV_TRACKING

namespace {

class MedianFlow : public RegionPeer {
public:
    void Start(const Clip& inClip) override {
        const Box& box = inClip.GetBox(0);
        mBox = {box.mX, box.mY, box.mWidth, box.mHeight};
        mTracker = cv::legacy::TrackerMedianFlow::create();
        mTracker->init(GreyOf(inClip, 0), mBox);
    }
    void Step(const Clip& inClip, int inFrame) override {
        if (!mTracker->update(GreyOf(inClip, inFrame), mBox)) mBox = {};
    }
    Box GetBox() const override { return {mBox.x, mBox.y, mBox.width, mBox.height}; }

private:
    cv::Ptr<cv::legacy::Tracker> mTracker;
    cv::Rect2d mBox;
};

}  // namespace

std::unique_ptr<RegionPeer> MakeRegionPeer() { return std::make_unique<MedianFlow>(); }

#else

std::unique_ptr<RegionPeer> MakeRegionPeer() { return {}; }

#endif

}  // namespace Bench
