// A small host: what an editor does with a clip and a filter on it.

#pragma once

#include <framework/mlt.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Support/Box.h"
#include "descriptor/client.h"

namespace Testing {

struct CloseMlt {
    void operator()(mlt_producer inProducer) const { mlt_producer_close(inProducer); }
    void operator()(mlt_filter inFilter) const { mlt_filter_close(inFilter); }
    void operator()(mlt_profile inProfile) const { mlt_profile_close(inProfile); }
    void operator()(mlt_playlist inList) const { mlt_playlist_close(inList); }
    void operator()(mlt_consumer inConsumer) const { mlt_consumer_close(inConsumer); }
};
using Producer = std::unique_ptr<mlt_producer_s, CloseMlt>;
using Filter = std::unique_ptr<mlt_filter_s, CloseMlt>;
using Playlist = std::unique_ptr<mlt_playlist_s, CloseMlt>;
using Consumer = std::unique_ptr<mlt_consumer_s, CloseMlt>;
using Profile = std::unique_ptr<mlt_profile_s, CloseMlt>;

struct Image {
    int mWidth = 0;
    int mHeight = 0;
    std::vector<std::uint8_t> mPixels;
    std::vector<std::uint8_t> mAlpha;  // of rgba
};

/// Opens MLT with this build's module, once for the process.
void OpenMlt();
/// What went to MLT's log since the last call.
std::string TakeLog();

/// The repository's clip on a profile, with the filter on it.
class Clip {
public:
    /// @param inProperties  pairs of the filter; no filter for an empty name.
    explicit Clip(const std::string& inFilter,
                  const std::vector<std::pair<std::string, std::string>>& inProperties = {},
                  int inFramesASecondTimesTwo = 25, int inIn = -1, int inOut = -1);

    int Count() const;
    /// Renders one frame; 0 for the profile's size. Any number of threads may do so at once,
    /// as the workers of a consumer do.
    Image Render(int inPosition, mlt_image_format inFormat = mlt_image_yuv422, int inWidth = 0,
                 int inHeight = 0);
    /// All of them in order, for the first pass.
    void Play();
    /// The same through a consumer, as editors analyse, and paused at a frame if one is given.
    void Consume(int inPauseAt = -1);

    std::string Get(const char* inName) const;
    void Set(const char* inName, const std::string& inValue);
    /// The rectangle of `results` at a position.
    descriptor::Rect Result(int inPosition) const;
    mlt_producer Raw() const { return mProducer.get(); }
    mlt_profile RawProfile() const { return mProfile.get(); }

private:
    Profile mProfile;
    Producer mProducer;
    Filter mFilter;
};

/// Renders a frame of any producer.
Image RenderOf(mlt_producer inProducer, int inPosition, mlt_image_format inFormat, int inWidth,
               int inHeight);

/// What trackers see of a picture in yuv422.
descriptor::Frame LumaOf(const Image& inImage);
/// Shared area by the area of both together.
inline double Overlap(const descriptor::Rect& inA, const descriptor::Rect& inB) {
    const auto box = [](const descriptor::Rect& inRect) {
        return Box{inRect.x, inRect.y, inRect.width, inRect.height};
    };
    return Overlap(box(inA), box(inB));
}

}  // namespace Testing
