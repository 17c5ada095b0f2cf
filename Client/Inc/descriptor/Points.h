// Points: what the trackers say of each point, and of a frame's points together.

#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace descriptor {

/// What became of a point.
enum class PointStatus : std::int32_t {
    found,            ///< new in this frame
    tracked,          ///< carried over from the frame before
    lost,             ///< not found again
    stationary,       ///< APT: dropped for not moving more than the stationary limit
    changed,          ///< APT: differs from its first patch
    low_correlation,  ///< APT: correlates too little with its first patch
    no_texture,       ///< KLT: too little texture to tell where it went
    unsettled,        ///< KLT: the search did not settle
    out_of_bounds,    ///< KLT: left the usable part of the picture
    different,        ///< KLT: nothing there looks like it
};

/// A text for people.
constexpr const char* to_string(PointStatus inStatus) noexcept {
    constexpr const char* kTexts[] = {"found",
                                      "tracked",
                                      "lost",
                                      "stationary",
                                      "changed against its first patch",
                                      "low correlation with its first patch",
                                      "no texture",
                                      "search did not settle",
                                      "out of bounds",
                                      "nothing looks like it"};
    return kTexts[static_cast<int>(inStatus)];
}

/// One point in one frame, in pixels, y downward.
struct Point {
    std::int64_t id = -1;   ///< stays with the point; no other of this tracker has it
    std::int32_t slot = 0;  ///< its place in the tracker's list, which others get after it
    PointStatus status = PointStatus::found;  ///< see there
    float x = 0.0f;         ///< column; the middle of a pixel is a whole number
    float y = 0.0f;         ///< row
    float dx = 0.0f;        ///< motion since the frame before; 0 where it is new
    float dy = 0.0f;        ///< the same, downward
    std::uint32_t age = 0;  ///< steps it was tracked through
    /// KLT: how well it could be tracked when it was found. APT: correlation with its first
    /// patch, 0 to 1, where that is verified, else 0.
    float score = 0.0f;
    /// How far from its old place the way back ended, in pixels; infinite where it was lost
    /// on the way; NaN where there was none (see `PointSettings::round_trip`).
    float round_trip = std::numeric_limits<float>::quiet_NaN();
    bool came_back = true;  ///< false: `round_trip` is over the threshold
};

/// The points of one frame. It is a range of the live ones, in the order of their slots, and
/// converts to `std::span<const Point>`.
///
/// Ownership: a plain value.
class FramePoints {
public:
    std::vector<Point> live;  ///< found or tracked
    std::vector<Point> lost;  ///< those that ended in this frame: where they were last, and why
    std::int64_t frame = 0;   ///< number in the clip
    std::optional<double> time;  ///< of the frame, in seconds, if it said
    bool is_repeated = false;    ///< the frame is the one before once more
    bool is_cut = false;         ///< most points were lost at once, and not at an edge

    /// The live points.
    /// @{
    auto begin() const noexcept { return live.begin(); }
    auto end() const noexcept { return live.end(); }
    std::size_t size() const noexcept { return live.size(); }
    bool empty() const noexcept { return live.empty(); }
    const Point* data() const noexcept { return live.data(); }
    const Point& operator[](std::size_t inIndex) const { return live[inIndex]; }
    /// @}
};

namespace detail {

/// One slot as an engine leaves it.
struct Slot {
    float mX = 0.0f;
    float mY = 0.0f;
    float mDeltaX = 0.0f;
    float mDeltaY = 0.0f;
    std::uint32_t mAge = 0;
    float mMark = 0.0f;
    PointStatus mStatus = PointStatus::lost;
    bool mIsLive = false;
};

/// Follows who is in which slot, so that points have names that stay.
class SlotBook {
public:
    /// Takes the slots of the next frame and writes the points that live and that ended.
    void update(const std::vector<Slot>& inSlots, bool inKeepsMark, FramePoints& outPoints) {
        mOwners.resize(inSlots.size());
        outPoints.live.clear();
        outPoints.lost.clear();
        for (std::size_t i = 0; i < inSlots.size(); ++i) {
            const Slot& slot = inSlots[i];
            Point& owner = mOwners[i];
            const bool isNew = slot.mIsLive && slot.mAge == 0;
            if (owner.id >= 0 && (!slot.mIsLive || isNew)) end(slot, owner, outPoints);
            if (!slot.mIsLive) continue;
            if (owner.id < 0) owner = {.id = mNextId++, .slot = static_cast<std::int32_t>(i)};
            fill(slot, isNew || !inKeepsMark, owner);
            outPoints.live.push_back(owner);
        }
    }
    /// Ends every point.
    void clear() { mOwners.clear(); }

private:
    // A slot that was filled anew at once no longer says why its owner was lost.
    static void end(const Slot& inSlot, Point& ioOwner, FramePoints& outPoints) {
        ioOwner.status = inSlot.mIsLive ? PointStatus::lost : inSlot.mStatus;
        outPoints.lost.push_back(ioOwner);
        ioOwner.id = -1;
    }
    static void fill(const Slot& inSlot, bool inTakesMark, Point& outPoint) {
        const bool isNew = inSlot.mAge == 0;
        outPoint.status = isNew ? PointStatus::found : PointStatus::tracked;
        outPoint.x = inSlot.mX;
        outPoint.y = inSlot.mY;
        outPoint.dx = isNew ? 0.0f : inSlot.mDeltaX;
        outPoint.dy = isNew ? 0.0f : inSlot.mDeltaY;
        outPoint.age = inSlot.mAge;
        outPoint.round_trip = std::numeric_limits<float>::quiet_NaN();
        outPoint.came_back = true;
        if (inTakesMark) outPoint.score = inSlot.mMark;
    }

    std::vector<Point> mOwners;  // by slot; an id of -1 is nobody
    std::int64_t mNextId = 0;
};

}  // namespace detail
}  // namespace descriptor
