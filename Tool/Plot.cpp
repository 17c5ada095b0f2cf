#include "Plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace Host {
namespace {

constexpr double kWidth = 860.0;
constexpr double kHeight = 340.0;
constexpr double kLeft = 78.0, kRight = 24.0, kTop = 38.0, kBottom = 52.0;
constexpr Colour kInk{40.0, 44.0, 52.0};
constexpr Colour kGrid{222.0, 225.0, 230.0};
constexpr double kTextSize = 13.0;

// A picture is given room to be as wide as other plots.
double HeightOf(const Plot& inPlot) {
    if (inPlot.mPictureWidth <= 0.0) return kHeight;
    const double wide = kWidth - kLeft - kRight;
    return std::clamp(wide * inPlot.mPictureHeight / inPlot.mPictureWidth, 250.0, 600.0) +
           kTop + kBottom;
}

struct Range {
    double mFrom = std::numeric_limits<double>::infinity();
    double mTo = -std::numeric_limits<double>::infinity();

    void Take(double inValue) {
        if (!std::isfinite(inValue)) return;
        mFrom = std::min(mFrom, inValue);
        mTo = std::max(mTo, inValue);
    }
    // A range without a length gets one, so that there is something to scale by.
    void Widen() {
        if (mFrom > mTo) *this = {0.0, 1.0};
        if (mFrom == mTo) mTo = mFrom + std::max(1.0, std::abs(mFrom) * 0.1);
    }
    double Part(double inValue) const { return (inValue - mFrom) / (mTo - mFrom); }
};

struct Axes {
    Box mBox;
    Range mX, mY;
    bool mDown = false, mLogarithmic = false;

    double X(double inX) const { return mBox.mX + mX.Part(inX) * mBox.mWidth; }
    double Y(double inY) const {
        const double value = mLogarithmic ? std::log10(std::max(inY, 1.0)) : inY;
        const double part = mDown ? mY.Part(value) : 1.0 - mY.Part(value);
        return mBox.mY + part * mBox.mHeight;
    }
};

Axes PictureAxes(const Plot& inPlot, Box inBox) {
    const double scale =
        std::min(inBox.mWidth / inPlot.mPictureWidth, inBox.mHeight / inPlot.mPictureHeight);
    inBox.mWidth = scale * inPlot.mPictureWidth;
    inBox.mHeight = scale * inPlot.mPictureHeight;
    return {inBox, {0.0, inPlot.mPictureWidth}, {0.0, inPlot.mPictureHeight}, true};
}

Axes AxesOf(const Plot& inPlot, const Box& inBox) {
    if (inPlot.mPictureWidth > 0.0) return PictureAxes(inPlot, inBox);
    Axes axes{inBox, {}, {}, false};
    for (const PlotLine& line : inPlot.mLines)
        for (const Point& point : line.mPoints) {
            axes.mX.Take(point.mX);
            axes.mY.Take(point.mY);
        }
    for (const Point& bar : inPlot.mBars) {
        axes.mX.Take(bar.mX);
        axes.mX.Take(bar.mX + inPlot.mBarWidth);
        axes.mY.Take(bar.mY);
    }
    if (inPlot.mFromZero) axes.mY.Take(0.0);
    if (inPlot.mLogarithmic) {
        // A single one is seen above the axis.
        axes.mY = {std::log10(0.7), std::log10(std::max(axes.mY.mTo, 10.0))};
        axes.mLogarithmic = true;
    }
    axes.mX.Widen();
    axes.mY.Widen();
    const double room = (axes.mY.mTo - axes.mY.mFrom) * 0.06;
    axes.mY.mTo += room;
    if (!inPlot.mFromZero && !inPlot.mLogarithmic) axes.mY.mFrom -= room;
    return axes;
}

// Dark text whose anchor is a part of its width (0 left, 1 right) on the base line.
void Text(Canvas& ioCanvas, double inX, double inY, const std::string& inText, double inAnchor,
          double inSize = kTextSize) {
    cairo_t* const cairo = ioCanvas.Cairo();
    cairo_select_font_face(cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo, inSize);
    cairo_text_extents_t extents;
    cairo_text_extents(cairo, inText.c_str(), &extents);
    ioCanvas.SetColour(kInk);
    cairo_move_to(cairo, inX - inAnchor * extents.x_advance, inY);
    cairo_show_text(cairo, inText.c_str());
}

std::string MarkText(double inValue) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", inValue + 0.0);  // no "-0"
    return text;
}

std::vector<double> PowersOfTen(double inMost) {
    std::vector<double> marks;
    for (int power = 0; power <= inMost; ++power)
        marks.push_back(std::pow(10.0, power));
    return marks;
}

