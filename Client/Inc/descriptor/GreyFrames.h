// GreyFrames: frames in grey, as the trackers see them.

#pragma once

#include "descriptor/Frame.h"
#include "descriptor/Source.h"
#include "descriptor/detail/GreyImages.h"

namespace descriptor {

/// Turns frames grey, 0 to 255, by Rec. 601. Frames that are grey stay as they are, but for
/// their type. Numbered frames of a named source are kept in the library's cache: the next
/// one who asks for them gets the same pixels, and the frame given is not read.
///
/// Ownership: a returned frame shares its pixels with the library and keeps them alive.
/// Threads: any number of threads may ask one object at the same time.
/// Errors: `ArgumentError` for a frame that cannot be.
class GreyFrames {
public:
    /// For the frames of a source.
    explicit GreyFrames(const Source& inSource = {}) : mBytes(inSource), mFloats(inSource) {}

    /// 8 bits a pixel.
    Frame grey8(const Frame& inFrame) const {
        return detail::frame_of(mBytes.of(inFrame), inFrame);
    }
    /// A float a pixel.
    Frame grey_float(const Frame& inFrame) const {
        return detail::frame_of(mFloats.of(inFrame), inFrame);
    }

private:
    detail::GreyImages<unsigned char> mBytes;
    detail::GreyImages<float> mFloats;
};

}  // namespace descriptor
