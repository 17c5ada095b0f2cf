#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Filters.h"
#include "Paint.h"
#include "Sequence.h"
#include "Service.h"
#include "Tracks.h"

namespace descriptor_mlt {
namespace {

// A first pass under way, and what it is for.
struct PointsAnalysis {
    PointsAnalysis(int inCount, const Size& inPicture, const Size& inProfile,
                   const descriptor::PointSettings& inSettings)
        : mCount(inCount), mPicture(inPicture), mProfile(inProfile), mTracker(inSettings) {}

    bool IsFor(int inCount, const Size& inPicture, const Size& inProfile,
               const descriptor::PointSettings& inSettings) const {
        const descriptor::PointSettings& settings = mTracker.settings();
        return inCount == mCount && inPicture == mPicture && inProfile == mProfile &&
               settings.max_points == inSettings.max_points &&
               settings.min_distance == inSettings.min_distance &&
               settings.round_trip == inSettings.round_trip;
    }

    int mCount;
    Size mPicture;
    Size mProfile;
    descriptor::PointTracker mTracker;
    Sequence mSequence;
    Tracks mTracks;
};

class PointsFilter final : public Service {
public:
    void Work(const Request& inRequest, Picture& ioPicture) override {
        if (const char* results = mlt_properties_get(inRequest.mProperties, "results");
            results && *results) {
            Draw(inRequest, *Parsed(results), ioPicture);
            return;
        }
        const descriptor::Frame grey = ioPicture.Grey();
        const std::scoped_lock lock(mMutex);
        Analyse(inRequest, grey);
        Draw(inRequest, mAnalysis->mTracks, ioPicture);
        if (mAnalysis->mSequence.Next() < inRequest.mCount) return;
        const std::string results = mAnalysis->mTracks.ToJson(inRequest.mProfile);
        mlt_properties_set(inRequest.mProperties, "results", results.c_str());
        mAnalysis.reset();
    }

private:
    void Analyse(const Request& inRequest, const descriptor::Frame& inGrey) {
        const mlt_properties properties = inRequest.mProperties;
        descriptor::PointSettings settings;
        settings.max_points = mlt_properties_get_int(properties, "points");
        settings.min_distance = mlt_properties_get_int(properties, "min_distance");
        settings.round_trip = mlt_properties_get_double(properties, "round_trip");
        const Size picture{inGrey.width, inGrey.height};
        if (!mAnalysis ||
            !mAnalysis->IsFor(inRequest.mCount, picture, inRequest.mProfile, settings))
            mAnalysis.emplace(inRequest.mCount, picture, inRequest.mProfile, settings);
        const bool isInTime = mAnalysis->mSequence.Take(
            inRequest.mPosition, inGrey, [&](int inAt, const descriptor::Frame& inFrame) {
                descriptor::FramePoints points = mAnalysis->mTracker.advance(inFrame);
                // Who does not come back is on something else.
                std::erase_if(points.live,
                              [](const auto& inPoint) { return !inPoint.came_back; });
                mAnalysis->mTracks.Add(inAt, points, picture, inRequest.mProfile);
            });
        if (!isInTime) Say(inRequest, MissingFrame(mAnalysis->mSequence.Next()));
    }

    std::shared_ptr<const Tracks> Parsed(const char* inResults) {
        const std::scoped_lock lock(mMutex);
        if (!mParsed || mText != inResults) {
            mParsed = std::make_shared<const Tracks>(Tracks::FromJson(inResults));
            mText = inResults;
        }
        return mParsed;
    }

    static void Draw(const Request& inRequest, const Tracks& inTracks,
                     const Picture& ioPicture) {
        const mlt_properties properties = inRequest.mProperties;
        const int trail = std::max(0, mlt_properties_get_int(properties, "trail"));
        const double width = mlt_properties_get_double(properties, "width");
        if (!(width > 0)) return;
        const double scale = double(ioPicture.Width()) / inRequest.mProfile.mWidth;
        const double tall = double(ioPicture.Height()) / inRequest.mProfile.mHeight;
        const mlt_color colour = mlt_properties_get_color(properties, "color");
        std::vector<descriptor::Position> line;
        for (const Track& track : inTracks.All()) {
            const int last = inRequest.mPosition - track.mStart;
            if (last < 0 || last >= static_cast<int>(track.mPlaces.size())) continue;
            line.clear();
            for (int i = std::max(0, last - trail); i <= last; ++i) {
                const descriptor::Position& place = track.mPlaces[static_cast<std::size_t>(i)];
                line.push_back({(place.x + 0.5) * scale, (place.y + 0.5) * tall});
            }
            DrawTrail(ioPicture, line, std::max(1.0, width * scale), colour);
        }
    }

    std::mutex mMutex;
    std::optional<PointsAnalysis> mAnalysis;
    std::string mText;  // of which `mParsed` was made
    std::shared_ptr<const Tracks> mParsed;
};

}  // namespace

mlt_filter MakePoints() {
    const mlt_filter filter = Service::Wrap(std::make_unique<PointsFilter>());
    if (!filter) return nullptr;
    const mlt_properties properties = MLT_FILTER_PROPERTIES(filter);
    mlt_properties_set_int(properties, "points", 300);
    mlt_properties_set_int(properties, "min_distance", 10);
    mlt_properties_set_int(properties, "trail", 10);
    mlt_properties_set_int(properties, "width", 2);
    mlt_properties_set(properties, "color", "0x00ff00ff");
    return filter;
}

}  // namespace descriptor_mlt
