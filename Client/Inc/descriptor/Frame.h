// Frame: one picture, wherever its pixels are.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "descriptor/Error.h"

namespace descriptor {

/// How a pixel lies in memory. Four-byte formats have an alpha that nothing reads.
enum class PixelFormat : std::int32_t {
    bgra,        ///< 4 bytes: blue, green, red, alpha
    rgba,        ///< 4 bytes: red, green, blue, alpha
    bgr,         ///< 3 bytes: blue, green, red
    rgb,         ///< 3 bytes: red, green, blue
    grey8,       ///< 1 byte
    grey_float,  ///< a float, 0 to 255; no NaN and no infinity
};

/// "bgra" and so on.
constexpr const char* to_string(PixelFormat inFormat) noexcept {
    constexpr const char* kNames[] = {"bgra", "rgba", "bgr", "rgb", "grey8", "grey_float"};
    return kNames[static_cast<int>(inFormat)];
}

/// Bytes from a pixel to the next.
constexpr int bytes_per_pixel(PixelFormat inFormat) noexcept {
    constexpr int kBytes[] = {4, 4, 3, 3, 1, 4};
    return kBytes[static_cast<int>(inFormat)];
}

/// A rectangle in pixels: (x, y) is its left upper corner and **y counts downward**, as
/// everywhere in this layer. It may leave the picture.
struct Rect {
    double x = 0.0;       ///< left
    double y = 0.0;       ///< upper edge
    double width = 0.0;   ///< to the right
    double height = 0.0;  ///< downward

    /// Side by side.
    friend bool operator==(const Rect&, const Rect&) = default;
};

/// A place in a picture: whole numbers are the middles of pixels, (0, 0) that of the first.
struct Position {
    double x = 0.0;  ///< to the right
    double y = 0.0;  ///< downward

    /// Side by side.
    friend bool operator==(const Position&, const Position&) = default;
};

/// A view of a picture's pixels. Row 0 is the top row.
///
///     descriptor::Frame frame{pixels, descriptor::PixelFormat::rgb, width, height};
///
/// Any stride and any alignment will do. BGRA with a stride of a row or more is handed on as
/// it lies; everything else is converted once, into memory of this layer.
///
/// Ownership: whoever made the frame keeps its pixels alive; `owner` does that for frames
///   that this layer returns, and may be used by anybody.
/// Threads: a plain value; the pixels are read only.
/// Errors: none here. Whoever takes a frame checks it and throws `ArgumentError`.
struct Frame {
    const void* pixels = nullptr;            ///< the first pixel of the top row
    PixelFormat format = PixelFormat::bgra;  ///< of each pixel
    int width = 0;                           ///< in pixels, 1 to 65535
    int height = 0;                          ///< in pixels, 1 to 65535
    std::ptrdiff_t stride =
        0;  ///< bytes to the row below; 0: no gap; negative: stored upside down
    std::optional<double> time = {};          ///< when it is shown, in seconds
    std::optional<std::int64_t> number = {};  ///< in its clip; without one, users count
    std::shared_ptr<const void> owner = {};   ///< keeps the pixels alive, where it is set

    /// Bytes from a row to the row below, as they are meant.
    std::ptrdiff_t row_bytes() const noexcept {
        return stride != 0 ? stride : std::ptrdiff_t{width} * bytes_per_pixel(format);
    }
    /// The first byte of a row.
    const unsigned char* row(int inRow) const noexcept {
        return static_cast<const unsigned char*>(pixels) + inRow * row_bytes();
    }
};

/// @throws ArgumentError for a frame that cannot be: no pixels, no size, rows that overlap.
inline void check(const Frame& inFrame) {
    const auto refuse = [](const char* inName, const std::string& inText) {
        throw ArgumentError(inName, inText);
    };
    if (!inFrame.pixels) refuse("frame.pixels", "there are none");
    if (static_cast<unsigned>(inFrame.format) > 5u) refuse("frame.format", "there is no such");
    detail::check_range("frame.width", inFrame.width, 1, 65535);
    detail::check_range("frame.height", inFrame.height, 1, 65535);
    const std::ptrdiff_t row = std::ptrdiff_t{inFrame.width} * bytes_per_pixel(inFrame.format);
    const std::ptrdiff_t stride = inFrame.row_bytes();
    if ((stride < 0 ? -stride : stride) < row)
        refuse("frame.stride", std::to_string(stride) + " is less than a row, " +
                                   std::to_string(row) + " bytes");
    if (std::int64_t{inFrame.width} * inFrame.height > INT32_MAX)
        refuse("frame.height", "more than 2147483647 pixels in all");
}

}  // namespace descriptor
