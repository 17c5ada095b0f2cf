#include "Paint.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace descriptor_mlt {
namespace {

// How far a point is outside of a shape, in pixels; negative inside.
using Distance = std::function<double(double inX, double inY)>;

Distance ToRectangle(const descriptor::Rect& inRect) {
    return [inRect](double inX, double inY) {
        const double x = std::fabs(inX - inRect.x - inRect.width / 2) - inRect.width / 2;
        const double y = std::fabs(inY - inRect.y - inRect.height / 2) - inRect.height / 2;
        return std::max(x, y);
    };
}

// To first order: the level of the ellipse's equation by its slope there.
Distance ToEllipse(const descriptor::Rect& inRect) {
    return [inRect](double inX, double inY) {
        const double a = inRect.width / 2;
        const double b = inRect.height / 2;
        const double x = (inX - inRect.x - a) / a;
        const double y = (inY - inRect.y - b) / b;
        const double level = std::hypot(x, y);
        const double slope = std::hypot(x / a, y / b);
        return slope > 0 ? (level - 1) * level / slope : -std::min(a, b);
    };
}

double ToSegment(double inX, double inY, double inLength) {
    return std::hypot(inX, inY - std::clamp(inY, 0.0, inLength));
}

// From the tip along the shaft, and two barbs at 45 degrees.
Distance ToArrow(const descriptor::Rect& inRect) {
    const double length = std::max(20.0, inRect.height / 2);
    const bool isAbove = inRect.y >= length / 2;
    const double tipX = inRect.x + inRect.width / 2;
    const double tipY = isAbove ? inRect.y : inRect.y + inRect.height;
    return [=](double inX, double inY) {
        const double x = std::fabs(inX - tipX);
        const double y = isAbove ? tipY - inY : inY - tipY;
        const double turn = std::sqrt(0.5);
        return std::min(ToSegment(x, y, length),
                        ToSegment(turn * (x - y), turn * (x + y), length / 3));
    };
}

// The part of a rectangle, with a margin, that is in the picture: columns and rows.
struct Window {
    Window(const Picture& inPicture, const descriptor::Rect& inRect, double inMargin)
        : mLeft(Bound(inRect.x - inMargin, inPicture.Width())),
          mTop(Bound(inRect.y - inMargin, inPicture.Height())),
          mRight(Bound(inRect.x + inRect.width + inMargin + 1, inPicture.Width())),
          mBottom(Bound(inRect.y + inRect.height + inMargin + 1, inPicture.Height())) {}

    static int Bound(double inValue, int inMost) {
        return static_cast<int>(std::clamp(inValue, 0.0, double(inMost)));
    }
    int Columns() const { return mRight - mLeft; }

    int mLeft;
    int mTop;
    int mRight;
    int mBottom;
};

// How much of each pixel of a row is inside.
void CoverRow(const Distance& inDistance, const Window& inWindow, int inRow,
              std::vector<float>& outCoverage) {
    outCoverage.resize(static_cast<std::size_t>(std::max(0, inWindow.Columns())));
    for (std::size_t i = 0; i < outCoverage.size(); ++i)
        outCoverage[i] = static_cast<float>(std::clamp(
            0.5 - inDistance(inWindow.mLeft + double(i) + 0.5, inRow + 0.5), 0.0, 1.0));
}

void Fill(const Picture& ioPicture, const Distance& inDistance, const Window& inWindow,
          mlt_color inColour) {
    const Ink ink = ioPicture.InkOf(inColour);
    std::vector<float> coverage;
    for (int y = inWindow.mTop; y < inWindow.mBottom; ++y) {
        CoverRow(inDistance, inWindow, y, coverage);
        ioPicture.Blend(y, inWindow.mLeft, coverage, ink);
    }
}

// A block of RGBA pixels, taken out with a margin so that its middle can be blurred.
class Block {
public:
    Block(const Picture& inPicture, const Window& inWindow) : mWindow(inWindow) {
        for (int y = mWindow.mTop; y < mWindow.mBottom; ++y) {
            const std::uint8_t* row = inPicture.Row(y);
            mPixels.insert(mPixels.end(), row + 4 * mWindow.mLeft, row + 4 * mWindow.mRight);
        }
    }

