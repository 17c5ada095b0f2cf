// The border of a mask as poly-lines, and as SVG.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "descriptor/Frame.h"

namespace descriptor {

/// A closed line; the last point is joined to the first.
using Polyline = std::vector<Position>;

namespace detail {

/// Walks along the edges between pixels, the mask on the right hand. Pixels that touch at a
/// corner alone are two shapes.
class OutlineWalk {
public:
    explicit OutlineWalk(const Frame& inMask)
        : mStride(inMask.width + 1),
          mEdges(std::size_t(inMask.width + 1) * std::size_t(inMask.height + 1)) {
        const auto isSet = [&](int inX, int inY) {
            return inX >= 0 && inY >= 0 && inX < inMask.width && inY < inMask.height &&
                   inMask.row(inY)[inX] > 127;
        };
        for (int y = 0; y < inMask.height; ++y)
            for (int x = 0; x < inMask.width; ++x) {
                if (!isSet(x, y)) continue;
                if (!isSet(x, y - 1)) add(x, y, 0);
                if (!isSet(x + 1, y)) add(x + 1, y, 1);
                if (!isSet(x, y + 1)) add(x + 1, y + 1, 2);
                if (!isSet(x - 1, y)) add(x, y + 1, 3);
            }
    }

    std::vector<Polyline> lines() {
        std::vector<Polyline> lines;
        for (std::size_t at = 0; at < mEdges.size(); ++at)
            while (mEdges[at] != 0)
                lines.push_back(walk_from(at));
        return lines;
    }

private:
    // Directions: 0 right, 1 down, 2 left, 3 up. Each corner has a bit for each that leaves.
    void add(int inX, int inY, int inDirection) {
        mEdges[std::size_t(inY) * std::size_t(mStride) + std::size_t(inX)] |=
            static_cast<std::uint8_t>(1 << inDirection);
    }

    // Back at the start it is done, unless it came to a corner of two shapes by the other.
    Polyline walk_from(std::size_t inStart) {
        Polyline line;
        std::size_t at = inStart;
        int direction = -1;
        do {
            const int next = leave(at, direction);
            if (next != direction) line.push_back(place(at));
            direction = next;
            const std::ptrdiff_t steps[] = {1, mStride, -1, -mStride};
            at = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(at) + steps[direction]);
        } while (at != inStart || (mEdges[at] & (1 << (direction + 1) % 4)) != 0);
        return line;
    }

    // Where the walk goes on: right if it can, then straight, then left; it never comes there
    // again. The first step takes any.
    int leave(std::size_t inAt, int inDirection) {
        const std::array<int, 4> order{inDirection + 1, inDirection, inDirection + 3,
                                       inDirection + 2};
        for (const int candidate : order) {
            const int direction = (candidate + 4) % 4;
            const auto bit = static_cast<std::uint8_t>(1 << direction);
            if ((mEdges[inAt] & bit) == 0) continue;
            mEdges[inAt] = static_cast<std::uint8_t>(mEdges[inAt] & ~bit);
            return direction;
        }
        return 0;
    }
    Position place(std::size_t inAt) const {
        const std::size_t row = inAt / std::size_t(mStride);
        return {double(inAt % std::size_t(mStride)) - 0.5, double(row) - 0.5};
    }

    int mStride;
    std::vector<std::uint8_t> mEdges;
};

}  // namespace detail

/// The border of a mask (8-bit, set above 127) along the edges of its pixels: closed lines,
/// clockwise round the mask and anticlockwise round its holes. Coordinates are those of
/// `Position`, so that corners lie at halves.
/// @throws ArgumentError for another format.
inline std::vector<Polyline> outline_of(const Frame& inMask) {
    check(inMask);
    if (inMask.format != PixelFormat::grey8)
        throw ArgumentError("mask.format", "must be grey8");
    return detail::OutlineWalk(inMask).lines();
}

/// The same as the `d` of an SVG path whose unit is a pixel, (0, 0) the picture's corner;
/// holes want the rule "evenodd".
inline std::string svg_path(const std::vector<Polyline>& inOutline) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    for (const Polyline& line : inOutline) {
        for (std::size_t i = 0; i < line.size(); ++i)
            text << (i == 0 ? "M" : "L") << line[i].x + 0.5 << " " << line[i].y + 0.5;
        text << "Z";
    }
    return text.str();
}

/// A whole SVG picture of it.
inline std::string to_svg(const std::vector<Polyline>& inOutline, int inWidth, int inHeight) {
    const std::string size =
        std::to_string(inWidth) + "\" height=\"" + std::to_string(inHeight);
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + size + "\" viewBox=\"0 0 " +
           std::to_string(inWidth) + " " + std::to_string(inHeight) +
           "\"><path fill-rule=\"evenodd\" d=\"" + svg_path(inOutline) + "\"/></svg>\n";
}

}  // namespace descriptor
