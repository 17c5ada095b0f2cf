// RegionTracker: a rectangle carried from frame to frame.

#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "descriptor/Frame.h"
#include "descriptor/Points.h"
#include "descriptor/Source.h"
#include "descriptor/detail/FrameSize.h"
#include "descriptor/detail/RegionEngine.h"

namespace descriptor {

/// How the rectangle of a frame came about.
enum class RegionState : std::int32_t {
    key_frame,  ///< given by the caller
    tracked,    ///< carried over by its points
    held,       ///< as it was: the frame repeats the one before, or could not be followed
    restarted,  ///< as it was, with new points of this frame, after `hold_frames` in vain
    lost,       ///< as it was: there is nothing to follow; each frame is tried anew
};

/// A text for people.
constexpr const char* to_string(RegionState inState) noexcept {
    constexpr const char* kTexts[] = {"key frame", "tracked", "held", "restarted", "lost"};
    return kTexts[static_cast<int>(inState)];
}

/// All that can be set, with what it is by default.
struct RegionSettings {
    int max_points = 500;  ///< points in the rectangle, at most; 1 to 100000
    int min_distance = 3;  ///< pixels between new points; 0 to 10000
    /// So many frames in a row may fail to show the rectangle's points before new ones are
    /// looked for where it was last; 0 to 1000.
    int hold_frames = 2;

    /// @throws ArgumentError for a value out of its range.
    void check() const {
        detail::check_range("settings.max_points", max_points, 1, 100000);
        detail::check_range("settings.min_distance", min_distance, 0, 10000);
        detail::check_range("settings.hold_frames", hold_frames, 0, 1000);
    }
};

/// The rectangle in one frame, and the points that carry it.
///
/// Ownership: a plain value.
struct RegionResult {
    Rect rect;                                   ///< y downward; may leave the picture
    RegionState state = RegionState::key_frame;  ///< see there
    std::optional<std::int64_t> lost_since;      ///< the first frame of those it is not seen in
    std::vector<Point> points;                   ///< live ones; none where it is not seen
    std::int64_t frame = 0;                      ///< number in the clip
    std::optional<double> time;                  ///< of the frame, in seconds, if it said
};

/// Carries a rectangle through a run of frames by the points inside it.
///
///     descriptor::RegionTracker tracker({.x = 320, .y = 180, .width = 120, .height = 90});
///     for (const descriptor::Frame& frame : frames) draw(tracker.advance(frame).rect);
///
/// A frame that is the one before once more holds the rectangle, where the library alone
/// would lose it for good. A frame that shows nothing of it (a flash, somebody in front)
/// does too: the next one is compared with the last that did. So does one in which a side
/// halves or doubles at once: no video shows that, but points that went astray do. After some
/// of them new points are looked for at the last good place.
///
/// Threads: one at a time; a second one is told so by a `BusyError`.
/// Errors: `ArgumentError`; the tracker then stands where it stood.
class RegionTracker {
public:
    /// @param inStart  where the rectangle is in the first frame.
    /// @param inSource  a named one lets runs that are made again be answered from the cache.
    explicit RegionTracker(const Rect& inStart, const RegionSettings& inSettings = {},
                           Source inSource = {})
        : mSettings(checked(inSettings)),
          mSource(std::move(inSource)),
          mEngine(mSource, inSettings.max_points, inSettings.min_distance),
          mStart(checked(inStart)) {}

    /// Carries the rectangle into the next frame.
    RegionResult advance(const Frame& inFrame) {
        const detail::OneThread::Guard guard(mFlag, "RegionTracker");
        return take(inFrame, mStart);
    }

    /// A key frame: says where the rectangle is in this frame, and goes on from there.
    RegionResult advance(const Frame& inFrame, const Rect& inRect) {
        const detail::OneThread::Guard guard(mFlag, "RegionTracker");
        return take(inFrame, checked(inRect));
    }

    /// Corrects the frame of the last `advance`: the rectangle was there, and the next frame
    /// goes on from it. Before the first frame it takes the place of the start.
    RegionResult correct(const Rect& inRect) {
        const detail::OneThread::Guard guard(mFlag, "RegionTracker");
        if (mStart) {
            mStart = checked(inRect);
            return mLast;
        }
        RegionResult result = mLast;
        begin(checked(inRect), mImage, result);
        mLast = std::move(result);
        return mLast;
    }

