#include "SelectionPicture.h"

#include "descriptor/StrokeMasks.h"

namespace Host {
namespace {

constexpr Colour kForegroundStroke{70.0, 235.0, 110.0};
constexpr Colour kBackgroundStroke{255.0, 60.0, 170.0};
constexpr Colour kOutline{255.0, 236.0, 90.0};

void Blend(std::uint8_t* ioPixel, const Colour& inColour, double inShare) {
    const double samples[] = {inColour.mBlue, inColour.mGreen, inColour.mRed};
    for (int i = 0; i < 3; ++i)
        ioPixel[i] = std::uint8_t(ioPixel[i] + (samples[i] - ioPixel[i]) * inShare + 0.5);
}

// Whether a value differs from one up to so many pixels to the right or below.
template <class ValueAt>
bool IsBorder(int inX, int inY, int inWidth, int inHeight, ValueAt inValueAt, int inThick = 1) {
    const auto value = inValueAt(inX, inY);
    for (int i = 1; i <= inThick; ++i)
        if ((inX + i < inWidth && inValueAt(inX + i, inY) != value) ||
            (inY + i < inHeight && inValueAt(inX, inY + i) != value))
            return true;
    return false;
}

// How many pixels of a picture a fine line has, so that it shows at every size.
int FineLine(const Frame& inPicture) {
    return std::max(
        1, int(UnitOf({0.0, 0.0, double(inPicture.mWidth), double(inPicture.mHeight)})));
}

// Calls `inChange(pixel, x, y)` for each pixel of a copy and draws the copy.
template <class Change>
void DrawChanged(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                 Change inChange) {
    Frame changed = inPicture;
    for (int y = 0; y < changed.mHeight; ++y)
        for (int x = 0; x < changed.mWidth; ++x)
            inChange(changed.Pixel(x, y), x, y);
    ioCanvas.DrawFrame(changed, inWhere);
}

}  // namespace

void DrawSelection(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                   const Mask& inLabels) {
    const int thick = FineLine(inPicture);
    const auto isSelected = [&](int inX, int inY) {
        return inLabels.At(inX, inY) > 127;
    };
    DrawChanged(ioCanvas, inWhere, inPicture, [&](std::uint8_t* ioPixel, int inX, int inY) {
        if (!isSelected(inX, inY)) {
            const double grey = (ioPixel[0] + 2.0 * ioPixel[1] + ioPixel[2]) / 4.0;
            Blend(ioPixel, {grey, grey, grey}, 0.75);
            Blend(ioPixel, {20.0, 26.0, 40.0}, 0.45);
        }
        if (IsBorder(inX, inY, inLabels.mWidth, inLabels.mHeight, isSelected, thick))
            Blend(ioPixel, kOutline, 1.0);
    });
}

void DrawStrokes(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                 const descriptor::Strokes& inStrokes) {
    const double stepX = inWhere.mWidth / inPicture.mWidth;
    const double stepY = inWhere.mHeight / inPicture.mHeight;
    const auto draw = [&](descriptor::Label inLabel, const Colour& inColour) {
        const descriptor::Frame mask =
            descriptor::mask_of(inStrokes, inLabel, inPicture.mWidth, inPicture.mHeight);
        ioCanvas.SetColour(inColour);
        for (const descriptor::Stroke& run : descriptor::strokes_of_mask(mask, inLabel))
            cairo_rectangle(ioCanvas.Cairo(), inWhere.mX + run.path[0].x * stepX,
                            inWhere.mY + run.path[0].y * stepY,
                            (run.path[1].x - run.path[0].x + 1.0) * stepX, stepY);
        cairo_fill(ioCanvas.Cairo());
    };
    draw(descriptor::Label::background, kBackgroundStroke);
    draw(descriptor::Label::foreground, kForegroundStroke);
}

void DrawCutout(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                const Mask& inLabels) {
    const int square = 12 * FineLine(inPicture);
    DrawChanged(ioCanvas, inWhere, inPicture, [&](std::uint8_t* ioPixel, int inX, int inY) {
        if (inLabels.At(inX, inY) > 127) return;
        const bool isDark = (inX / square + inY / square) % 2 != 0;
        Blend(ioPixel, isDark ? Colour{198.0, 198.0, 202.0} : Colour{238.0, 238.0, 240.0}, 1.0);
    });
}

void WriteSelection(Canvas& ioCanvas, const Frame& inPicture, const Mask& inLabels,
                    const OutputOptions& inOutput) {
    const Box whole{0.0, 0.0, double(inPicture.mWidth), double(inPicture.mHeight)};
    ioCanvas.DrawGrey(inLabels.mBytes.data(), inPicture.mWidth, inPicture.mHeight, whole);
    ioCanvas.WritePng(inOutput.Path("labels.png"));
    DrawCutout(ioCanvas, whole, inPicture, inLabels);
    ioCanvas.WritePng(inOutput.Path("cutout.png"));
}

void DrawRegions(Canvas& ioCanvas, const Box& inWhere, const Frame& inPicture,
                 const unsigned* inRegionOfPixels, const Mask& inLabels) {
    const int width = inPicture.mWidth;
    const auto region = [&](int inX, int inY) {
        return inRegionOfPixels[std::size_t(inY) * std::size_t(width) + std::size_t(inX)];
    };
    const int thick = FineLine(inPicture);
    const auto isSelected = [&](int inX, int inY) {
        return inLabels.At(inX, inY) > 127;
    };
    DrawChanged(ioCanvas, inWhere, inPicture, [&](std::uint8_t* ioPixel, int inX, int inY) {
        if (IsBorder(inX, inY, width, inPicture.mHeight, isSelected, thick))
            Blend(ioPixel, kOutline, 1.0);
        else if (IsBorder(inX, inY, width, inPicture.mHeight, region))
            Blend(ioPixel, {0.0, 0.0, 0.0}, 0.5);
    });
}

}  // namespace Host