void DrawAxes(Canvas& ioCanvas, const Plot& inPlot, const Axes& inAxes) {
    const Box& box = inAxes.mBox;
    cairo_t* const cairo = ioCanvas.Cairo();
    cairo_set_line_width(cairo, 1.0);
    ioCanvas.SetColour(kGrid);
    const auto across = AxisMarks(inAxes.mX.mFrom, inAxes.mX.mTo, int(box.mWidth / 70.0));
    const auto along = inAxes.mLogarithmic
                           ? PowersOfTen(inAxes.mY.mTo)
                           : AxisMarks(inAxes.mY.mFrom, inAxes.mY.mTo, int(box.mHeight / 45.0));
    for (const double x : across) {
        cairo_move_to(cairo, std::round(inAxes.X(x)) + 0.5, box.mY);
        cairo_line_to(cairo, std::round(inAxes.X(x)) + 0.5, box.Bottom());
    }
    for (const double y : along) {
        cairo_move_to(cairo, box.mX, std::round(inAxes.Y(y)) + 0.5);
        cairo_line_to(cairo, box.Right(), std::round(inAxes.Y(y)) + 0.5);
    }
    cairo_stroke(cairo);
    ioCanvas.SetColour(kInk);
    cairo_rectangle(cairo, box.mX + 0.5, box.mY + 0.5, box.mWidth, box.mHeight);
    cairo_stroke(cairo);

    for (const double x : across)
        Text(ioCanvas, inAxes.X(x), box.Bottom() + 18.0, MarkText(x), 0.5);
    for (const double y : along)
        Text(ioCanvas, box.mX - 8.0, inAxes.Y(y) + 4.5, MarkText(y), 1.0);
    Text(ioCanvas, box.mX, box.mY - 13.0, inPlot.mTitle, 0.0, 15.0);
    Text(ioCanvas, box.mX + box.mWidth / 2, box.Bottom() + 39.0, inPlot.mXTitle, 0.5);
    cairo_save(cairo);
    cairo_translate(cairo, box.mX - 58.0, box.mY + box.mHeight / 2);
    cairo_rotate(cairo, -1.5707963);
    Text(ioCanvas, 0.0, 0.0, inPlot.mYTitle, 0.5);
    cairo_restore(cairo);
}

void DrawBars(Canvas& ioCanvas, const Plot& inPlot, const Axes& inAxes) {
    cairo_t* const cairo = ioCanvas.Cairo();
    ioCanvas.SetColour(kPlotColours[0], 0.85);
    for (const Point& bar : inPlot.mBars) {
        const double left = inAxes.X(bar.mX);
        const double width = inAxes.X(bar.mX + inPlot.mBarWidth) - left;
        cairo_rectangle(cairo, left + 0.5, inAxes.Y(bar.mY), std::max(width - 1.0, 1.0),
                        (bar.mY > 0.0 ? inAxes.mBox.Bottom() - inAxes.Y(bar.mY) : 0.0));
    }
    cairo_fill(cairo);
}

void DrawLine(Canvas& ioCanvas, const PlotLine& inLine, const Axes& inAxes) {
    cairo_t* const cairo = ioCanvas.Cairo();
    cairo_new_path(cairo);
    for (const Point& point : inLine.mPoints) {
        if (std::isfinite(point.mX) && std::isfinite(point.mY))
            cairo_line_to(cairo, inAxes.X(point.mX), inAxes.Y(point.mY));
        else
            cairo_new_sub_path(cairo);
    }
    ioCanvas.SetColour(inLine.mColour);
    cairo_set_line_width(cairo, inLine.mWidth);
    cairo_stroke(cairo);
}

void DrawMarks(Canvas& ioCanvas, const Plot& inPlot, const Axes& inAxes) {
    cairo_t* const cairo = ioCanvas.Cairo();
    const double dashes[] = {5.0, 4.0};
    for (const auto& [at, name] : inPlot.mMarks) {
        ioCanvas.SetColour(kPlotColours[3]);
        cairo_set_line_width(cairo, 1.5);
        cairo_set_dash(cairo, dashes, 2, 0.0);
        cairo_move_to(cairo, inAxes.X(at), inAxes.mBox.mY);
        cairo_line_to(cairo, inAxes.X(at), inAxes.mBox.Bottom());
        cairo_stroke(cairo);
        cairo_set_dash(cairo, nullptr, 0, 0.0);
        Text(ioCanvas, inAxes.X(at) + 4.0, inAxes.mBox.mY + 15.0, name, 0.0);
    }
    for (const auto& [place, name] : inPlot.mDots) {
        ioCanvas.Dot({inAxes.X(place.mX), inAxes.Y(place.mY)}, 4.0, kPlotColours[1],
                     inAxes.mBox);
        // On the side with more room.
        const bool isLeft = inAxes.mX.Part(place.mX) < 0.5;
        Text(ioCanvas, inAxes.X(place.mX) + (isLeft ? 9.0 : -9.0), inAxes.Y(place.mY) + 4.5,
             name, isLeft ? 0.0 : 1.0);
    }
}

