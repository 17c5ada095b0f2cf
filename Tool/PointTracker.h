// PointTracker: the point trackers of the library behind one operation.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Frame.h"
#include "Table.h"

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
/// The APT trackers drop points that do not move, which in a frame that repeats the one
/// before (telecine, recordings of a screen) are all of them. Such a frame is held: the
/// points stay what they were, and the next frame is tracked from the last different one.
/// KLT points stay on equal frames by themselves.
///
/// Ownership: plain object, one owner. The list is the tracker's, until the next call.
/// Threads: one thread at a time.
/// Errors: what the library throws.
class PointTracker {
public:
    virtual ~PointTracker() = default;

    virtual const std::vector<TrackedPoint>& Track(const Frame& inFrame,
                                                   long long inNumber) = 0;

    /// The list of the last frame.
    const std::vector<TrackedPoint>& Points() const { return mPoints; }
    /// What it is called in pictures and file names.
    virtual std::string Name() const = 0;
    /// The columns of a point: slot, place, status, mark, age and last step.
    virtual Columns PointColumns() const = 0;
    /// What the numbers in the status column mean.
    virtual Json StatusCodes() const = 0;
    /// The settings that this tracker heeds.
    virtual Json Settings() const = 0;

    /// Whether the last frame repeated the one before, and was held.
    bool IsHeld() const { return mHeld; }
    /// Seconds that the library worked, the conversion to grey left out.
    double LibrarySeconds() const { return mSeconds; }

protected:
    std::vector<TrackedPoint> mPoints;
    double mSeconds = 0.0;
    bool mHeld = false;
};

/// The columns that all trackers have, around the two that differ.
Columns PointColumnsWith(const Column& inStatus, const Column& inMark);

/// APT through property, key, item, computer and cache.
std::unique_ptr<PointTracker> MakeAptTracker(const std::string& inSource,
                                             const TrackSettings& inSettings);
/// APT through `DP::Tracker`, which has its own fixed settings.
std::unique_ptr<PointTracker> MakeExportedTracker(const std::string& inSource, int inStep);
/// KLT through property, key, item, computer and cache.
std::unique_ptr<PointTracker> MakeKltTracker(const std::string& inSource,
                                             const TrackSettings& inSettings);

}  // namespace Host
