// A frame's pixels in the forms that the library takes.

#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "descriptor/Frame.h"
#include "image/IPImage.h"

namespace descriptor::detail {

template <class T>
std::size_t pixel_count(const IP::Image<T>& inImage) {
    return static_cast<std::size_t>(inImage.GetColumns()) *
           static_cast<std::size_t>(inImage.GetRows());
}

template <class T>
IP::ImagePtr<T> new_image(int inWidth, int inHeight) {
    auto image = TVK::MakeObject<IP::Image<T>>(inWidth, inHeight);
    if (!image->GetData()) throw std::bad_alloc();
    return image;
}

template <class T>
IP::ImagePtr<T> copy_image(const IP::Image<T>& inImage) {
    auto image = new_image<T>(inImage.GetColumns(), inImage.GetRows());
    std::copy_n(inImage.GetData(), pixel_count(inImage), image->GetData());
    return image;
}

template <class T>
bool same_pixels(const IP::ImagePtr<T>& inFirst, const IP::ImagePtr<T>& inSecond) {
    return inFirst != NULL && inSecond != NULL &&
           inFirst->GetColumns() == inSecond->GetColumns() &&
           inFirst->GetRows() == inSecond->GetRows() &&
           std::memcmp(inFirst->GetData(), inSecond->GetData(),
                       pixel_count(*inFirst) * sizeof(T)) == 0;
}

inline bool is_grey(const Frame& inFrame) {
    return inFrame.format == PixelFormat::grey8 || inFrame.format == PixelFormat::grey_float;
}

/// A row of floats, whatever its alignment.
inline void read_floats(const Frame& inFrame, int inRow, float* outValues) {
    std::memcpy(outValues, inFrame.row(inRow),
                static_cast<std::size_t>(inFrame.width) * sizeof(float));
    for (int x = 0; x < inFrame.width; ++x)
        if (!std::isfinite(outValues[x]))
            throw ArgumentError("frame.pixels", "the value at (" + std::to_string(x) + ", " +
                                                    std::to_string(inRow) +
                                                    ") is not a finite number");
}

/// 0 to 255, the nearest whole number.
inline unsigned char to_byte(float inValue) {
    return static_cast<unsigned char>(std::clamp(inValue, 0.0f, 255.0f) + 0.5f);
}

/// The 8-bit image of a grey frame.
inline IP::ImagePtr<unsigned char> bytes_of_grey(const Frame& inFrame) {
    const auto image = new_image<unsigned char>(inFrame.width, inFrame.height);
    const auto width = static_cast<std::size_t>(inFrame.width);
    std::vector<float> values(inFrame.format == PixelFormat::grey_float ? width : 0);
    for (int row = 0; row < inFrame.height; ++row) {
        unsigned char* const out = image->GetData() + static_cast<std::size_t>(row) * width;
        if (values.empty()) {
            std::memcpy(out, inFrame.row(row), width);
        } else {
            read_floats(inFrame, row, values.data());
            std::transform(values.begin(), values.end(), out, to_byte);
        }
    }
    return image;
}

/// The float image of a grey frame.
inline IP::ImagePtr<float> floats_of_grey(const Frame& inFrame) {
    const auto image = new_image<float>(inFrame.width, inFrame.height);
    const auto width = static_cast<std::size_t>(inFrame.width);
    for (int row = 0; row < inFrame.height; ++row) {
        float* const out = image->GetData() + static_cast<std::size_t>(row) * width;
        if (inFrame.format == PixelFormat::grey_float)
            read_floats(inFrame, row, out);
        else
            std::copy_n(inFrame.row(row), width, out);
    }
    return image;
}

/// Writes a row as BGRA.
inline void write_bgra_row(const Frame& inFrame, int inRow, unsigned char* outRow) {
    const unsigned char* in = inFrame.row(inRow);
    const int step = bytes_per_pixel(inFrame.format);
    if (inFrame.format == PixelFormat::bgra) {
        std::memcpy(outRow, in, static_cast<std::size_t>(inFrame.width) * 4);
        return;
    }
    const bool isRedFirst =
        inFrame.format == PixelFormat::rgba || inFrame.format == PixelFormat::rgb;
    for (int x = 0; x < inFrame.width; ++x, in += step, outRow += 4) {
        outRow[0] = in[isRedFirst ? 2 : 0];
        outRow[1] = in[1];
        outRow[2] = in[isRedFirst ? 0 : 2];
        outRow[3] = step == 4 ? in[3] : 255;
    }
}

/// BGRA without gaps, and one byte more.
///
/// The selection takes a pixel's last sample from the byte behind the pixel, and so reads
/// one behind the last pixel of the frame. Here that byte is the last pixel's blue, as if
/// the pixel stood there once more: no result depends on what lies behind a frame.
inline std::vector<unsigned char> bgra_with_end(const Frame& inFrame) {
    const auto width = static_cast<std::size_t>(inFrame.width);
    const auto height = static_cast<std::size_t>(inFrame.height);
    std::vector<unsigned char> pixels(width * height * 4 + 1);
    const IP::ImagePtr<unsigned char> grey =
        is_grey(inFrame) ? bytes_of_grey(inFrame) : IP::ImagePtr<unsigned char>();
    for (std::size_t row = 0; row < height; ++row) {
        unsigned char* out = pixels.data() + row * width * 4;
        if (grey == NULL) {
            write_bgra_row(inFrame, static_cast<int>(row), out);
            continue;
        }
        const unsigned char* in = grey->GetData() + row * width;
        for (std::size_t x = 0; x < width; ++x, ++in, out += 4) {
            std::fill_n(out, 3, *in);
            out[3] = 255;
        }
    }
    pixels.back() = pixels[pixels.size() - 5];
    return pixels;
}

/// A frame that shares an image of the library and keeps it alive.
template <class T>
Frame frame_of(const IP::ImagePtr<T>& inImage, const Frame& inLike) {
    const auto owner = std::make_shared<IP::ImagePtr<T>>(inImage);
    return {.pixels = inImage->GetData(),
            .format = sizeof(T) == 1 ? PixelFormat::grey8 : PixelFormat::grey_float,
            .width = inImage->GetColumns(),
            .height = inImage->GetRows(),
            .time = inLike.time,
            .number = inLike.number,
            .owner = owner};
}

}  // namespace descriptor::detail
