// Sequence: puts frames back in order for an analysis.

#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>

#include "descriptor/Frame.h"

namespace descriptor_mlt {

/// Hands frames on in the order of their positions: 0, 1, 2.
///
/// Hosts that work on several frames at once deliver them slightly out of order, and editors
/// go back and forth. What comes early waits here; what was there before is left out. A frame
/// that never comes (a host that drops frames, a user who jumps ahead) stops the sequence
/// there, until it comes after all.
///
/// Threads: one at a time.
class Sequence {
public:
    using Step = std::function<void(int inPosition, const descriptor::Frame& inFrame)>;

    /// Takes a frame and calls `inStep` for each one whose turn has come.
    /// @return  false where the frame is too far ahead to wait.
    bool Take(int inPosition, const descriptor::Frame& inFrame, const Step& inStep) {
        if (inPosition < mNext) return true;
        if (inPosition > mNext) {
            if (inPosition - mNext > kMostWaiting) return false;
            mWaiting.emplace(inPosition, inFrame);
            return true;
        }
        inStep(mNext, inFrame);
        ++mNext;
        while (!mWaiting.empty() && mWaiting.begin()->first <= mNext) {
            const auto first = mWaiting.extract(mWaiting.begin());
            if (first.key() < mNext) continue;
            inStep(mNext, first.mapped());
            ++mNext;
        }
        return true;
    }
    /// The position whose turn is next.
    int Next() const { return mNext; }

private:
    // Above what hosts keep under way at once; 64 frames of 1080p are 130 MB.
    static constexpr int kMostWaiting = 64;

    int mNext = 0;
    std::map<int, descriptor::Frame> mWaiting;
};

}  // namespace descriptor_mlt
