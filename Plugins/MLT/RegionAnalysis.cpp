#include "RegionAnalysis.h"

#include <algorithm>
#include <array>

namespace descriptor_mlt {

const char* StateName(descriptor::RegionState inState) {
    return inState == descriptor::RegionState::key_frame ? "key"
                                                         : descriptor::to_string(inState);
}

void RegionAnalysis::Set(const RegionTask& inTask, const Size& inGrey) {
    RegionTask task = inTask;
    if (task.mIsBackward && task.mKeys.size() == 1 && task.mKeys[0].frame == 0)
        task.mKeys[0].frame = task.mCount - 1;
    if (task == mTask && inGrey == mGrey) return;
    mTask = task;
    mGrey = inGrey;
    mHasFailed = false;
    mSequence = {};
    mTracker.reset();
    mLastKey.reset();
    mStore.Clear(0);
    mResults.assign(static_cast<std::size_t>(std::max(0, task.mCount)), std::nullopt);
    mIsDone = false;
}

bool RegionAnalysis::Take(int inPosition, const descriptor::Frame& inGrey) {
    if (inPosition < 0 || inPosition >= mTask.mCount || mTask.mKeys.empty() || mHasFailed)
        return true;
    mHasFailed = true;  // unless it comes back from here
    const bool isInTime = mSequence.Take(
        inPosition, inGrey,
        [this](int inAt, const descriptor::Frame& inFrame) { Step(inAt, inFrame); });
    mHasFailed = false;
    return isInTime;
}

std::optional<RegionAt> RegionAnalysis::At(int inPosition) const {
    if (inPosition < 0 || inPosition >= mTask.mCount) return std::nullopt;
    return mResults[static_cast<std::size_t>(inPosition)];
}

void RegionAnalysis::Step(int inPosition, const descriptor::Frame& inGrey) {
    const descriptor::KeyFrame* key = KeyAt(inPosition);
    if (mTask.mIsBackward && inPosition <= mTask.mKeys.back().frame) mStore.Add(inGrey);
    if (key) {
        AtKey(inPosition, *key, inGrey);
    } else if (mTracker) {
        Keep(inPosition, mTracker->advance(inGrey));
    } else if (!mTask.mIsBackward) {
        mResults[static_cast<std::size_t>(inPosition)] = {mTask.mKeys[0].rect, "before", false};
    }
    if (inPosition + 1 == mTask.mCount) mIsDone = true;
}

void RegionAnalysis::AtKey(int inPosition, const descriptor::KeyFrame& inKey,
                           const descriptor::Frame& inGrey) {
    const descriptor::KeyFrame key{inPosition, Rescaled(inKey.rect, mTask.mProfile, mGrey)};
    mTracker.emplace(key.rect);
    const descriptor::RegionResult at = mTracker->advance(inGrey);
    if (mTask.mIsBackward) {
        const auto frames = [this](std::int64_t inAt) {
            return mStore.At(inAt);
        };
        if (mLastKey) {
            const std::array<descriptor::KeyFrame, 2> keys{*mLastKey, key};
            for (const descriptor::RegionResult& result :
                 descriptor::track_between(frames, keys))
                Keep(static_cast<int>(result.frame), result);
        } else {
            descriptor::RegionTracker back(key.rect);
            for (int before = inPosition; before >= 0; --before)
                Keep(before, back.advance(mStore.At(before)));
        }
        mStore.Clear(inPosition);
        mStore.Add(inGrey);
    }
    Keep(inPosition, at);
    // Between two key frames that are followed from both sides nobody need run ahead.
    if (mTask.mIsBackward && &inKey != &mTask.mKeys.back()) mTracker.reset();
    mLastKey = key;
}

void RegionAnalysis::Keep(int inPosition, const descriptor::RegionResult& inResult) {
    mResults[static_cast<std::size_t>(inPosition)] = {
        Rescaled(inResult.rect, mGrey, mTask.mProfile), StateName(inResult.state),
        inResult.state == descriptor::RegionState::key_frame};
}

const descriptor::KeyFrame* RegionAnalysis::KeyAt(int inPosition) const {
    for (const descriptor::KeyFrame& key : mTask.mKeys)
        if (key.frame == inPosition) return &key;
    return nullptr;
}

}  // namespace descriptor_mlt
