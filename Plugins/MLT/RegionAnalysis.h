// RegionAnalysis: the first pass of the filters that follow a rectangle.

#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "FrameStore.h"
#include "Sequence.h"
#include "Size.h"
#include "descriptor/client.h"

namespace descriptor_mlt {

/// What is to be followed.
struct RegionTask {
    std::vector<descriptor::KeyFrame> mKeys;  // in pixels of the profile, by position
    bool mIsBackward = false;                 // also from each key frame back
    int mCount = 0;                           // frames in all
    Size mProfile;

    friend bool operator==(const RegionTask& inA, const RegionTask& inB) {
        const auto same = [](const descriptor::KeyFrame& inX, const descriptor::KeyFrame& inY) {
            return inX.frame == inY.frame && inX.rect == inY.rect;
        };
        return inA.mIsBackward == inB.mIsBackward && inA.mCount == inB.mCount &&
               inA.mProfile == inB.mProfile &&
               std::equal(inA.mKeys.begin(), inA.mKeys.end(), inB.mKeys.begin(),
                          inB.mKeys.end(), same);
    }
};

/// The rectangle at one position.
struct RegionAt {
    descriptor::Rect mRect;   // in pixels of the profile, y downward
    const char* mState = "";  // for people and programs; see `StateName`
    bool mIsKey = false;      // somebody gave it
};

/// "key", "tracked", "held", "restarted" or "lost".
const char* StateName(descriptor::RegionState inState);

/// Follows a rectangle through frames that come in any order, as `Sequence` allows.
///
/// A key frame corrects: the rectangle goes on from it. With `mIsBackward` the frames before
/// the first key frame are followed from it back, those between two from both sides
/// (`descriptor::track_between`); one key frame alone at position 0 then stands for the last
/// frame. Frames before the first key frame are otherwise "before" it and have its rectangle.
///
/// Threads: one at a time. Errors: those of the client layer. After one of them nothing more is
/// taken until the task changes.
class RegionAnalysis {
public:
    /// Begins anew if the task or the size of the frames is another one.
    void Set(const RegionTask& inTask, const Size& inGrey);

    /// @return  false where the frame came too far ahead of its turn.
    bool Take(int inPosition, const descriptor::Frame& inGrey);

    /// Where the rectangle is, as far as it is known.
    std::optional<RegionAt> At(int inPosition) const;
    /// All of them, once every frame was there.
    const std::vector<std::optional<RegionAt>>& Results() const { return mResults; }
    bool IsDone() const { return mIsDone; }
    /// The position that it waits for.
    int Next() const { return mSequence.Next(); }

private:
    void Step(int inPosition, const descriptor::Frame& inGrey);
    void AtKey(int inPosition, const descriptor::KeyFrame& inKey,
               const descriptor::Frame& inGrey);
    void Keep(int inPosition, const descriptor::RegionResult& inResult);
    const descriptor::KeyFrame* KeyAt(int inPosition) const;

    RegionTask mTask;
    Size mGrey;
    bool mHasFailed = false;
    Sequence mSequence;
    std::optional<descriptor::RegionTracker> mTracker;  // ahead, from the last key frame
    std::optional<descriptor::KeyFrame> mLastKey;       // in grey pixels
    FrameStore mStore;                                  // from the last key frame on
    std::vector<std::optional<RegionAt>> mResults;
    bool mIsDone = false;
};

}  // namespace descriptor_mlt
