#include "Canvas.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "OutputFile.h"
#include "UserError.h"

namespace Host {

Canvas::Canvas(int inWidth, int inHeight)
    : mWidth(inWidth),
      mHeight(inHeight),
      mSurface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, inWidth, inHeight)),
      mCairo(cairo_create(mSurface.get())) {
    if (cairo_status(mCairo.get()) != CAIRO_STATUS_SUCCESS)
        throw UserError("a picture of " + std::to_string(inWidth) + "x" +
                        std::to_string(inHeight) + " is too large to draw on");
}

const std::uint8_t* Canvas::Pixels() const {
    cairo_surface_flush(mSurface.get());
    return cairo_image_surface_get_data(mSurface.get());
}

int Canvas::Stride() const { return cairo_image_surface_get_stride(mSurface.get()); }

void Canvas::SetColour(const Colour& inColour, double inAlpha) {
    cairo_set_source_rgba(Cairo(), inColour.mRed / 255.0, inColour.mGreen / 255.0,
                          inColour.mBlue / 255.0, inAlpha);
}

void Canvas::Fill(const Colour& inColour) {
    SetColour(inColour);
    cairo_paint(Cairo());
}

void Canvas::DrawPixels(const std::uint8_t* inPixels, int inWidth, int inHeight, int inStride,
                        const Box& inWhere) {
    // Cairo only reads a source; it has no type for that.
    const std::unique_ptr<cairo_surface_t, Deleter> source(cairo_image_surface_create_for_data(
        const_cast<std::uint8_t*>(inPixels), CAIRO_FORMAT_RGB24, inWidth, inHeight, inStride));
    cairo_save(Cairo());
    cairo_translate(Cairo(), inWhere.mX, inWhere.mY);
    cairo_scale(Cairo(), inWhere.mWidth / inWidth, inWhere.mHeight / inHeight);
    cairo_set_source_surface(Cairo(), source.get(), 0.0, 0.0);
    // At its own size a picture keeps its pixels; enlarged pixels stay squares.
    const bool smaller = inWhere.mWidth < inWidth;
    cairo_pattern_t* const pattern = cairo_get_source(Cairo());
    cairo_pattern_set_filter(pattern, smaller ? CAIRO_FILTER_GOOD : CAIRO_FILTER_NEAREST);
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    cairo_rectangle(Cairo(), 0.0, 0.0, inWidth, inHeight);
    cairo_fill(Cairo());
    cairo_restore(Cairo());
}

void Canvas::DrawFrame(const Frame& inFrame, const Box& inWhere, double inShade) {
    const bool isOwnSize =
        inWhere.mWidth == inFrame.mWidth && inWhere.mHeight == inFrame.mHeight;
    const int left = int(inWhere.mX), top = int(inWhere.mY);
    if (!isOwnSize || left + inFrame.mWidth > mWidth || top + inFrame.mHeight > mHeight) {
        DrawPixels(inFrame.mPixels.data(), inFrame.mWidth, inFrame.mHeight, inFrame.RowBytes(),
                   inWhere);
        SetColour({}, 1.0 - inShade);
        cairo_rectangle(Cairo(), inWhere.mX, inWhere.mY, inWhere.mWidth, inWhere.mHeight);
        cairo_fill(Cairo());
        return;
    }
    const auto factor = std::uint16_t(inShade * 256.0 + 0.5);
    const auto bytes = std::size_t(inFrame.RowBytes());
    for (int y = 0; y < inFrame.mHeight; ++y) {
        const std::uint8_t* __restrict const from = inFrame.Pixel(0, y);
        std::uint8_t* __restrict const to =
            MutablePixels() + std::ptrdiff_t(top + y) * Stride() + left * 4;
        if (factor == 256)
            std::memcpy(to, from, bytes);
        else
            for (std::size_t i = 0; i < bytes; ++i)
                to[i] = std::uint8_t((from[i] * factor) >> 8);
    }
    cairo_surface_mark_dirty(mSurface.get());
}

std::uint8_t* Canvas::MutablePixels() {
    cairo_surface_flush(mSurface.get());
    return cairo_image_surface_get_data(mSurface.get());
}

