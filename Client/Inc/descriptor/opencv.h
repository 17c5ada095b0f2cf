// OpenCV's matrices as frames, and back. Needs opencv2/core.hpp; nothing else here does.

#pragma once

#include <memory>
#include <opencv2/core.hpp>

#include "descriptor/Frame.h"

namespace descriptor {

/// A frame that shares the matrix's pixels and keeps them alive: 8 bits with one channel
/// (grey), three (BGR) or four (BGRA), or one channel of floats, 0 to 255. Any stride.
/// @throws ArgumentError for another type.
inline Frame frame_of(const cv::Mat& inMat) {
    PixelFormat format{};
    switch (inMat.type()) {
        case CV_8UC1:
            format = PixelFormat::grey8;
            break;
        case CV_8UC3:
            format = PixelFormat::bgr;
            break;
        case CV_8UC4:
            format = PixelFormat::bgra;
            break;
        case CV_32FC1:
            format = PixelFormat::grey_float;
            break;
        default:
            throw ArgumentError("mat.type", cv::typeToString(inMat.type()) +
                                                " is none of CV_8UC1, CV_8UC3, CV_8UC4 and "
                                                "CV_32FC1");
    }
    if (inMat.dims > 2) throw ArgumentError("mat.dims", "a frame has two");
    return {.pixels = inMat.data,
            .format = format,
            .width = inMat.cols,
            .height = inMat.rows,
            .stride = static_cast<std::ptrdiff_t>(inMat.step[0]),
            .owner = std::make_shared<cv::Mat>(inMat)};
}

/// A matrix of its own with a frame's pixels; RGB and RGBA stay in that order.
inline cv::Mat mat_of(const Frame& inFrame) {
    check(inFrame);
    const int type = inFrame.format == PixelFormat::grey_float
                         ? CV_32FC1
                         : CV_8UC(bytes_per_pixel(inFrame.format));
    cv::Mat mat(inFrame.height, inFrame.width, type);
    for (int row = 0; row < inFrame.height; ++row)
        std::copy_n(inFrame.row(row),
                    std::size_t(inFrame.width) * std::size_t(bytes_per_pixel(inFrame.format)),
                    mat.ptr(row));
    return mat;
}

}  // namespace descriptor
