// PointTracker: the point trackers of the library behind one operation.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Frame.h"

namespace Host {

/// One slot of a tracker's list. Slot i of two frames is the same point until its age
/// starts again.
struct TrackedPoint {
    float mX = 0.0f;
    float mY = 0.0f;
    int mStatus = -1;    ///< 0 and above is a live point
    double mMark = 0.0;  ///< APT: the correlation with the first patch; KLT: the id
    unsigned mAge = 0;   ///< frames it was tracked through
    float mDeltaX = 0.0f;
    float mDeltaY = 0.0f;

    bool IsLive() const { return mStatus >= 0; }
};

struct TrackSettings {
    unsigned mFeatures = 500;
    unsigned mMinFeatures = 450;
    unsigned mMinDistance = 10;
    float mStationaryLimit = 0.0f;
    bool mVerify = false;
    int mStep = 1;  ///< every how many frames are tracked
};

/// Follows points from frame to frame.
///
/// Ownership: plain object, one owner. The list is the tracker's, until the next call.
/// Threads: one thread at a time.
/// Errors: what the library throws.
class PointTracker {
public:
    virtual ~PointTracker() = default;

    virtual const std::vector<TrackedPoint>& Track(const Frame& inFrame,
                                                   long long inNumber) = 0;

    /// What it is called in pictures and file names.
    virtual std::string Name() const = 0;
    /// The heads of the two columns that differ between trackers.
    virtual std::string StatusColumn() const = 0;
    virtual std::string MarkColumn() const = 0;

    /// Seconds that the library worked, the conversion to grey left out.
    double LibrarySeconds() const { return mSeconds; }

protected:
    std::vector<TrackedPoint> mPoints;
    double mSeconds = 0.0;
};

/// APT through property, key, item, computer and cache.
std::unique_ptr<PointTracker> MakeAptTracker(const std::string& inSource,
                                             const TrackSettings& inSettings);
/// APT through `DP::Tracker`, which has its own fixed settings.
std::unique_ptr<PointTracker> MakeExportedTracker(const std::string& inSource);
/// KLT through property, key, item, computer and cache.
std::unique_ptr<PointTracker> MakeKltTracker(const std::string& inSource,
                                             const TrackSettings& inSettings);

}  // namespace Host