    int Columns() const { return mWindow.Columns(); }
    int Rows() const { return mWindow.mBottom - mWindow.mTop; }
    std::uint8_t& At(int inX, int inY, int inChannel) {
        const int x = std::clamp(inX, 0, Columns() - 1);
        const int y = std::clamp(inY, 0, Rows() - 1);
        return mPixels[static_cast<std::size_t>((y * Columns() + x) * 4 + inChannel)];
    }

    // The mean of 2r+1 neighbours along a row or a column, by a running sum.
    void Box(int inRadius, bool inIsAcross) {
        const int lines = inIsAcross ? Rows() : Columns();
        const int length = inIsAcross ? Columns() : Rows();
        std::vector<std::uint8_t> out(static_cast<std::size_t>(length));
        const auto at = [&](int inLine, int inAt, int inChannel) -> std::uint8_t& {
            return inIsAcross ? At(inAt, inLine, inChannel) : At(inLine, inAt, inChannel);
        };
        const int count = 2 * inRadius + 1;
        for (int line = 0; line < lines; ++line)
            for (int channel = 0; channel < 3; ++channel) {
                int sum = 0;
                for (int i = -inRadius; i <= inRadius; ++i)
                    sum += at(line, i, channel);
                for (int i = 0; i < length; ++i) {
                    out[static_cast<std::size_t>(i)] =
                        static_cast<std::uint8_t>((sum + inRadius) / count);
                    sum +=
                        at(line, i + inRadius + 1, channel) - at(line, i - inRadius, channel);
                }
                for (int i = 0; i < length; ++i)
                    at(line, i, channel) = out[static_cast<std::size_t>(i)];
            }
    }

    // The median of (2r+1) squared neighbours, by a histogram that slides along each row.
    void Median(int inRadius) {
        Block source(*this);
        const int half = (2 * inRadius + 1) * (2 * inRadius + 1) / 2;
        for (int y = 0; y < Rows(); ++y)
            for (int channel = 0; channel < 3; ++channel) {
                std::array<int, 256> counts{};
                const auto column = [&](int inX, int inCount) {
                    for (int i = y - inRadius; i <= y + inRadius; ++i)
                        counts[source.At(inX, i, channel)] += inCount;
                };
                for (int x = -inRadius; x < inRadius; ++x)
                    column(x, 1);
                for (int x = 0; x < Columns(); ++x) {
                    column(x + inRadius, 1);
                    int sum = 0;
                    std::size_t value = 0;
                    while ((sum += counts[value]) <= half)
                        ++value;
                    At(x, y, channel) = static_cast<std::uint8_t>(value);
                    column(x - inRadius, -1);
                }
            }
    }

    // Each square of a side gets its mean.
    void Pixelate(int inSide) {
        for (int top = 0; top < Rows(); top += inSide)
            for (int left = 0; left < Columns(); left += inSide)
                for (int channel = 0; channel < 3; ++channel) {
                    const int bottom = std::min(top + inSide, Rows());
                    const int right = std::min(left + inSide, Columns());
                    int sum = 0;
                    for (int y = top; y < bottom; ++y)
                        for (int x = left; x < right; ++x)
                            sum += At(x, y, channel);
                    const int count = (bottom - top) * (right - left);
                    for (int y = top; y < bottom; ++y)
                        for (int x = left; x < right; ++x)
                            At(x, y, channel) = static_cast<std::uint8_t>(sum / count);
                }
    }

    // Back to where it came from, as far as the shape covers it.
    void PutInto(const Picture& ioPicture, const Distance& inDistance) {
        std::vector<float> coverage;
        for (int y = 0; y < Rows(); ++y) {
            CoverRow(inDistance, mWindow, mWindow.mTop + y, coverage);
            std::uint8_t* row = ioPicture.Row(mWindow.mTop + y) + 4 * mWindow.mLeft;
            for (int x = 0; x < Columns(); ++x)
                for (int channel = 0; channel < 3; ++channel) {
                    std::uint8_t& value = row[4 * x + channel];
                    const float share = coverage[static_cast<std::size_t>(x)];
                    value = static_cast<std::uint8_t>(std::lround(
                        float(value) + (float(At(x, y, channel)) - float(value)) * share));
                }
        }
    }

private:
    Window mWindow;
    std::vector<std::uint8_t> mPixels;
};

}  // namespace

