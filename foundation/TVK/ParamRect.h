// ParamRect: a rectangle of four numbers.

#pragma once

#include "TVK/LanguageCheck.h"

namespace TVK {

/// A plain value. Which way y runs is the convention of whoever takes the rectangle.
///
/// The trackers that take one from the host (KLT, region) count y **upward from the foot
/// of the image**: a value y stands for image row `rows - y`, `mTop` is the smaller
/// number and the edge nearer the foot, `mBottom` the larger and the edge nearer row 0,
/// and the whole picture is (0, 0, columns, rows). Feature positions and pixel addresses
/// count y downward from the top row.
///
/// Ownership: a plain value; shared through `ObjectPtr`, it is read-only.
/// Threads: as for any value.
/// Errors: none; nothing is checked, no side need be smaller than another.
/// Frozen: the four members in this order.
template <class T>
struct ParamRect {
    T mLeft{};    ///< the smaller x
    T mTop{};     ///< the smaller y
    T mRight{};   ///< the larger x
    T mBottom{};  ///< the larger y

    /// Side by side.
    friend constexpr bool operator==(const ParamRect&, const ParamRect&) = default;
};

}  // namespace TVK
