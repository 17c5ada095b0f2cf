// Tracks: the ways of points through a clip, and as JSON.

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Size.h"
#include "descriptor/client.h"

namespace descriptor_mlt {

/// One point, frame by frame from its first one on.
struct Track {
    int mStart = 0;                             // position of its first frame
    std::vector<descriptor::Position> mPlaces;  // in pixels of the profile, y downward
};

/// All points of a clip. As JSON, which `results` holds:
///
///     {"format": "descriptor-points", "version": 1, "width": 1280, "height": 720,
///      "tracks": [{"start": 0, "places": [[320.5, 180.25], [321, 180]]}]}
///
/// Threads: a plain value.
class Tracks {
public:
    /// The points of one frame; positions come in order.
    void Add(int inPosition, const descriptor::FramePoints& inPoints, const Size& inPicture,
             const Size& inProfile);

    const std::vector<Track>& All() const { return mTracks; }

    std::string ToJson(const Size& inProfile) const;
    /// @throws descriptor::ArgumentError for a text that is none.
    static Tracks FromJson(std::string_view inText);

private:
    std::vector<Track> mTracks;
    std::map<std::int64_t, std::size_t> mById;
};

}  // namespace descriptor_mlt
