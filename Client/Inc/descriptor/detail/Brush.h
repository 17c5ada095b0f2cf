// Draws strokes into stroke images.

#pragma once

#include <algorithm>
#include <cmath>

#include "descriptor/Stroke.h"
#include "descriptor/detail/Pixels.h"

namespace descriptor::detail {

/// Where strokes are, 255 each: the library takes one image a side.
struct StrokeImages {
    StrokeImages(int inWidth, int inHeight)
        : mForeground(new_image<unsigned char>(inWidth, inHeight)),
          mBackground(new_image<unsigned char>(inWidth, inHeight)) {
        std::fill_n(mForeground->GetData(), pixel_count(*mForeground), std::uint8_t{0});
        std::fill_n(mBackground->GetData(), pixel_count(*mBackground), std::uint8_t{0});
    }

    void draw(const Stroke& inStroke) {
        const std::vector<Position>& path = inStroke.path;
        for (std::size_t i = 0; i < path.size(); ++i)
            draw_line(path[i > 0 ? i - 1 : 0], path[i], inStroke.radius, inStroke.label);
    }

    IP::ImagePtr<unsigned char> mForeground;
    IP::ImagePtr<unsigned char> mBackground;

private:
    // Pixels no farther from the line between two points than the radius.
    void draw_line(Position inFrom, Position inTo, double inRadius, Label inLabel) {
        const auto range = [&](double inA, double inB, int inSize) {
            const double low = std::ceil(std::min(inA, inB) - inRadius);
            const double high = std::floor(std::max(inA, inB) + inRadius);
            return std::pair(static_cast<int>(std::clamp(low, 0.0, double(inSize))),
                             static_cast<int>(std::clamp(high, -1.0, double(inSize - 1))));
        };
        const int columns = mForeground->GetColumns();
        const auto [left, right] = range(inFrom.x, inTo.x, columns);
        const auto [top, bottom] = range(inFrom.y, inTo.y, mForeground->GetRows());
        unsigned char* const mine =
            (inLabel == Label::foreground ? mForeground : mBackground)->GetData();
        unsigned char* const other =
            (inLabel == Label::foreground ? mBackground : mForeground)->GetData();
        for (int y = top; y <= bottom; ++y)
            for (int x = left; x <= right; ++x) {
                if (!is_near(inFrom, inTo, x, y, inRadius)) continue;
                const std::size_t at = std::size_t(y) * std::size_t(columns) + std::size_t(x);
                mine[at] = 255;
                other[at] = 0;
            }
    }

    static bool is_near(Position inFrom, Position inTo, double inX, double inY,
                        double inRadius) {
        const double lineX = inTo.x - inFrom.x;
        const double lineY = inTo.y - inFrom.y;
        const double x = inX - inFrom.x;
        const double y = inY - inFrom.y;
        const double length = lineX * lineX + lineY * lineY;
        const double along =
            length > 0.0 ? std::clamp((x * lineX + y * lineY) / length, 0.0, 1.0) : 0.0;
        const double awayX = x - along * lineX;
        const double awayY = y - along * lineY;
        return awayX * awayX + awayY * awayY <= inRadius * inRadius;
    }
};

}  // namespace descriptor::detail
