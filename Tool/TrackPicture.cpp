#include "TrackPicture.h"

#include <algorithm>
#include <cmath>

namespace Host {
namespace {

constexpr double kOldAge = 100.0;

// The trail fades toward its old end. Places that are near to each other are drawn as one: a
// piece of a few pixels cannot be told from its parts, which would be drawn over each other.
void DrawTrail(Canvas& ioCanvas, const Box& inWhere, double inScaleX, double inScaleY,
               const TrackHistory::Trail& inTrail) {
    const Colour colour = AgeColour(inTrail.mAge);
    const double unit = UnitOf(inWhere);
    const auto& places = inTrail.mPlaces;
    const auto place = [&](std::size_t inIndex) {
        return Point{inWhere.mX + (places[inIndex].mX + 0.5) * inScaleX,
                     inWhere.mY + (places[inIndex].mY + 0.5) * inScaleY};
    };
    Point from = place(0);
    for (std::size_t i = 1; i < places.size(); ++i) {
        const Point to = place(i);
        const bool isLast = i + 1 == places.size();
        if (!isLast && std::hypot(to.mX - from.mX, to.mY - from.mY) < 3.0 * unit) continue;
        const double alpha = 0.15 + 0.75 * double(i) / double(places.size());
        ioCanvas.Line(from, to, 1.6 * unit, colour, alpha, inWhere);
        from = to;
    }
    ioCanvas.Dot(place(places.size() - 1), 2.0 * unit, colour, inWhere);
}

// A bar of the colours with the ages that they stand for.
void DrawKey(Canvas& ioCanvas, const Box& inWhere) {
    constexpr unsigned kAges[] = {0, 3, 10, 30, 100};
    const double unit = UnitOf(inWhere);
    const double cell = 46.0 * unit, x = inWhere.mX + 8.0 * unit;
    const double y = inWhere.Bottom() - 14.0 * unit;
    for (int i = 0; i < 5; ++i) {
        ioCanvas.SetColour(AgeColour(kAges[i]));
        cairo_rectangle(ioCanvas.Cairo(), x + i * cell, y, cell - 2.0 * unit, 6.0 * unit);
        cairo_fill(ioCanvas.Cairo());
        const std::string age = std::to_string(kAges[i]);
        ioCanvas.Label(x + i * cell, y - 20.0 * unit,
                       i == 0   ? "new"
                       : i == 4 ? age + " frames"
                                : age,
                       11.0 * unit);
    }
}

}  // namespace

Colour AgeColour(unsigned inAge) {
    constexpr Colour kStops[] = {{64.0, 156.0, 255.0},
                                 {48.0, 224.0, 200.0},
                                 {150.0, 240.0, 70.0},
                                 {255.0, 214.0, 48.0},
                                 {255.0, 96.0, 214.0}};
    const double share = std::log(1.0 + inAge) / std::log(1.0 + kOldAge);
    const double at = std::min(share, 1.0) * 4.0;
    const int stop = std::min(int(at), 3);
    return Mix(kStops[stop], kStops[stop + 1], at - stop);
}

void DrawTracks(Canvas& ioCanvas, const Box& inWhere, const Frame& inFrame,
                const TrackView& inView) {
    ioCanvas.DrawFrame(inFrame, inWhere, 0.62);  // so that the points stand out
    const double scaleX = inWhere.mWidth / inFrame.mWidth;
    const double scaleY = inWhere.mHeight / inFrame.mHeight;
    for (const TrackHistory::Trail& trail : inView.mTrails)
        if (!trail.mPlaces.empty()) DrawTrail(ioCanvas, inWhere, scaleX, scaleY, trail);
    const double unit = UnitOf(inWhere);
    ioCanvas.Label(inWhere.mX + 8.0 * unit, inWhere.mY + 8.0 * unit, inView.mTitle, 14.0 * unit,
                   inWhere.mWidth - 16.0 * unit);
    DrawKey(ioCanvas, inWhere);
}

}  // namespace Host
