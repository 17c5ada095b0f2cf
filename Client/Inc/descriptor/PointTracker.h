// PointTracker: points followed from frame to frame.

#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "descriptor/Frame.h"
#include "descriptor/PointSettings.h"
#include "descriptor/Points.h"
#include "descriptor/Source.h"
#include "descriptor/detail/AptEngine.h"
#include "descriptor/detail/FrameSize.h"
#include "descriptor/detail/KltEngine.h"

namespace descriptor {

/// Follows points through a run of frames.
///
///     descriptor::PointTracker tracker({.max_points = 300});
///     for (const descriptor::Frame& frame : frames)
///         for (const descriptor::Point& point : tracker.advance(frame)) draw(point);
///
/// A frame that is the one before once more (telecine, screen recordings, re-timed clips) is
/// noticed and loses nothing: the APT engine would drop every point for not moving, and is
/// not asked. A cut, where most points are lost at once, is told with the frame; new
/// points are found in it.
///
/// The KLT engine loses, at its first step, the points within 24 pixels of an edge.
///
/// Threads: one at a time; a second one is told so by a `BusyError`. Different trackers may
///   work in any number of threads.
/// Errors: `ArgumentError` for settings and frames that cannot be; the tracker then stands
///   where it stood. So does one that is stopped within a frame (see `run`), but for one with
///   a `round_trip`, whose points may have ended: the next frame is then a first one.
class PointTracker {
public:
    /// @param inSource  a named one lets runs that are made again be answered from the cache.
    explicit PointTracker(const PointSettings& inSettings = {}, Source inSource = {})
        : mSettings(checked(inSettings)), mSource(std::move(inSource)), mRun(new_run()) {
        if (inSettings.engine == Engine::apt)
            mEngine = std::make_unique<detail::AptEngine>(mSource, mSettings);
        else
            mEngine = std::make_unique<detail::KltEngine>(mSource, mSettings);
    }

    /// Follows the points into the next frame; in the first one they are found.
    FramePoints advance(const Frame& inFrame) {
        const detail::OneThread::Guard guard(mFlag, "PointTracker");
        mSize.check(inFrame);
        const bool isHeld = mEngine->holds(inFrame);
        detail::RunName run = mRun;
        const long long number = run.next(inFrame.number);
        FramePoints points;
        if (isHeld)
            points.live = mLast.live;
        else
            step(inFrame, run, number, points);
        points.frame = run.last();
        points.time = inFrame.time;
        points.is_repeated = isHeld || mEngine->is_repeated();
        mRun = std::move(run);
        mSize.keep(inFrame);
        mLast = std::move(points);
        return mLast;
    }

    /// Ends all points: the next frame, of any size, is a first one.
    void restart() {
        const detail::OneThread::Guard guard(mFlag, "PointTracker");
        begin_anew();
    }

    /// What the last `advance` returned.
    const FramePoints& points() const noexcept { return mLast; }
    /// As they were given.
    const PointSettings& settings() const noexcept { return mSettings; }

private:
    // A cut loses more than half of the points: of those that the APT engine meets in another
    // picture, four in ten find something. Fewer points than this say nothing.
    static constexpr std::ptrdiff_t kCutLeast = 20;
    static constexpr float kEdge = 32.0f;

    static const PointSettings& checked(const PointSettings& inSettings) {
        inSettings.check();
        return inSettings;
    }
    // First patches are the engine's memory: who verifies is never answered with the results
    // of another run.
    detail::RunName new_run() const {
        return {mSource,
                std::string("limit ")
                    .append(std::to_string(mSettings.stationary_limit))
                    .append(mSettings.verify ? " verified" : ""),
                !mSettings.verify};
    }

    void begin_anew() {
        mEngine->restart();
        mBook.clear();
        mRun = new_run();
        mSize = {};
        mLast = {};
    }

    void step(const Frame& inFrame, const detail::RunName& inRun, long long inNumber,
              FramePoints& outPoints) {
        const std::vector<detail::Slot> slots = mEngine->step(inRun, inNumber);
        try {
            mBook.update(slots, mSettings.engine == Engine::klt, outPoints);
            outPoints.is_cut = is_cut(outPoints, inFrame);
            const bool isChecked =
                mSettings.round_trip > 0.0 &&
                std::any_of(outPoints.begin(), outPoints.end(),
                            [](const Point& inPoint) { return inPoint.age > 0; });
            if (isChecked) compare(mEngine->step_back(inRun, inNumber), outPoints);
        } catch (...) {  // the engine is a frame ahead already
            begin_anew();
            throw;
        }
    }

    // Points near an edge leave the picture, and say nothing of a cut.
    bool is_cut(const FramePoints& inPoints, const Frame& inFrame) const {
        const auto isInside = [&](const Point& inPoint) {
            return inPoint.x >= kEdge && inPoint.y >= kEdge &&
                   inPoint.x < static_cast<float>(inFrame.width) - kEdge &&
                   inPoint.y < static_cast<float>(inFrame.height) - kEdge;
        };
        const auto before = std::count_if(mLast.begin(), mLast.end(), isInside);
        const auto lost = std::count_if(inPoints.lost.begin(), inPoints.lost.end(), isInside);
        return before >= kCutLeast && 2 * lost > before;
    }

    // `inBack` has each point's place in the frame before, as the way back found it.
    void compare(const std::vector<detail::Slot>& inBack, FramePoints& ioPoints) const {
        auto before = mLast.live.begin();
        for (Point& point : ioPoints.live) {
            if (point.age == 0) continue;
            while (before != mLast.live.end() && before->slot < point.slot)
                ++before;
            if (before == mLast.live.end() || before->id != point.id) continue;
            const detail::Slot& back = inBack[static_cast<std::size_t>(point.slot)];
            const double dx = back.mX - before->x, dy = back.mY - before->y;
            point.round_trip = back.mIsLive ? static_cast<float>(std::sqrt(dx * dx + dy * dy))
                                            : std::numeric_limits<float>::infinity();
            point.came_back = double(point.round_trip) <= mSettings.round_trip;
        }
    }

    PointSettings mSettings;
    Source mSource;
    detail::RunName mRun;
    std::unique_ptr<detail::PointEngine> mEngine;
    detail::SlotBook mBook;
    detail::FrameSize mSize;
    FramePoints mLast;
    detail::OneThread mFlag;
};

}  // namespace descriptor
