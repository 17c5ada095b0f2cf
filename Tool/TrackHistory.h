// TrackHistory: where each slot's point has been, and how the run went.

#pragma once

#include <vector>

#include "Geometry.h"
#include "descriptor/Points.h"

namespace Host {

class RenderedClip;

/// The `inShare` quantile (0.5 the median) of some values; 0 where there are none. The
/// values change places.
double Quantile(std::vector<double>& ioValues, double inShare);

/// Follows the lists of one tracker over the frames of a run.
///
/// Where the clip's true motion is known it also says how far the points are off: over one
/// step, and since they were selected. Only live points count, and only those that can
/// still be seen; a share is kept of those that could be.
///
/// Ownership: plain object; the clip must outlive it.
/// Threads: one thread at a time.
class TrackHistory {
public:
    /// The last places of a slot's point, the newest last; empty for a free slot.
    struct Trail {
        std::vector<Point> mPlaces;
        unsigned mAge = 0;
        Point mStart;
        long long mStartFrame = 0;
    };

    explicit TrackHistory(const RenderedClip* inTruth) : mTruth(inTruth) {}

    void Add(const descriptor::FramePoints& inPoints, long long inFrame);

    /// A frame that repeats the one before: every point stays, and none is older.
    void Hold(long long inFrame) { Close(inFrame); }

    const std::vector<Trail>& Trails() const { return mTrails; }
    int LiveNow() const { return mLiveNow; }

    struct Summary {
        double mMeanLive = 0.0;
        double mMedianAge = 0.0;  ///< of the points that live at the end, in frames
        double mStepMedian = 0.0, mStepNinety = 0.0;
        double mStartMedian = 0.0, mStartNinety = 0.0;
        double mKept = 0.0;  ///< share of the points in view that were carried on a step
    };
    Summary Summarise() const;

    /// Frames in which most points were lost at once, as the tracker says.
    const std::vector<long long>& Cuts() const { return mCuts; }

private:
    void Compare(const Trail& inTrail, const Point* inPlace, long long inFrame);
    void End(const descriptor::Point& inPoint, long long inFrame);
    void Carry(const descriptor::Point& inPoint, long long inFrame);
    void Close(long long inFrame);
    std::vector<double> Ages() const;

    const RenderedClip* mTruth;
    std::vector<Trail> mTrails;
    std::vector<double> mStepErrors, mStartErrors;
    std::vector<long long> mCuts;
    long long mFrames = 0, mPrevFrame = 0, mLiveSum = 0;
    long long mInView = 0, mKept = 0;
    int mLiveNow = 0;
};

}  // namespace Host
