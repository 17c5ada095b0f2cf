// A rectangle between key frames: followed from both sides.

#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "descriptor/Progress.h"
#include "descriptor/RegionTracker.h"

namespace descriptor {

/// Somebody says where the rectangle is in a frame.
struct KeyFrame {
    std::int64_t frame = 0;  ///< number in the clip
    Rect rect = {};          ///< there
};

/// Gives any frame of a clip by its number.
using FrameAt = std::function<Frame(std::int64_t)>;

namespace detail {

/// One way through the frames between two key frames, and where it may be believed: not
/// where the rectangle was not seen, and not from a restart on.
struct Way {
    std::vector<RegionResult> mResults;
    std::vector<bool> mIsSure;

    void follow(RegionTracker& ioTracker, const Frame& inFrame) {
        mResults.push_back(ioTracker.advance(inFrame));
        const RegionResult& result = mResults.back();
        mWasRestarted = mWasRestarted || result.state == RegionState::restarted;
        mIsSure.push_back(!mWasRestarted && !result.lost_since);
    }

    bool mWasRestarted = false;
};

inline Rect blend(const Rect& inFirst, const Rect& inSecond, double inShare) {
    const auto mix = [&](double inA, double inB) {
        return inA + inShare * (inB - inA);
    };
    return {mix(inFirst.x, inSecond.x), mix(inFirst.y, inSecond.y),
            mix(inFirst.width, inSecond.width), mix(inFirst.height, inSecond.height)};
}

/// Both ways at one frame. `inShare` is how far it lies on the way from the first key frame
/// to the second.
inline RegionResult blend(const Way& inForward, const Way& inBackward, std::size_t inAt,
                          double inShare) {
    const std::size_t mirrored = inBackward.mResults.size() - 1 - inAt;
    const RegionResult& forward = inForward.mResults[inAt];
    const RegionResult& backward = inBackward.mResults[mirrored];
    const bool trustForward = inForward.mIsSure[inAt];
    const bool trustBackward = inBackward.mIsSure[mirrored];
    if (trustForward != trustBackward) return trustForward ? forward : backward;
    RegionResult result = inShare < 0.5 ? forward : backward;
    result.rect = blend(forward.rect, backward.rect, inShare);
    return result;
}

}  // namespace detail

/// Follows the rectangle between key frames, from each to the next forward and from that
/// back again, and blends the two: each weighs the more, the nearer its key frame is. Where
/// one way has lost the rectangle, the other alone counts.
///
/// @param inFrames  asked for each frame from the first key frame to the last, some twice.
/// @param inKeys  two or more, in the order of their frames.
/// @return  one result a frame, the key frames at both ends included; the state and the
///          points are those of the nearer way.
/// @throws ArgumentError, Cancelled.
inline std::vector<RegionResult> track_between(const FrameAt& inFrames,
                                               std::span<const KeyFrame> inKeys,
                                               const RegionSettings& inSettings = {},
                                               const ProgressCallback& inProgress = {}) {
    if (inKeys.size() < 2) throw ArgumentError("keys", "there must be two or more");
    for (std::size_t i = 1; i < inKeys.size(); ++i)
        if (inKeys[i].frame <= inKeys[i - 1].frame)
            throw ArgumentError("keys", "frame " + std::to_string(inKeys[i].frame) +
                                            " does not come after frame " +
                                            std::to_string(inKeys[i - 1].frame));
    const std::int64_t frames = inKeys.back().frame - inKeys.front().frame +
                                static_cast<std::int64_t>(inKeys.size()) - 1;
    std::int64_t done = 0;
    const auto follow = [&](detail::Way& ioWay, RegionTracker& ioTracker, std::int64_t inAt) {
        report_progress(inProgress, done, 2 * frames);
        const detail::Asking asking(inProgress, {done++, 2 * frames});
        Frame frame = inFrames(inAt);
        frame.number = inAt;
        ioWay.follow(ioTracker, frame);
    };

    std::vector<RegionResult> results;
    for (std::size_t i = 1; i < inKeys.size(); ++i) {
        const KeyFrame& first = inKeys[i - 1];
        const KeyFrame& last = inKeys[i];
        detail::Way forward;
        detail::Way backward;
        RegionTracker ahead(first.rect, inSettings);
        RegionTracker behind(last.rect, inSettings);
        for (std::int64_t n = first.frame; n <= last.frame; ++n)
            follow(forward, ahead, n);
        for (std::int64_t n = last.frame; n >= first.frame; --n)
            follow(backward, behind, n);
        const std::size_t count = forward.mResults.size();
        for (std::size_t n = i > 1 ? 1 : 0; n < count; ++n)
            results.push_back(
                detail::blend(forward, backward, n, double(n) / double(count - 1)));
    }
    report_progress(inProgress, done, 2 * frames);
    return results;
}

}  // namespace descriptor
