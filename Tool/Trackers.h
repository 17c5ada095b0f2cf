// The trackers of the client layer as the commands run them: with the time that each took, and
// with what is written of them.

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ClientFrames.h"
#include "Table.h"
#include "descriptor/GreyFrames.h"
#include "descriptor/PointTracker.h"
#include "descriptor/RegionTracker.h"

namespace Host {

/// Follows points from frame to frame.
///
/// Ownership: plain object, one owner. The points are the tracker's, until the next call.
/// Threads: one thread at a time.
/// Errors: what the client layer throws.
class TimedPoints {
public:
    /// By descriptors. @param inStep  every how many frames are tracked, for `Settings`.
    TimedPoints(const std::string& inSource, const descriptor::PointSettings& inSettings,
                int inStep);
    /// By the library's one class that tracks outside of its cache, with fixed settings: the
    /// one thing here that the client layer does not have.
    TimedPoints(const std::string& inSource, int inStep);

    /// Gives, frame by frame, what was computed already.
    using Replay = std::function<const descriptor::FramePoints&(long long)>;
    void TakeFrom(Replay inReplay);
    /// Then there is no time to tell.
    bool IsReplay() const { return mIsReplay; }

    const descriptor::FramePoints& Track(const Frame& inFrame, long long inNumber);
    /// Those of the last frame.
    const descriptor::FramePoints& Points() const { return mPoints; }

    /// What it is called in pictures and file names.
    const std::string& Name() const { return mName; }
    /// The settings that it heeds.
    const Json& Settings() const { return mSettings; }
    /// Whether the last frame repeated the one before, and was held. A KLT tracker finds its
    /// points on such a frame too, and holds none.
    bool IsHeld() const { return !IsKlt() && mPoints.is_repeated; }
    /// Seconds that the library worked, the conversion to grey left out.
    double LibrarySeconds() const { return mSeconds; }

    /// The columns of a point: slot, place, status, mark, age and last step.
    Columns PointColumns() const;
    /// A row with these columns.
    Row PointRow(const descriptor::Point& inPoint) const;
    /// What the numbers in the status column mean.
    Json StatusCodes() const;

private:
    using Advance = std::function<descriptor::FramePoints(const descriptor::Frame&)>;

    bool IsKlt() const { return mName == "klt"; }
    long long StatusCode(const descriptor::Point& inPoint) const;

    std::string mName;
    Json mSettings;
    descriptor::GreyFrames mImages;
    Advance mAdvance;
    descriptor::FramePoints mPoints;
    long long mFoundIn = 0;  // the last frame in which points could be found
    double mSeconds = 0.0;
    bool mIsReplay = false;
};

/// Carries a rectangle from frame to frame.
///
/// Ownership, Threads, Errors: as above.
class TimedRegion {
public:
    TimedRegion(const std::string& inSource, const Box& inStart,
                const descriptor::RegionSettings& inSettings);

    const descriptor::RegionResult& Track(const Frame& inFrame, long long inNumber);
    double LibrarySeconds() const { return mSeconds; }

private:
    descriptor::GreyFrames mImages;
    descriptor::RegionTracker mTracker;
    double mSeconds = 0.0;
};

}  // namespace Host
