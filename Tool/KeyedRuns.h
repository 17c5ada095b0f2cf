// Runs over a clip that start from rectangles which the user drew, in any frames.

#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Canvas.h"
#include "HeldClip.h"
#include "descriptor/KeyFrames.h"
#include "descriptor/PointTracker.h"

namespace Host {

/// Rectangles by the numbers of their frames.
using KeyFrames = std::map<long long, Box>;

/// What is computed from key frames, bit by bit, so that a window stays awake meanwhile.
///
/// Ownership: plain objects; the clip must outlive them.
/// Threads: one thread at a time.
class KeyedRun {
public:
    virtual ~KeyedRun() = default;

    /// Other key frames: what rested on those that changed is dropped.
    virtual void SetKeys(const KeyFrames& inKeys) = 0;
    /// Does a part of what is left; whether there was one.
    virtual bool Work() = 0;
    /// Over the frame, which is drawn already.
    virtual void Draw(Canvas& ioCanvas, long long inFrame) const = 0;
    /// What became of the frame, in a few words.
    virtual std::string StateOf(long long inFrame) const = 0;
};

/// A rectangle through the clip: between two key frames it is followed from both, before the
/// first backward, behind the last forward.
class KeyedRegion final : public KeyedRun {
public:
    KeyedRegion(const HeldClip& inClip, const descriptor::RegionSettings& inSettings);
    ~KeyedRegion() override;

    void SetKeys(const KeyFrames& inKeys) override;
    bool Work() override;
    void Draw(Canvas& ioCanvas, long long inFrame) const override;
    std::string StateOf(long long inFrame) const override;

    /// Null where nothing is computed yet, or there is no key frame.
    const descriptor::RegionResult* At(long long inFrame) const;

private:
    struct Part;

    const HeldClip& mClip;
    descriptor::RegionSettings mSettings;
    KeyFrames mKeys;
    std::vector<std::unique_ptr<Part>> mParts;
    std::vector<descriptor::RegionResult> mResults;  // by frame
    std::vector<bool> mIsDone;
};

/// The points that lie in the rectangle of a key frame, up to the next one.
class KeyedPoints final : public KeyedRun {
public:
    KeyedPoints(const HeldClip& inClip, const descriptor::PointSettings& inSettings);

    void SetKeys(const KeyFrames& inKeys) override;
    bool Work() override;
    void Draw(Canvas& ioCanvas, long long inFrame) const override;
    std::string StateOf(long long inFrame) const override;

    /// Of the frames that are done; none before the first key frame.
    const descriptor::FramePoints& At(long long inFrame) const {
        return mResults[std::size_t(inFrame)];
    }

private:
    void Begin(const descriptor::FramePoints& inFound, const Box& inRect);

    const HeldClip& mClip;
    descriptor::PointSettings mSettings;
    KeyFrames mKeys;
    std::vector<descriptor::FramePoints> mResults;  // by frame
    std::unique_ptr<descriptor::PointTracker> mTracker;
    std::map<std::int64_t, std::int64_t> mIds;  // of this tracker's points that are followed
    std::int64_t mNextId = 0;
    long long mNext = 0;  // the frame to do
};

}  // namespace Host