void DrawShape(const Picture& ioPicture, const descriptor::Rect& inRect, Shape inShape,
               double inWidth, mlt_color inColour) {
    if (inWidth == 0 || !(inRect.width > 0) || !(inRect.height > 0)) return;
    if (inShape == Shape::arrow) {
        const double line = (inWidth < 0 ? 8 : inWidth) / 2;
        const Distance arrow = ToArrow(inRect);
        const double margin = std::max(20.0, inRect.height / 2) + line;
        const auto stroke = [&](double inX, double inY) {
            return arrow(inX, inY) - line;
        };
        Fill(ioPicture, stroke, Window(ioPicture, inRect, margin), inColour);
        return;
    }
    const Distance shape = inShape == Shape::ellipse ? ToEllipse(inRect) : ToRectangle(inRect);
    if (inWidth < 0) {
        Fill(ioPicture, shape, Window(ioPicture, inRect, 1), inColour);
        return;
    }
    const auto stroke = [&](double inX, double inY) {
        return std::fabs(shape(inX, inY)) - inWidth / 2;
    };
    Fill(ioPicture, stroke, Window(ioPicture, inRect, inWidth / 2 + 1), inColour);
}

void DrawTrail(const Picture& ioPicture, const std::vector<descriptor::Position>& inLine,
               double inWidth, mlt_color inColour) {
    for (std::size_t i = 1; i < inLine.size(); ++i) {
        const descriptor::Position& from = inLine[i - 1];
        const descriptor::Position& to = inLine[i];
        const double length = std::hypot(to.x - from.x, to.y - from.y);
        if (length == 0) continue;
        const double x = (to.x - from.x) / length;
        const double y = (to.y - from.y) / length;
        const auto stroke = [&](double inX, double inY) {
            const double along = (inX - from.x) * x + (inY - from.y) * y;
            const double across = (inX - from.x) * y - (inY - from.y) * x;
            return ToSegment(across, along, length) - inWidth / 2;
        };
        const descriptor::Rect box{std::min(from.x, to.x), std::min(from.y, to.y),
                                   std::fabs(to.x - from.x), std::fabs(to.y - from.y)};
        Fill(ioPicture, stroke, Window(ioPicture, box, inWidth), inColour);
    }
    if (inLine.empty()) return;
    const descriptor::Position& last = inLine.back();
    const auto dot = [&](double inX, double inY) {
        return std::hypot(inX - last.x, inY - last.y) - inWidth;
    };
    Fill(ioPicture, dot, Window(ioPicture, {last.x, last.y, 0, 0}, inWidth + 1), inColour);
}

void Hide(const Picture& ioPicture, const descriptor::Rect& inRect, Shape inShape, int inAmount,
          Hiding inHiding, mlt_color inColour) {
    if (inHiding == Hiding::none || !(inRect.width > 0) || !(inRect.height > 0)) return;
    const Distance shape = inShape == Shape::ellipse ? ToEllipse(inRect) : ToRectangle(inRect);
    if (inHiding == Hiding::fill) {
        Fill(ioPicture, shape, Window(ioPicture, inRect, 1), inColour);
        return;
    }
    const int margin = inHiding == Hiding::pixelate ? 0 : inAmount;
    const Window window(ioPicture, inRect, margin);
    if (window.Columns() < 1 || window.mBottom <= window.mTop) return;
    Block block(ioPicture, window);
    if (inHiding == Hiding::median) {
        block.Median(std::max(1, inAmount));
    } else if (inHiding == Hiding::pixelate) {
        block.Pixelate(std::max(2, inAmount));
    } else {
        // Three boxes of a third come close to the bell of that radius.
        for (int i = 0; i < 6; ++i)
            block.Box(std::max(1, inAmount / 3), i % 2 == 0);
    }
    block.PutInto(ioPicture, shape);
}

}  // namespace descriptor_mlt
