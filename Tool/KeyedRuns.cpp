#include "KeyedRuns.h"

#include <algorithm>

#include "ClientFrames.h"
#include "TrackPicture.h"

namespace Host {
namespace {

constexpr Colour kRectColour{96.0, 255.0, 120.0};
constexpr Colour kHeldColour{255.0, 150.0, 40.0};
constexpr Colour kPointColour{255.0, 214.0, 48.0};

double UnitOf(const HeldClip& inClip) {
    return UnitOf(Box{0.0, 0.0, double(inClip.Width()), double(inClip.Height())});
}

void DrawPoint(Canvas& ioCanvas, const HeldClip& inClip, const descriptor::Point& inPoint,
               const Colour& inColour) {
    ioCanvas.Dot({inPoint.x + 0.5, inPoint.y + 0.5}, 2.0 * UnitOf(inClip), inColour,
                 {0.0, 0.0, double(inClip.Width()), double(inClip.Height())});
}

}  // namespace

// ---- A rectangle ---------------------------------------------------------------------------

// Frames from one end to the other, each a key frame where it has a rectangle.
struct KeyedRegion::Part {
    long long mFirst, mLast;
    const Box *mFirstKey, *mLastKey;
    std::unique_ptr<descriptor::RegionTracker> mTracker = nullptr;
    long long mNext = 0;
    bool mIsDone = false;
};

KeyedRegion::KeyedRegion(const HeldClip& inClip, const descriptor::RegionSettings& inSettings)
    : mClip(inClip),
      mSettings(inSettings),
      mResults(std::size_t(inClip.FrameCount())),
      mIsDone(mResults.size(), false) {}

KeyedRegion::~KeyedRegion() = default;

void KeyedRegion::SetKeys(const KeyFrames& inKeys) {
    // What lies between two key frames that were neighbours before stays.
    const auto isKept = [&](long long inFirst, long long inLast) {
        const auto same = [&](long long inFrame) {
            const KeyFrames::const_iterator before = mKeys.find(inFrame);
            const KeyFrames::const_iterator now = inKeys.find(inFrame);
            return before != mKeys.end() && now != inKeys.end() &&
                   ToRect(before->second) == ToRect(now->second);
        };
        return same(inFirst) && same(inLast) &&
               std::next(mKeys.find(inFirst)) == mKeys.find(inLast);
    };
    const std::vector<bool> wasDone = mIsDone;
    std::fill(mIsDone.begin(), mIsDone.end(), false);
    std::vector<std::pair<long long, long long>> kept;
    for (auto key = inKeys.begin(); key != inKeys.end() && std::next(key) != inKeys.end();
         ++key)
        if (isKept(key->first, std::next(key)->first))
            kept.emplace_back(key->first, std::next(key)->first);
    mKeys = inKeys;
    mParts.clear();
    if (mKeys.empty()) return;
    const auto add = [&](long long inFirst, long long inLast, const Box* inFirstKey,
                         const Box* inLastKey) {
        const bool isThere =
            std::find(kept.begin(), kept.end(), std::pair(inFirst, inLast)) != kept.end() &&
            wasDone[std::size_t(inFirst)] && wasDone[std::size_t(inLast)];
        for (long long i = inFirst; isThere && i <= inLast; ++i)
            mIsDone[std::size_t(i)] = wasDone[std::size_t(i)];
        if (isThere) return;
        mParts.push_back(std::make_unique<Part>(Part{inFirst, inLast, inFirstKey, inLastKey}));
    };
    for (auto key = mKeys.begin(); std::next(key) != mKeys.end(); ++key)
        add(key->first, std::next(key)->first, &key->second, &std::next(key)->second);
    add(mKeys.rbegin()->first, mClip.FrameCount() - 1, &mKeys.rbegin()->second, nullptr);
    if (mKeys.begin()->first > 0) add(0, mKeys.begin()->first, nullptr, &mKeys.begin()->second);
}

bool KeyedRegion::Work() {
    const auto open = std::find_if(mParts.begin(), mParts.end(),
                                   [](const auto& inPart) { return !inPart->mIsDone; });
    if (open == mParts.end()) return false;
    Part& part = **open;
    if (part.mFirstKey && part.mLastKey) {
        const descriptor::KeyFrame keys[] = {{part.mFirst, ToRect(*part.mFirstKey)},
                                             {part.mLast, ToRect(*part.mLastKey)}};
        const auto results = descriptor::track_between(
            [&](std::int64_t inFrame) { return TrackerView(mClip.At(inFrame), inFrame); }, keys,
            mSettings);
        for (const descriptor::RegionResult& result : results) {
            mResults[std::size_t(result.frame)] = result;
            mIsDone[std::size_t(result.frame)] = true;
        }
        part.mIsDone = true;
        return true;
    }
    // One frame, away from the key frame.
    const bool goesOn = part.mFirstKey != nullptr;
    if (!part.mTracker) {
        part.mTracker = std::make_unique<descriptor::RegionTracker>(
            ToRect(goesOn ? *part.mFirstKey : *part.mLastKey), mSettings);
        part.mNext = goesOn ? part.mFirst : part.mLast;
    }
    const long long frame = part.mNext;
    part.mTracker->advance(TrackerView(mClip.At(frame), frame));
    mResults[std::size_t(frame)] = part.mTracker->result();
    mIsDone[std::size_t(frame)] = true;
    part.mIsDone = frame == (goesOn ? part.mLast : part.mFirst);
    part.mNext += goesOn ? 1 : -1;
    return true;
}

const descriptor::RegionResult* KeyedRegion::At(long long inFrame) const {
    return mIsDone[std::size_t(inFrame)] ? &mResults[std::size_t(inFrame)] : nullptr;
}

void KeyedRegion::Draw(Canvas& ioCanvas, long long inFrame) const {
    const descriptor::RegionResult* const result = At(inFrame);
    if (!result) return;
    for (const descriptor::Point& point : result->points)
        DrawPoint(ioCanvas, mClip, point, kPointColour);
    ioCanvas.Outline(ToBox(result->rect), result->lost_since ? kHeldColour : kRectColour,
                     2.5 * UnitOf(mClip));
}

std::string KeyedRegion::StateOf(long long inFrame) const {
    const descriptor::RegionResult* const result = At(inFrame);
    if (mKeys.empty()) return "draw a rectangle";
    if (!result) return "not yet followed to here";
    return std::string(to_string(result->state)) + ", " +
           std::to_string(result->points.size()) + " points";
}

// ---- Points --------------------------------------------------------------------------------

KeyedPoints::KeyedPoints(const HeldClip& inClip, const descriptor::PointSettings& inSettings)
    : mClip(inClip),
      mSettings(inSettings),
      mResults(std::size_t(inClip.FrameCount())),
      mNext(inClip.FrameCount()) {}

// A run starts at a key frame: what changes, changes from the last one before it.
void KeyedPoints::SetKeys(const KeyFrames& inKeys) {
    const auto differ = std::mismatch(mKeys.begin(), mKeys.end(), inKeys.begin(), inKeys.end(),
                                      [](const auto& inOne, const auto& inOther) {
                                          return inOne.first == inOther.first &&
                                                 ToRect(inOne.second) == ToRect(inOther.second);
                                      });
    const long long end = mClip.FrameCount();
    long long changed = end;
    if (differ.first != mKeys.end()) changed = differ.first->first;
    if (differ.second != inKeys.end()) changed = std::min(changed, differ.second->first);
    mKeys = inKeys;
    const long long first = mKeys.empty() ? end : mKeys.begin()->first;
    const auto above = mKeys.upper_bound(changed);
    const long long start = above == mKeys.begin() ? first : std::prev(above)->first;
    mNext = std::max(std::min(mNext, start), first);
    for (long long i = std::min(mNext, changed); i < end; ++i)
        mResults[std::size_t(i)] = {};
}

void KeyedPoints::Begin(const descriptor::FramePoints& inFound, const Box& inRect) {
    mIds.clear();
    for (const descriptor::Point& point : inFound)
        if (point.x + 0.5 >= inRect.mX && point.y + 0.5 >= inRect.mY &&
            point.x + 0.5 < inRect.Right() && point.y + 0.5 < inRect.Bottom())
            mIds[point.id] = mNextId++;
}

bool KeyedPoints::Work() {
    if (mNext >= mClip.FrameCount()) return false;
    const long long frame = mNext++;
    const auto key = mKeys.find(frame);
    const bool isKey = key != mKeys.end();
    if (isKey) mTracker = std::make_unique<descriptor::PointTracker>(mSettings);
    const descriptor::FramePoints found =
        mTracker->advance(TrackerView(mClip.At(frame), frame));
    descriptor::FramePoints& result = mResults[std::size_t(frame)];
    result = {};
    result.frame = frame;
    result.is_repeated = found.is_repeated;
    result.is_cut = found.is_cut;
    if (isKey) {
        if (frame > 0) result.lost = mResults[std::size_t(frame - 1)].live;
        for (descriptor::Point& point : result.lost)
            point.status = descriptor::PointStatus::lost;
        Begin(found, key->second);
    }
    const auto take = [&](const std::vector<descriptor::Point>& inFrom,
                          std::vector<descriptor::Point>& outTo) {
        for (descriptor::Point point : inFrom) {
            const auto id = mIds.find(point.id);
            if (id == mIds.end()) continue;
            point.id = id->second;
            outTo.push_back(point);
        }
    };
    take(found.live, result.live);
    if (!isKey) take(found.lost, result.lost);
    return true;
}

void KeyedPoints::Draw(Canvas& ioCanvas, long long inFrame) const {
    for (const descriptor::Point& point : At(inFrame))
        DrawPoint(ioCanvas, mClip, point, AgeColour(point.age));
    const auto key = mKeys.find(inFrame);
    if (key != mKeys.end()) ioCanvas.Outline(key->second, kRectColour, 2.5 * UnitOf(mClip));
}

std::string KeyedPoints::StateOf(long long inFrame) const {
    if (mKeys.empty()) return "draw a rectangle around points";
    if (inFrame < mKeys.begin()->first) return "before the first rectangle";
    if (inFrame >= mNext) return "not yet followed to here";
    return std::to_string(At(inFrame).size()) + " points";
}

}  // namespace Host
