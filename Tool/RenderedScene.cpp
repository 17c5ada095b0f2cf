#include "RenderedScene.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Texture.h"

namespace Host {
namespace {

constexpr std::uint32_t kSeed = 5;

// A turned ellipse in units of the picture's shorter side, from its middle.
struct Ellipse {
    double mX, mY, mRadiusX, mRadiusY;
    double mTurn;  // tangent of half the angle
};

constexpr Ellipse kTail{-0.36, 0.1, 0.17, 0.062, -0.22};
constexpr Ellipse kBody{-0.03, 0.06, 0.29, 0.2, -0.1};
constexpr Ellipse kHead{0.25, -0.15, 0.125, 0.115, 0.0};
constexpr Ellipse kBeak{0.4, -0.135, 0.07, 0.032, 0.12};
constexpr Ellipse kWing{-0.1, 0.05, 0.17, 0.1, -0.16};
constexpr Ellipse kEye{0.285, -0.175, 0.022, 0.022, 0.0};

// How far inside the ellipse a place is; about that many units of length.
double Inside(const Ellipse& inEllipse, double inX, double inY) {
    const double t = inEllipse.mTurn;
    const double cosine = (1.0 - t * t) / (1.0 + t * t);
    const double sine = 2.0 * t / (1.0 + t * t);
    const double dx = inX - inEllipse.mX;
    const double dy = inY - inEllipse.mY;
    const double u = (cosine * dx + sine * dy) / inEllipse.mRadiusX;
    const double v = (cosine * dy - sine * dx) / inEllipse.mRadiusY;
    return (1.0 - std::sqrt(u * u + v * v)) * std::min(inEllipse.mRadiusX, inEllipse.mRadiusY);
}

// The bird's colour at a place and how much of the pixel it covers.
struct Paint {
    Colour mColour;
    double mCover = 0.0;
};

class Bird {
public:
    explicit Bird(double inUnit) : mUnit(inUnit) {}

    Paint At(double inX, double inY) const {
        const double grain = 1.0 + 0.12 * GradientNoise(inX * 70.0, inY * 70.0, kSeed) +
                             0.1 * GradientNoise(inX * 23.0, inY * 23.0, kSeed + 1);
        Paint paint;
        Add(kTail, {58.0, 66.0, 122.0}, inX, inY, paint);
        Add(kBody, {206.0, 112.0, 58.0}, inX, inY, paint);
        Add(kWing, {168.0, 70.0, 40.0}, inX, inY, paint);
        Add(kHead, {62.0, 76.0, 138.0}, inX, inY, paint);
        Add(kBeak, {228.0, 178.0, 66.0}, inX, inY, paint);
        paint.mColour = Scale(paint.mColour, grain);
        Add(kEye, {236.0, 236.0, 236.0}, inX, inY, paint);
        return paint;
    }

private:
    void Add(const Ellipse& inPart, const Colour& inColour, double inX, double inY,
             Paint& ioPaint) const {
        const double cover = std::clamp(Inside(inPart, inX, inY) * mUnit / 1.4 + 0.5, 0.0, 1.0);
        if (cover == 0.0) return;
        ioPaint.mColour =
            ioPaint.mCover == 0.0 ? inColour : Mix(ioPaint.mColour, inColour, cover);
        ioPaint.mCover = std::max(ioPaint.mCover, cover);
    }

    double mUnit;  // pixels in one unit
};

std::uint8_t ToByte(double inValue) {
    return std::uint8_t(std::clamp(inValue + 0.5, 0.0, 255.0));
}

// One line of the brush, in the bird's units.
struct BrushLine {
    double mFromX, mFromY, mToX, mToY, mRadius;
    bool mIsForeground;
};

// For the first and the second strokes.
constexpr BrushLine kFirstLines[] = {
    {-0.22, 0.1, 0.06, 0.02, 0.016, true},   {0.06, 0.02, 0.13, 0.1, 0.016, true},
    {-0.5, -0.3, 0.05, -0.33, 0.016, false}, {0.05, -0.33, 0.5, -0.36, 0.016, false},
    {-0.45, 0.38, 0.5, 0.36, 0.016, false},  {0.46, 0.3, 0.5, 0.02, 0.016, false}};
constexpr BrushLine kSecondLines[] = {{0.2, -0.11, 0.284, -0.172, 0.014, true},
                                      {0.38, -0.135, 0.42, -0.135, 0.014, true},
                                      {-0.44, 0.14, -0.3, 0.09, 0.014, true},
                                      {-0.55, -0.05, -0.42, -0.12, 0.016, false},
                                      {-0.3, 0.3, 0.1, 0.32, 0.016, false}};

// Pixels are counted by their middles, as strokes are.
template <std::size_t kCount>
descriptor::Strokes StrokesOf(const BrushLine (&inLines)[kCount], int inWidth, int inHeight) {
    const double unit = std::min(inWidth, inHeight);
    const auto place = [&](double inX, double inY) {
        return descriptor::Position{inWidth * 0.5 + inX * unit - 0.5,
                                    inHeight * 0.5 + inY * unit - 0.5};
    };
    descriptor::Strokes strokes;
    for (const BrushLine& line : inLines)
        strokes.push_back(
            {.path = {place(line.mFromX, line.mFromY), place(line.mToX, line.mToY)},
             .radius = line.mRadius * unit,
             .label = line.mIsForeground ? descriptor::Label::foreground
                                         : descriptor::Label::background});
    return strokes;
}

}  // namespace

RenderedScene RenderScene(int inWidth, int inHeight) {
    RenderedScene scene;
    scene.mPicture.Resize(inWidth, inHeight);
    scene.mTruth = Mask(inWidth, inHeight);
    const double unit = std::min(inWidth, inHeight);
    const Bird bird(unit);
    for (int y = 0; y < inHeight; ++y) {
        NoiseRow noises(y, 0, kSeed);
        for (int x = 0; x < inWidth; ++x) {
            const Paint paint =
                bird.At((x + 0.5 - inWidth * 0.5) / unit, (y + 0.5 - inHeight * 0.5) / unit);
            const Colour ground = GroundTexture(x, y, kSeed);
            const Colour colour = Mix(ground, paint.mColour, paint.mCover);
            const double noise = noises.Next();
            std::uint8_t* const pixel = scene.mPicture.Pixel(x, y);
            pixel[0] = ToByte(colour.mBlue + noise);
            pixel[1] = ToByte(colour.mGreen + noise);
            pixel[2] = ToByte(colour.mRed + noise);
            pixel[3] = 255;
            scene.mTruth.At(x, y) = paint.mCover > 0.5 ? 255 : 0;
        }
    }
    scene.mPicture.Finish();
    scene.mStrokes = {StrokesOf(kFirstLines, inWidth, inHeight),
                      StrokesOf(kSecondLines, inWidth, inHeight)};
    return scene;
}

double Overlap(const Mask& inFirst, const Mask& inSecond) {
    std::size_t shared = 0;
    std::size_t either = 0;
    for (std::size_t i = 0; i < inFirst.mBytes.size(); ++i) {
        const bool first = inFirst.mBytes[i] > 127;
        const bool second = inSecond.mBytes[i] > 127;
        shared += first && second;
        either += first || second;
    }
    return either == 0 ? 0.0 : double(shared) / double(either);
}

}  // namespace Host
