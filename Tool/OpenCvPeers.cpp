// The module with OpenCV in it; see Peers.h.

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#ifdef DP_HAVE_OPENCV_TRACKING
#include <opencv2/tracking.hpp>
#include <opencv2/tracking/tracking_legacy.hpp>
#endif

#include <deque>

#include "Peers.h"

namespace Host {
namespace {

// OpenCV only reads an input; it has no type for that.
cv::Mat Plane(const GreyPlane& inGrey) {
    return {inGrey.mHeight, inGrey.mWidth, CV_8U, const_cast<std::uint8_t*>(inGrey.mPixels)};
}
cv::Mat Plane(const Mask& inMask) {
    return Plane(GreyPlane{inMask.mBytes.data(), inMask.mWidth, inMask.mHeight});
}
cv::Mat Colours(const Frame& inFrame) {
    return {inFrame.mHeight, inFrame.mWidth, CV_8UC4,
            const_cast<std::uint8_t*>(inFrame.mPixels.data())};
}

class OpenCvPeers final : public Peers {
public:
    OpenCvPeers() { cv::setNumThreads(1); }

    void Grey(const Frame& inFrame, Result inResult) override {
        cv::cvtColor(Colours(inFrame), Target(inResult, mGrey), cv::COLOR_BGRA2GRAY);
    }
    void FloatGrey(const Frame& inFrame, Result inResult) override {
        cv::cvtColor(Colours(inFrame), mGrey, cv::COLOR_BGRA2GRAY);
        mGrey.convertTo(Target(inResult, mFloats), CV_32F);
    }
    void Select(const GreyPlane& inGrey, int inFeatures, int inDistance,
                int inWindow) override {
        cv::goodFeaturesToTrack(Plane(inGrey), mFound, inFeatures, 0.01, inDistance,
                                cv::noArray(), inWindow);
    }
    void Flow(const GreyPlane& inFrom, const GreyPlane& inTo,
              const std::vector<Point>& inPoints, int inWindow, int inLevels) override {
        if (inPoints.empty()) return;
        mPoints.clear();
        for (const Point& point : inPoints)
            mPoints.emplace_back(float(point.mX), float(point.mY));
        cv::calcOpticalFlowPyrLK(Plane(inFrom), Plane(inTo), mPoints, mFound, mStatus, mErrors,
                                 {inWindow, inWindow}, inLevels,
                                 {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 15, 0.1});
    }

#ifdef DP_HAVE_OPENCV_TRACKING
    bool StartRegion(const GreyPlane& inGrey, const Box& inBox) override {
        mTracker = cv::legacy::TrackerMedianFlow::create();
        return mTracker->init(Plane(inGrey), {inBox.mX, inBox.mY, inBox.mWidth, inBox.mHeight});
    }
    void StepRegion(const GreyPlane& inGrey) override {
        cv::Rect2d box;
        mTracker->update(Plane(inGrey), box);
    }
#else
    bool StartRegion(const GreyPlane&, const Box&) override { return false; }
    void StepRegion(const GreyPlane&) override {}
#endif

    void Watershed(const Frame& inFrame, const Mask& inForeground,
                   const Mask& inBackground) override {
        cv::cvtColor(Colours(inFrame), mPicture, cv::COLOR_BGRA2BGR);
        mMarkers.create(inFrame.mHeight, inFrame.mWidth, CV_32S);
        mMarkers.setTo(0);
        mMarkers.setTo(1, Plane(inBackground));
        mMarkers.setTo(2, Plane(inForeground));
        cv::watershed(mPicture, mMarkers);
    }
    void GrabCut(const Frame& inFrame, const Mask& inForeground,
                 const Mask& inBackground) override {
        cv::cvtColor(Colours(inFrame), mPicture, cv::COLOR_BGRA2BGR);
        mMask.create(inFrame.mHeight, inFrame.mWidth, CV_8U);
        mMask.setTo(cv::GC_PR_BGD);
        mMask.setTo(cv::GC_BGD, Plane(inBackground));
        mMask.setTo(cv::GC_FGD, Plane(inForeground));
        cv::Mat background, foreground;
        cv::grabCut(mPicture, mMask, {}, background, foreground, 1, cv::GC_INIT_WITH_MASK);
    }

private:
    cv::Mat& Target(Result inResult, cv::Mat& ioReplaced) {
        return inResult == Result::kKept ? mKept.emplace_back() : ioReplaced;
    }

    cv::Mat mGrey, mFloats, mPicture, mMarkers, mMask;
    std::deque<cv::Mat> mKept;
    std::vector<cv::Point2f> mPoints, mFound;
    std::vector<unsigned char> mStatus;
    std::vector<float> mErrors;
#ifdef DP_HAVE_OPENCV_TRACKING
    cv::Ptr<cv::legacy::Tracker> mTracker;
#endif
};

}  // namespace
}  // namespace Host

extern "C" __attribute__((visibility("default"))) Host::Peers* MakeHostPeers() {
    return new Host::OpenCvPeers;
}
