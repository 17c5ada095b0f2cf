// AVFrames: decoded frames of FFmpeg as worker items take them.
//
//     BGRA             -> item of the grey kinds   shared until the request has returned
//     GRAY8            -> 8-bit or float image     copied: an image owns its pixels alone
//     GRAYF32, 0 to 1  -> float image, 0 to 255    copied
//
// Other formats go through libswscale first. Both sides keep the top row first; a frame that
// is stored upside down has a negative line size, which copies take and shares refuse.

#pragma once

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

#include <cstddef>
#include <stdexcept>

#include "DP/Ref.h"
#include "image/IPImage.h"

namespace Wrappers {

/// Gives a BGRA frame to an item that takes frames: `Item` is the worker item of the grey or
/// the float grey kind. The frame's buffer is shared: hold a reference to it, and write
/// nothing, until the request has returned.
/// @throws std::invalid_argument for another format, and for a frame stored upside down.
template <class Item>
void ShareFrame(const DP::Ref<Item>& ioItem, const AVFrame& inFrame) {
    if (inFrame.format != AV_PIX_FMT_BGRA) throw std::invalid_argument("the frame is not BGRA");
    if (inFrame.linesize[0] < 0) throw std::invalid_argument("the frame is upside down");
    ioItem->SetInputImage(inFrame.data[0], inFrame.height, inFrame.width, inFrame.linesize[0]);
}

namespace detail {

template <class From, class To>
IP::ImagePtr<To> CopyScaled(const AVFrame& inFrame, To inScale) {
    const auto image = TVK::MakeObject<IP::Image<To>>(inFrame.width, inFrame.height);
    To* out = image->GetData();
    for (int row = 0; row < inFrame.height; ++row) {
        const auto* const line = reinterpret_cast<const From*>(
            inFrame.data[0] + std::ptrdiff_t{row} * inFrame.linesize[0]);
        for (int column = 0; column < inFrame.width; ++column)
            *out++ = static_cast<To>(line[column] * inScale);
    }
    return image;
}

}  // namespace detail

/// The 8-bit image of a GRAY8 frame, for the KLT kind.
/// @throws std::invalid_argument for another format.
inline IP::ImagePtr<unsigned char> CopyGrey(const AVFrame& inFrame) {
    if (inFrame.format != AV_PIX_FMT_GRAY8)
        throw std::invalid_argument("the frame is not GRAY8");
    return detail::CopyScaled<unsigned char>(inFrame, static_cast<unsigned char>(1));
}

/// The float image, 0 to 255, of a GRAY8 or GRAYF32 frame, for `DP::Tracker` and the kinds
/// that take floats.
/// @throws std::invalid_argument for another format.
inline IP::ImagePtr<float> CopyFloatGrey(const AVFrame& inFrame) {
    if (inFrame.format == AV_PIX_FMT_GRAY8)
        return detail::CopyScaled<unsigned char>(inFrame, 1.0f);
    if (inFrame.format != AV_PIX_FMT_GRAYF32)
        throw std::invalid_argument("the frame is neither GRAY8 nor GRAYF32");
    return detail::CopyScaled<float>(inFrame, 255.0f);
}

}  // namespace Wrappers