void Canvas::DrawGrey(const std::uint8_t* inGrey, int inWidth, int inHeight,
                      const Box& inWhere) {
    std::vector<std::uint8_t> pixels(std::size_t(inWidth) * std::size_t(inHeight) * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = i % 4 == 3 ? std::uint8_t(255) : inGrey[i / 4];
    DrawPixels(pixels.data(), inWidth, inHeight, inWidth * 4, inWhere);
}

void Canvas::Label(double inX, double inY, const std::string& inText, double inSize,
                   double inMostWidth) {
    cairo_select_font_face(Cairo(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           CAIRO_FONT_WEIGHT_NORMAL);
    const auto width = [&] {
        cairo_set_font_size(Cairo(), inSize);
        cairo_text_extents_t extents;
        cairo_text_extents(Cairo(), inText.c_str(), &extents);
        return extents.x_advance + inSize;
    };
    if (width() > inMostWidth) inSize *= inMostWidth / width();
    SetColour({16.0, 20.0, 24.0}, 0.72);
    cairo_rectangle(Cairo(), inX, inY, width(), inSize * 1.6);
    cairo_fill(Cairo());
    SetColour({255.0, 255.0, 255.0});
    cairo_move_to(Cairo(), inX + inSize * 0.5, inY + inSize * 1.15);
    cairo_show_text(Cairo(), inText.c_str());
}

void Canvas::Outline(const Box& inBox, const Colour& inColour, double inWidth) {
    for (const bool rim : {true, false}) {
        SetColour(rim ? Colour{} : inColour, rim ? 0.6 : 1.0);
        cairo_set_line_width(Cairo(), rim ? inWidth * 2.0 : inWidth);
        cairo_rectangle(Cairo(), inBox.mX, inBox.mY, inBox.mWidth, inBox.mHeight);
        cairo_stroke(Cairo());
    }
}

namespace {

struct Columns {
    int mFrom, mTo;
};

// What of a row of pixels may be near to a line: near to it without its ends.
class NearColumns {
public:
    NearColumns(const Point& inFrom, const Point& inTo, double inReach, const Columns& inAll)
        : mFrom(inFrom), mAll(inAll) {
        const double alongX = inTo.mX - inFrom.mX, alongY = inTo.mY - inFrom.mY;
        mIsFlat = std::abs(alongY) < 1e-3;
        if (mIsFlat) return;
        mSlope = alongX / alongY;
        mReach = inReach * std::sqrt(1.0 + mSlope * mSlope);
    }
    Columns At(double inY) const {
        if (mIsFlat) return mAll;
        const double middle = mFrom.mX + (inY - mFrom.mY) * mSlope;
        return {int(std::clamp<double>(middle - mReach, mAll.mFrom, mAll.mTo)),
                int(std::clamp<double>(middle + mReach + 1.0, mAll.mFrom, mAll.mTo))};
    }

private:
    Point mFrom;
    Columns mAll;
    bool mIsFlat;
    double mSlope = 0.0, mReach = 0.0;
};

void BlendPixel(std::uint8_t* ioPixel, const int* inColour, int inCover) {
    for (int i = 0; i < 3; ++i)
        ioPixel[i] =
            std::uint8_t(ioPixel[i] + (((inColour[i] - ioPixel[i]) * inCover + 128) >> 8));
}

}  // namespace

// A pixel is covered as far as its centre is nearer to the line than half of the width.
void Canvas::Line(const Point& inFrom, const Point& inTo, double inWidth,
                  const Colour& inColour, double inAlpha, const Box& inClip) {
    const double reach = inWidth / 2 + 0.5;
    const Columns all{int(std::max({inClip.mX, 0.0, std::min(inFrom.mX, inTo.mX) - reach})),
                      int(std::min({inClip.Right(), double(mWidth),
                                    std::max(inFrom.mX, inTo.mX) + reach + 1.0}))};
    const int top = int(std::max({inClip.mY, 0.0, std::min(inFrom.mY, inTo.mY) - reach}));
    const int bottom = int(std::min(
        {inClip.Bottom(), double(mHeight), std::max(inFrom.mY, inTo.mY) + reach + 1.0}));
    if (all.mFrom >= all.mTo) return;
    const float alongX = float(inTo.mX - inFrom.mX), alongY = float(inTo.mY - inFrom.mY);
    const float perSquare = 1.0f / std::max(1e-6f, alongX * alongX + alongY * alongY);
    const auto farthest = float(reach), alpha = float(inAlpha * 256.0);
    const float full = std::max(0.0f, farthest - 1.0f);
    const int colour[] = {int(inColour.mBlue), int(inColour.mGreen), int(inColour.mRed)};
    std::uint8_t* const pixels = MutablePixels();
    const std::ptrdiff_t stride = Stride();
    const NearColumns near(inFrom, inTo, reach, all);
    for (int y = top; y < bottom; ++y) {
        const Columns columns = near.At(y + 0.5);
        std::uint8_t* pixel = pixels + y * stride + columns.mFrom * 4;
        const float dy = float(y + 0.5 - inFrom.mY);
        for (int x = columns.mFrom; x < columns.mTo; ++x, pixel += 4) {
            const float dx = float(x + 0.5 - inFrom.mX);
            const float share = std::clamp((dx * alongX + dy * alongY) * perSquare, 0.0f, 1.0f);
            const float awayX = dx - share * alongX, awayY = dy - share * alongY;
            const float away = awayX * awayX + awayY * awayY;
            if (away >= farthest * farthest) continue;
            const float cover = away <= full * full ? 1.0f : farthest - std::sqrt(away);
            BlendPixel(pixel, colour, int(std::min(cover, 1.0f) * alpha));
        }
    }
    cairo_surface_mark_dirty(mSurface.get());
}

void Canvas::Dot(const Point& inCentre, double inRadius, const Colour& inColour,
                 const Box& inClip) {
    Line(inCentre, inCentre, inRadius * 3.0, {}, 0.6, inClip);
    Line(inCentre, inCentre, inRadius * 2.0, inColour, 1.0, inClip);
}

void Canvas::WritePng(const std::string& inFile) const {
    cairo_surface_flush(mSurface.get());
    const OutputFile file(inFile);
    const cairo_status_t status =
        cairo_surface_write_to_png(mSurface.get(), file.PathOfOpenFile().c_str());
    if (status != CAIRO_STATUS_SUCCESS)
        throw UserError("picture '" + inFile +
                        "' cannot be written: " + cairo_status_to_string(status));
}

}  // namespace Host
