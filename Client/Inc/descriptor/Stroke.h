// Stroke: what a user draws to say what belongs to the foreground.

#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "descriptor/Frame.h"

namespace descriptor {

/// Which side a stroke is for.
enum class Label : std::int32_t {
    foreground,  ///< belongs to the selection
    background,  ///< does not
};

/// "foreground" or "background".
constexpr const char* to_string(Label inLabel) noexcept {
    return inLabel == Label::foreground ? "foreground" : "background";
}

/// A line of any number of points, drawn with a round brush: it paints the pixels whose
/// middle is no farther from it than the radius. A line of one point is a disc.
struct Stroke {
    std::vector<Position> path = {};  ///< in the frame's pixels, y downward; may leave it
    double radius = 5.0;              ///< in pixels, 0.5 to 10000
    Label label = Label::foreground;  ///< which side it is for

    /// Side by side.
    friend bool operator==(const Stroke&, const Stroke&) = default;
};

/// Strokes that are drawn together, and undone together. Where two overlap, the later counts.
using Strokes = std::vector<Stroke>;

/// @throws ArgumentError for strokes that cannot be drawn.
inline void check(const Strokes& inStrokes) {
    if (inStrokes.empty()) throw ArgumentError("strokes", "there are none");
    for (std::size_t i = 0; i < inStrokes.size(); ++i) {
        const Stroke& stroke = inStrokes[i];
        const std::string name = std::string("strokes[").append(std::to_string(i)).append("].");
        if (stroke.path.empty()) throw ArgumentError(name + "path", "it has no points");
        for (const Position& point : stroke.path)
            if (!(std::fabs(point.x) <= 1e6) || !(std::fabs(point.y) <= 1e6))
                throw ArgumentError(name + "path", "a point is no number, or beyond a million");
        detail::check_range(name + "radius", stroke.radius, 0.5, 10000.0);
        if (stroke.label != Label::foreground && stroke.label != Label::background)
            throw ArgumentError(name + "label", "there is no such");
    }
}

}  // namespace descriptor
