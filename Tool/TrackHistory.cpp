#include "TrackHistory.h"

#include <algorithm>
#include <cmath>

#include "RenderedClip.h"

namespace Host {
namespace {

constexpr std::size_t kTrailLength = 24;

double Distance(const Point& inFirst, const Point& inSecond) {
    const double x = inFirst.mX - inSecond.mX;
    const double y = inFirst.mY - inSecond.mY;
    return std::sqrt(x * x + y * y);
}

// Near the edges a tracker has no pixels to compare; a point there is not in view.
bool IsInView(const Point& inPoint, const RenderedClip::Shape& inShape) {
    constexpr double kMargin = 24.0;
    return inPoint.mX >= kMargin && inPoint.mY >= kMargin &&
           inPoint.mX < inShape.mWidth - kMargin && inPoint.mY < inShape.mHeight - kMargin;
}

}  // namespace

double Quantile(std::vector<double>& ioValues, double inShare) {
    if (ioValues.empty()) return 0.0;
    const auto at = ioValues.begin() + std::ptrdiff_t(inShare * double(ioValues.size() - 1));
    std::nth_element(ioValues.begin(), at, ioValues.end());
    return *at;
}

void TrackHistory::Add(const descriptor::FramePoints& inPoints, long long inFrame) {
    for (const descriptor::Point& point : inPoints.lost)
        End(point, inFrame);
    for (const descriptor::Point& point : inPoints)
        Carry(point, inFrame);
    mLiveNow = int(inPoints.size());
    if (inPoints.is_cut) mCuts.push_back(inFrame);
    Close(inFrame);
}

void TrackHistory::End(const descriptor::Point& inPoint, long long inFrame) {
    Trail& trail = mTrails[std::size_t(inPoint.slot)];
    Compare(trail, nullptr, inFrame);
    trail = {};
}

void TrackHistory::Carry(const descriptor::Point& inPoint, long long inFrame) {
    mTrails.resize(std::max(mTrails.size(), std::size_t(inPoint.slot) + 1));
    Trail& trail = mTrails[std::size_t(inPoint.slot)];
    const Point place{inPoint.x, inPoint.y};
    if (trail.mPlaces.empty())
        trail = {{}, inPoint.age, place, inFrame};
    else
        Compare(trail, &place, inFrame);
    trail.mAge = inPoint.age;
    trail.mPlaces.push_back(place);
    if (trail.mPlaces.size() > kTrailLength) trail.mPlaces.erase(trail.mPlaces.begin());
}

void TrackHistory::Close(long long inFrame) {
    mLiveSum += mLiveNow;
    mPrevFrame = inFrame;
    ++mFrames;
}

std::vector<double> TrackHistory::Ages() const {
    std::vector<double> ages;
    for (const Trail& trail : mTrails)
        if (!trail.mPlaces.empty()) ages.push_back(double(trail.mAge));
    return ages;
}

// `inTrail` is what the slot held up to the frame before; its point may be lost.
void TrackHistory::Compare(const Trail& inTrail, const Point* inPlace, long long inFrame) {
    if (!mTruth) return;
    const auto move = [&](const Point& inFrom, long long inFromFrame) {
        return mTruth->Move(inFrom, int(inFromFrame), int(inFrame));
    };
    const std::optional<Point> step = move(inTrail.mPlaces.back(), mPrevFrame);
    if (!step || !IsInView(*step, mTruth->GetShape())) return;
    ++mInView;
    if (!inPlace) return;
    ++mKept;
    mStepErrors.push_back(Distance(*inPlace, *step));
    if (const std::optional<Point> start = move(inTrail.mStart, inTrail.mStartFrame))
        mStartErrors.push_back(Distance(*inPlace, *start));
}

TrackHistory::Summary TrackHistory::Summarise() const {
    Summary summary;
    if (mFrames > 0) summary.mMeanLive = double(mLiveSum) / double(mFrames);
    std::vector<double> ages = Ages();
    summary.mMedianAge = Quantile(ages, 0.5);
    std::vector<double> steps = mStepErrors;
    std::vector<double> starts = mStartErrors;
    summary.mStepMedian = Quantile(steps, 0.5);
    summary.mStepNinety = Quantile(steps, 0.9);
    summary.mStartMedian = Quantile(starts, 0.5);
    summary.mStartNinety = Quantile(starts, 0.9);
    if (mInView > 0) summary.mKept = double(mKept) / double(mInView);
    return summary;
}

}  // namespace Host
