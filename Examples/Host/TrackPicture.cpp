#include "TrackPicture.h"

#include <algorithm>
#include <cmath>

namespace Host {
namespace {

constexpr double kOldAge = 100.0;

// The trail fades toward its old end: each piece is drawn for itself.
void DrawTrail(Canvas& ioCanvas, const TrackHistory::Trail& inTrail) {
    const Colour colour = AgeColour(inTrail.mAge);
    const auto& places = inTrail.mPlaces;
    cairo_t* const cairo = ioCanvas.Cairo();
    cairo_set_line_width(cairo, 1.6);
    for (std::size_t i = 1; i < places.size(); ++i) {
        ioCanvas.SetColour(colour, 0.15 + 0.75 * double(i) / double(places.size()));
        cairo_move_to(cairo, places[i - 1].mX + 0.5, places[i - 1].mY + 0.5);
        cairo_line_to(cairo, places[i].mX + 0.5, places[i].mY + 0.5);
        cairo_stroke(cairo);
    }
    ioCanvas.Dot(places.back().mX + 0.5, places.back().mY + 0.5, 1.9, colour);
}

// A bar of the colours with the ages that they stand for.
void DrawKey(Canvas& ioCanvas, const Box& inWhere) {
    constexpr double kWidth = 120.0;
    const double x = inWhere.mX + 8.0;
    const double y = inWhere.Bottom() - 14.0;
    for (int i = 0; i < 60; ++i) {
        ioCanvas.SetColour(AgeColour(unsigned(i * kOldAge / 60.0)));
        cairo_rectangle(ioCanvas.Cairo(), x + i * kWidth / 60.0, y, kWidth / 60.0 + 0.5, 6.0);
        cairo_fill(ioCanvas.Cairo());
    }
    ioCanvas.Label(x, y - 20.0, "new", 11.0);
    ioCanvas.Label(x + kWidth - 62.0, y - 20.0, "100 frames", 11.0);
}

}  // namespace

Colour AgeColour(unsigned inAge) {
    constexpr Colour kStops[] = {{64.0, 156.0, 255.0},
                                 {48.0, 224.0, 200.0},
                                 {150.0, 240.0, 70.0},
                                 {255.0, 214.0, 48.0},
                                 {255.0, 96.0, 214.0}};
    const double at = std::min(double(inAge) / kOldAge, 1.0) * 4.0;
    const int stop = std::min(int(at), 3);
    return Mix(kStops[stop], kStops[stop + 1], at - stop);
}

void DrawTracks(Canvas& ioCanvas, const Box& inWhere, const Frame& inFrame,
                const TrackHistory& inHistory, const std::string& inTitle) {
    cairo_t* const cairo = ioCanvas.Cairo();
    ioCanvas.DrawFrame(inFrame, inWhere);
    ioCanvas.SetColour({0.0, 0.0, 0.0}, 0.38);  // so that the points stand out
    cairo_rectangle(cairo, inWhere.mX, inWhere.mY, inWhere.mWidth, inWhere.mHeight);
    cairo_fill(cairo);

    cairo_save(cairo);
    cairo_rectangle(cairo, inWhere.mX, inWhere.mY, inWhere.mWidth, inWhere.mHeight);
    cairo_clip(cairo);
    cairo_translate(cairo, inWhere.mX, inWhere.mY);
    cairo_scale(cairo, inWhere.mWidth / inFrame.mWidth, inWhere.mHeight / inFrame.mHeight);
    for (const TrackHistory::Trail& trail : inHistory.Trails())
        if (!trail.mPlaces.empty()) DrawTrail(ioCanvas, trail);
    cairo_restore(cairo);

    ioCanvas.Label(inWhere.mX + 8.0, inWhere.mY + 8.0, inTitle);
    DrawKey(ioCanvas, inWhere);
}

}  // namespace Host