// The names of the lines, at the upper right above the axes.
void DrawKey(Canvas& ioCanvas, const Plot& inPlot, const Box& inBox) {
    double x = inBox.Right();
    for (auto line = inPlot.mLines.rbegin(); line != inPlot.mLines.rend(); ++line) {
        if (line->mName.empty()) continue;
        Text(ioCanvas, x, inBox.mY - 13.0, line->mName, 1.0);
        cairo_text_extents_t extents;
        cairo_text_extents(ioCanvas.Cairo(), line->mName.c_str(), &extents);
        x -= extents.x_advance + 28.0;
        ioCanvas.SetColour(line->mColour);
        cairo_rectangle(ioCanvas.Cairo(), x, inBox.mY - 19.0, 20.0, 4.0);
        cairo_fill(ioCanvas.Cairo());
        x -= 16.0;
    }
}

void DrawPlot(Canvas& ioCanvas, const Plot& inPlot, double inTop) {
    const Axes axes = AxesOf(inPlot, {kLeft, inTop + kTop, kWidth - kLeft - kRight,
                                      HeightOf(inPlot) - kTop - kBottom});
    DrawAxes(ioCanvas, inPlot, axes);
    cairo_save(ioCanvas.Cairo());
    cairo_rectangle(ioCanvas.Cairo(), axes.mBox.mX, axes.mBox.mY, axes.mBox.mWidth,
                    axes.mBox.mHeight);
    cairo_clip(ioCanvas.Cairo());
    DrawBars(ioCanvas, inPlot, axes);
    for (const PlotLine& line : inPlot.mLines)
        DrawLine(ioCanvas, line, axes);
    DrawMarks(ioCanvas, inPlot, axes);
    cairo_restore(ioCanvas.Cairo());
    DrawKey(ioCanvas, inPlot, axes.mBox);
}

}  // namespace

std::vector<double> AxisMarks(double inFrom, double inTo, int inCount) {
    const double rough = (inTo - inFrom) / std::max(inCount, 1);
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    double step = 10.0 * power;
    for (const double factor : {5.0, 2.0, 1.0})
        if (factor * power >= rough) step = factor * power;
    std::vector<double> marks;
    const double last = std::floor(inTo / step + 1e-9);
    for (double number = std::ceil(inFrom / step - 1e-9); number <= last; ++number)
        marks.push_back(number * step);
    return marks;
}

void AddHistogram(Plot& ioPlot, const std::vector<double>& inValues, int inMaxBars) {
    if (inValues.empty()) return;
    const auto [least, most] = std::minmax_element(inValues.begin(), inValues.end());
    ioPlot.mBarWidth = std::max(1.0, std::ceil((*most - *least + 1.0) / inMaxBars));
    for (double left = *least; left <= *most; left += ioPlot.mBarWidth)
        ioPlot.mBars.push_back({left, 0.0});
    for (const double value : inValues)
        ioPlot.mBars[std::size_t((value - *least) / ioPlot.mBarWidth)].mY += 1.0;
}

PlotLine LineOver(const std::vector<double>& inFrames, const std::vector<double>& inValues,
                  const std::string& inName, const Colour& inColour) {
    PlotLine line{inName, inColour, {}, 2.0};
    for (std::size_t i = 0; i < std::min(inFrames.size(), inValues.size()); ++i)
        line.mPoints.push_back({inFrames[i], inValues[i]});
    return line;
}

void WritePlots(const std::vector<Plot>& inPlots, const std::string& inCaption,
                const std::string& inFile) {
    constexpr double kCaption = 26.0;
    double height = kCaption;
    for (const Plot& plot : inPlots)
        height += HeightOf(plot);
    Canvas canvas(static_cast<int>(kWidth), static_cast<int>(height));
    canvas.Fill({255.0, 255.0, 255.0});
    double top = 0.0;
    for (const Plot& plot : inPlots) {
        DrawPlot(canvas, plot, top);
        top += HeightOf(plot);
    }
    // A long name is made smaller.
    cairo_set_font_size(canvas.Cairo(), 12.0);
    cairo_text_extents_t extents;
    cairo_text_extents(canvas.Cairo(), inCaption.c_str(), &extents);
    const double room = (kWidth - kLeft - 8.0) / std::max(extents.x_advance, 1.0);
    Text(canvas, kLeft, top + 12.0, inCaption, 0.0, 12.0 * std::min(1.0, room));
    canvas.WritePng(inFile);
}

}  // namespace Host