    /// What the last `advance` returned.
    const RegionResult& result() const noexcept { return mLast; }
    /// As they were given.
    const RegionSettings& settings() const noexcept { return mSettings; }

private:
    using Image = IP::ImagePtr<float>;

    static const RegionSettings& checked(const RegionSettings& inSettings) {
        inSettings.check();
        return inSettings;
    }
    static const Rect& checked(const Rect& inRect) {
        for (const double value : {inRect.x, inRect.y, inRect.width, inRect.height})
            if (!(std::fabs(value) <= 1e6))
                throw ArgumentError("rect", "a side is no number, or beyond a million pixels");
        if (inRect.width < 1.0 || inRect.height < 1.0)
            throw ArgumentError("rect", "it needs a width and a height of 1 pixel or more");
        return inRect;
    }

    const RegionResult& take(const Frame& inFrame, std::optional<Rect> inKey) {
        mSize.check(inFrame);
        Image image = mEngine.image_of(inFrame);
        RegionResult result = mLast;
        result.time = inFrame.time;
        result.frame = inFrame.number.value_or(mStart ? 0 : mLast.frame + 1);
        if (inKey)
            begin(*inKey, image, result);
        else if (mEngine.is_last(image))
            hold(result);
        else
            follow(image, result);
        mImage = std::move(image);
        mStart.reset();
        mSize.keep(inFrame);
        mLast = std::move(result);
        return mLast;
    }

    // A key frame.
    void begin(const Rect& inRect, const Image& inImage, RegionResult& ioResult) {
        detail::RegionStep step = mEngine.start(inImage, ioResult.frame, inRect);
        mBook.clear();
        accept(std::move(step), RegionState::key_frame, ioResult);
        ioResult.lost_since.reset();
    }

    // The last frame that showed the rectangle, once more.
    void hold(RegionResult& ioResult) {
        ioResult.state = RegionState::held;
        ioResult.lost_since.reset();
        mMisses = 0;
    }

    void follow(const Image& inImage, RegionResult& ioResult) {
        detail::RegionStep step = mEngine.follow(inImage, ioResult.frame);
        if (step.is_seen() && is_likely(ioResult.rect, step.mRect)) {
            accept(std::move(step), RegionState::tracked, ioResult);
            ioResult.lost_since.reset();
            return;
        }
        if (!ioResult.lost_since || ioResult.state == RegionState::restarted)
            ioResult.lost_since = ioResult.frame;
        ioResult.points.clear();
        ioResult.state = RegionState::held;
        const int misses = mMisses + 1;
        if (misses > mSettings.hold_frames) {
            ioResult.state = RegionState::lost;
            detail::RegionStep anew = mEngine.start(inImage, ioResult.frame, ioResult.rect);
            if (anew.has_points()) {
                mBook.clear();
                accept(std::move(anew), RegionState::restarted, ioResult);
                return;
            }
        }
        mMisses = misses;
    }

    // Whether a rectangle may become that of the next frame: each side within a factor of two.
    static bool is_likely(const Rect& inFrom, const Rect& inTo) {
        const auto likely = [](double inSide, double inNext) {
            return inNext >= 0.5 * inSide && inNext <= 2.0 * inSide;
        };
        return likely(inFrom.width, inTo.width) && likely(inFrom.height, inTo.height);
    }

    void accept(detail::RegionStep inStep, RegionState inState, RegionResult& ioResult) {
        FramePoints points;
        mBook.update(inStep.mSlots, false, points);
        ioResult.points = std::move(points.live);
        ioResult.rect = inStep.mRect;
        ioResult.state = inState;
        mEngine.accept(std::move(inStep));
        mMisses = 0;
    }

    RegionSettings mSettings;
    Source mSource;
    detail::RegionEngine mEngine;
    detail::SlotBook mBook;
    detail::FrameSize mSize;
    std::optional<Rect> mStart;  // until the first frame
    Image mImage;                // of the newest frame
    RegionResult mLast;
    int mMisses = 0;  // frames since the last that showed the rectangle
    detail::OneThread mFlag;
};

}  // namespace descriptor
