#include "Trackers.h"

#include "DP/Tracker.h"
#include "Stopwatch.h"

namespace Host {
namespace {

// The image that a tracker is about to ask for, so that it finds it in the library's cache:
// turning a frame grey is no part of a tracker's time.
void MakeGrey(const descriptor::GreyFrames& inImages, const descriptor::Frame& inFrame,
              bool inAsBytes) {
    if (inFrame.format == descriptor::PixelFormat::grey8) return;
    if (inAsBytes)
        inImages.grey8(inFrame);
    else
        inImages.grey_float(inFrame);
}

// `DP::Tracker` behind the operation of the other trackers: it too would drop every point of
// a frame that repeats the one before, and is not asked then.
class ExportedTracker {
public:
    explicit ExportedTracker(const std::string& inSource)
        : mImages(descriptor::Source(inSource)) {}

    descriptor::FramePoints operator()(const descriptor::Frame& inFrame) {
        const IP::ImagePtr<float> image = mImages.of(inFrame);
        mPoints.is_repeated = descriptor::detail::same_pixels(image, mLastImage);
        mPoints.lost.clear();
        if (mPoints.is_repeated) return mPoints;
        mLastImage = image;
        if (!mTracker)
            mTracker.reset(
                DP::Tracker::CreateTracker(unsigned(inFrame.width), unsigned(inFrame.height)));
        DP::APTFeatureListPtr features;
        mTracker->TrackFeatures(image, unsigned(*inFrame.number), features);
        mBook.update(descriptor::detail::slots_of(*features), false, mPoints);
        return mPoints;
    }

private:
    descriptor::detail::GreyImages<float> mImages;
    IP::ImagePtr<float> mLastImage;
    std::shared_ptr<DP::Tracker> mTracker;
    descriptor::detail::SlotBook mBook;
    descriptor::FramePoints mPoints;
};

Json SettingsOf(const descriptor::PointSettings& inSettings, int inStep) {
    Json json{{"step", inStep},
              {"features", inSettings.points()},
              {"min_features", inSettings.least()}};
    if (inSettings.engine == descriptor::Engine::klt) return json;
    json["min_distance"] = inSettings.distance();
    json["stationary_limit"] = Shortest(inSettings.stationary_limit);
    json["verify"] = inSettings.verify;
    return json;
}

}  // namespace

TimedPoints::TimedPoints(const std::string& inSource,
                         const descriptor::PointSettings& inSettings, int inStep)
    : mName(to_string(inSettings.engine)),
      mSettings(SettingsOf(inSettings, inStep)),
      mImages(descriptor::Source(inSource)) {
    const auto tracker =
        std::make_shared<descriptor::PointTracker>(inSettings, descriptor::Source(inSource));
    mAdvance = [tracker](const descriptor::Frame& inFrame) {
        return tracker->advance(inFrame);
    };
}

TimedPoints::TimedPoints(const std::string& inSource, int inStep)
    : mName("apt-exported"),
      mSettings({{"step", inStep}}),
      mImages(descriptor::Source(inSource)),
      mAdvance([tracker = std::make_shared<ExportedTracker>(inSource)](
                   const descriptor::Frame& inFrame) { return (*tracker)(inFrame); }) {}

const descriptor::FramePoints& TimedPoints::Track(const Frame& inFrame, long long inNumber) {
    const descriptor::Frame frame = TrackerView(inFrame, inNumber);
    MakeGrey(mImages, frame, IsKlt());
    const WorkStopwatch tracking;
    mPoints = mAdvance(frame);
    mSeconds += tracking.Seconds();
    if (!IsHeld()) mFoundIn = inNumber;
    return mPoints;
}

void TimedPoints::TakeFrom(Replay inReplay) {
    mIsReplay = true;
    mAdvance = [inReplay](const descriptor::Frame& inFrame) {
        return inReplay(*inFrame.number);
    };
}

Columns TimedPoints::PointColumns() const {
    const Column status{IsKlt() ? "value" : "status", "code", "see status_codes"};
    const Column mark = IsKlt() ? Column{"id", "number", "of the point, counted over the run"}
                                : Column{"correlation", "-1 to 1",
                                         "with the patch the point was selected with"};
    return {{"slot", "number", "one point until its age starts again"},
            {"x", "pixel", "to the right; 0 is the centre of the first column"},
            {"y", "pixel", "downward; 0 is the centre of the top row"},
            status,
            mark,
            {"age", "frame", "tracked frames since the point was selected"},
            {"dx", "pixel", "the last step"},
            {"dy", "pixel", "the last step"}};
}

Row TimedPoints::PointRow(const descriptor::Point& inPoint) const {
    return {inPoint.slot,
            Shortest(inPoint.x),
            Shortest(inPoint.y),
            StatusCode(inPoint),
            IsKlt() ? Json(inPoint.id) : Json(inPoint.score),
            inPoint.age,
            Shortest(inPoint.dx),
            Shortest(inPoint.dy)};
}

long long TimedPoints::StatusCode(const descriptor::Point& inPoint) const {
    switch (inPoint.status) {
        case descriptor::PointStatus::found:
            return IsKlt() ? (long long)(inPoint.score) : mFoundIn + 1;
        case descriptor::PointStatus::tracked:
            return 0;
        case descriptor::PointStatus::stationary:
            return -1;
        case descriptor::PointStatus::changed:
        case descriptor::PointStatus::unsettled:
            return -3;
        case descriptor::PointStatus::low_correlation:
        case descriptor::PointStatus::out_of_bounds:
            return -4;
        case descriptor::PointStatus::different:
            return -5;
        default:
            return -2;
    }
}

Json TimedPoints::StatusCodes() const {
    if (IsKlt())
        return {{">=1", "selected in this frame; how well it can be tracked"},
                {"0", "carried over from the frame before"},
                {"-2", "lost: too little texture, or its slot went to a new point at once"},
                {"-3", "lost: the search did not settle"},
                {"-4", "lost: left the usable part of the image"},
                {"-5", "lost: nothing looks like it"}};
    return {{">=1", "selected in this frame; the value is its number + 1"},
            {"0", "carried over from the frame before"},
            {"-1", "dropped for not moving"},
            {"-2", "lost: the patch was not found again"},
            {"-3", "lost: differs from its first patch"},
            {"-4", "lost: correlates too little with its first patch"}};
}

TimedRegion::TimedRegion(const std::string& inSource, const Box& inStart,
                         const descriptor::RegionSettings& inSettings)
    : mImages(descriptor::Source(inSource)),
      mTracker(ToRect(inStart), inSettings, descriptor::Source(inSource)) {}

const descriptor::RegionResult& TimedRegion::Track(const Frame& inFrame, long long inNumber) {
    const descriptor::Frame frame = TrackerView(inFrame, inNumber);
    MakeGrey(mImages, frame, false);
    const WorkStopwatch tracking;
    mTracker.advance(frame);
    mSeconds += tracking.Seconds();
    return mTracker.result();
}

}  // namespace Host
