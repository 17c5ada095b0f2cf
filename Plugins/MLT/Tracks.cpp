#include "Tracks.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace descriptor_mlt {
namespace {

// Two digits are enough for a pixel. The middle of a pixel is a whole number in both sizes.
double Place(float inAt, int inFrom, int inTo) {
    const double at = (double(inAt) + 0.5) * inTo / inFrom - 0.5;
    return std::round(at * 100) / 100;
}

}  // namespace

void Tracks::Add(int inPosition, const descriptor::FramePoints& inPoints, const Size& inPicture,
                 const Size& inProfile) {
    for (const descriptor::Point& point : inPoints) {
        const auto [entry, isNew] = mById.try_emplace(point.id, mTracks.size());
        if (isNew) mTracks.push_back({inPosition, {}});
        mTracks[entry->second].mPlaces.push_back(
            {Place(point.x, inPicture.mWidth, inProfile.mWidth),
             Place(point.y, inPicture.mHeight, inProfile.mHeight)});
    }
    for (const descriptor::Point& point : inPoints.lost)
        mById.erase(point.id);
}

std::string Tracks::ToJson(const Size& inProfile) const {
    auto tracks = nlohmann::ordered_json::array();
    for (const Track& track : mTracks) {
        auto places = nlohmann::ordered_json::array();
        for (const descriptor::Position& place : track.mPlaces)
            places.push_back({place.x, place.y});
        tracks.push_back({{"start", track.mStart}, {"places", std::move(places)}});
    }
    const nlohmann::ordered_json file{{"format", "descriptor-points"},
                                      {"version", 1},
                                      {"width", inProfile.mWidth},
                                      {"height", inProfile.mHeight},
                                      {"tracks", std::move(tracks)}};
    return file.dump();
}

Tracks Tracks::FromJson(std::string_view inText) {
    try {
        const auto json = nlohmann::json::parse(inText);
        if (json.at("format") != "descriptor-points" || json.at("version") != 1)
            throw descriptor::ArgumentError("results",
                                            "this is no descriptor-points of version 1");
        Tracks tracks;
        for (const nlohmann::json& entry : json.at("tracks")) {
            Track track{entry.at("start").get<int>(), {}};
            for (const nlohmann::json& place : entry.at("places"))
                track.mPlaces.push_back({place.at(0).get<double>(), place.at(1).get<double>()});
            tracks.mTracks.push_back(std::move(track));
        }
        return tracks;
    } catch (const nlohmann::json::exception& error) {
        throw descriptor::ArgumentError("results", error.what());
    }
}

}  // namespace descriptor_mlt
