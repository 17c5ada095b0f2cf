// FFmpeg's frames as frames. Needs libavutil; nothing else here does.
//
// Decoders mostly give planes of YUV: those go through libswscale first, to BGRA or GRAY8.

#pragma once

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libavutil/rational.h>
}

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "descriptor/Frame.h"

namespace descriptor {

namespace detail {

/// FFmpeg's floats run from 0 to 1.
inline Frame scaled_to_255(const AVFrame& inFrame, Frame ioFrame) {
    const auto values = std::make_shared<std::vector<float>>();
    for (int row = 0; row < inFrame.height; ++row) {
        const auto* const line = reinterpret_cast<const float*>(
            inFrame.data[0] + std::ptrdiff_t{row} * inFrame.linesize[0]);
        for (int column = 0; column < inFrame.width; ++column)
            values->push_back(line[column] * 255.0f);
    }
    ioFrame.pixels = values->data();
    ioFrame.stride = 0;
    ioFrame.owner = values;
    return ioFrame;
}

}  // namespace detail

/// A frame that shares a decoded frame's pixels and keeps them alive, whichever way up it is
/// stored: BGRA, RGBA, BGR24, RGB24 (and the first two without alpha), GRAY8; GRAYF32 is
/// copied, from 0..1 to 0..255.
///
/// @param inTimeBase  the stream's: the frame's time is its best-effort time stamp in it.
///        Without one, that of the frame itself, if it has one.
/// @throws ArgumentError for another format.
inline Frame frame_of(const AVFrame& inFrame, AVRational inTimeBase = {0, 1}) {
    Frame frame{.pixels = inFrame.data[0],
                .width = inFrame.width,
                .height = inFrame.height,
                .stride = inFrame.linesize[0]};
    if (inTimeBase.num == 0) inTimeBase = inFrame.time_base;
    const std::int64_t stamp = inFrame.best_effort_timestamp != AV_NOPTS_VALUE
                                   ? inFrame.best_effort_timestamp
                                   : inFrame.pts;
    if (stamp != AV_NOPTS_VALUE && inTimeBase.num > 0 && inTimeBase.den > 0)
        frame.time = static_cast<double>(stamp) * av_q2d(inTimeBase);
    switch (inFrame.format) {
        case AV_PIX_FMT_BGRA:
        case AV_PIX_FMT_BGR0:
            frame.format = PixelFormat::bgra;
            break;
        case AV_PIX_FMT_RGBA:
        case AV_PIX_FMT_RGB0:
            frame.format = PixelFormat::rgba;
            break;
        case AV_PIX_FMT_BGR24:
            frame.format = PixelFormat::bgr;
            break;
        case AV_PIX_FMT_RGB24:
            frame.format = PixelFormat::rgb;
            break;
        case AV_PIX_FMT_GRAY8:
            frame.format = PixelFormat::grey8;
            break;
        case AV_PIX_FMT_GRAYF32:
            frame.format = PixelFormat::grey_float;
            return detail::scaled_to_255(inFrame, frame);
        default: {
            const char* const name =
                av_get_pix_fmt_name(static_cast<AVPixelFormat>(inFrame.format));
            throw ArgumentError("frame.format", std::string(name ? name : "this") +
                                                    " goes through libswscale first, to BGRA");
        }
    }
    // Frames whose buffers nobody counts stay the caller's.
    if (inFrame.buf[0]) {
        AVFrame* const clone = av_frame_clone(&inFrame);
        if (!clone) throw std::bad_alloc();
        frame.owner =
            std::shared_ptr<AVFrame>(clone, [](AVFrame* ioFrame) { av_frame_free(&ioFrame); });
    }
    return frame;
}

}  // namespace descriptor
