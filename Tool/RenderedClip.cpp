#include "RenderedClip.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Texture.h"

namespace Host {
namespace {

// How much of the pixel around `inCentre` lies between two edges, on one axis.
double Covered(double inCentre, double inFrom, double inTo) {
    return std::clamp(std::min(inCentre + 0.5, inTo) - std::max(inCentre - 0.5, inFrom), 0.0,
                      1.0);
}

// Rounded down to bytes, 0 to 255.
void WritePixel(GroundTiles::Sample inColour, std::uint8_t* outPixel) {
    typedef std::int32_t Whole __attribute__((vector_size(16)));
    Whole value = __builtin_convertvector(inColour, Whole);
    value &= ~(value >> 31);
    const Whole tooLarge = (255 - value) >> 31;
    value = (value & ~tooLarge) | (255 & tooLarge);
    for (int i = 0; i < 3; ++i)
        outPixel[i] = std::uint8_t(value[i]);
    outPixel[3] = 255;
}

}  // namespace

RenderedClip::Camera RenderedClip::CameraAt(int inFrame) const {
    const double n = inFrame;
    // The half-angle's tangent gives cosine and sine as quotients.
    const double t = 0.018 * Wave(n / 211.0);
    const double zoom = 1.0 + 0.04 * Wave(n / 173.0);
    Camera camera;
    camera.mCosine = zoom * (1.0 - t * t) / (1.0 + t * t);
    camera.mSine = zoom * 2.0 * t / (1.0 + t * t);
    camera.mShiftX = -(1.1 * n + 6.0 * Wave(n / 97.0));
    camera.mShiftY = 9.0 * Wave(n / 131.0);
    return camera;
}

Point RenderedClip::FromGround(const Camera& inCamera, const Point& inGround) const {
    const double x = inGround.mX - mShape.mWidth * 0.5;
    const double y = inGround.mY - mShape.mHeight * 0.5;
    // The shift is one of the ground, so that the zoom stays about the picture's centre.
    const double u = x + inCamera.mShiftX;
    const double v = y + inCamera.mShiftY;
    return {inCamera.mCosine * u - inCamera.mSine * v + mShape.mWidth * 0.5,
            inCamera.mSine * u + inCamera.mCosine * v + mShape.mHeight * 0.5};
}

Point RenderedClip::ToGround(const Camera& inCamera, const Point& inPoint) const {
    const double x = inPoint.mX - mShape.mWidth * 0.5;
    const double y = inPoint.mY - mShape.mHeight * 0.5;
    const double square = inCamera.mCosine * inCamera.mCosine + inCamera.mSine * inCamera.mSine;
    const double u = (inCamera.mCosine * x + inCamera.mSine * y) / square;
    const double v = (inCamera.mCosine * y - inCamera.mSine * x) / square;
    return {u - inCamera.mShiftX + mShape.mWidth * 0.5,
            v - inCamera.mShiftY + mShape.mHeight * 0.5};
}

Box RenderedClip::ObjectBox(int inFrame) const {
    const double n = inFrame;
    // The reach is a share of the picture; the periods grow with it, so that the panel
    // moves at most two pixels a frame at any size.
    const double reachX = 0.2 * mShape.mWidth;
    const double reachY = 0.12 * mShape.mHeight;
    const double size = 1.0 + 0.1 * Wave(n / 190.0);
    Box box;
    box.mWidth = 0.26 * mShape.mWidth * size;
    box.mHeight = 0.24 * mShape.mHeight * size;
    box.mX = 0.5 * mShape.mWidth + reachX * Wave(n / (4.0 * reachX) + 0.8) - 0.5 * box.mWidth;
    box.mY =
        0.52 * mShape.mHeight + reachY * Wave(n / (6.0 * reachY) + 0.1) - 0.5 * box.mHeight;
    return box;
}

bool RenderedClip::IsOnObject(const Point& inPoint, int inFrame) const {
    const Box box = ObjectBox(inFrame);
    const double x = inPoint.mX + 0.5;
    const double y = inPoint.mY + 0.5;
    return x >= box.mX && x < box.Right() && y >= box.mY && y < box.Bottom();
}

Point RenderedClip::MoveGround(const Point& inPoint, int inFrom, int inTo) const {
    return FromGround(CameraAt(inTo), ToGround(CameraAt(inFrom), inPoint));
}

Point RenderedClip::MoveObject(const Point& inPoint, int inFrom, int inTo) const {
    const Box from = ObjectBox(inFrom);
    const Box to = ObjectBox(inTo);
    return {to.mX + (inPoint.mX + 0.5 - from.mX) / from.mWidth * to.mWidth - 0.5,
            to.mY + (inPoint.mY + 0.5 - from.mY) / from.mHeight * to.mHeight - 0.5};
}

std::optional<Point> RenderedClip::Move(const Point& inPoint, int inFrom, int inTo) const {
    if (IsOnObject(inPoint, inFrom)) return MoveObject(inPoint, inFrom, inTo);
    const Point moved = MoveGround(inPoint, inFrom, inTo);
    if (IsOnObject(moved, inTo)) return std::nullopt;
    return moved;
}

void RenderedClip::Render(int inFrame, Frame& outFrame) const {
    outFrame.Resize(mShape.mWidth, mShape.mHeight);
    mGround->StartFrame();
    std::vector<GroundTiles::Sample> row(std::size_t(mShape.mWidth));
    for (int y = 0; y < mShape.mHeight; ++y)
        RenderRow(inFrame, y, row.data(), outFrame);
    outFrame.Finish();
}

void RenderedClip::RenderRow(int inFrame, int inY, GroundTiles::Sample* ioRow,
                             Frame& outFrame) const {
    const Camera camera = CameraAt(inFrame);
    // The ground goes by in even steps along a row.
    const Point first = ToGround(camera, {0.0, double(inY)});
    const Point second = ToGround(camera, {1.0, double(inY)});
    mGround->Row(first, {second.mX - first.mX, second.mY - first.mY}, mShape.mWidth, ioRow);
    PaintObject(inFrame, inY, ioRow);
    NoiseRow noises(inY, inFrame, mShape.mSeed + 3);
    const float step = float(mShape.mNoise * 1.7320508075688772 / 255.0);
    const float middle = float(mShape.mNoise * 1.7320508075688772 * 2.0) - 0.5f;
    std::uint8_t* pixel = outFrame.Pixel(0, inY);
    for (int x = 0; x < mShape.mWidth; ++x, pixel += 4)
        WritePixel(ioRow[x] + (float(noises.NextSum()) * step - middle), pixel);
}

void RenderedClip::PaintObject(int inFrame, int inY, GroundTiles::Sample* ioRow) const {
    const Box box = ObjectBox(inFrame);
    const double coverY = Covered(inY + 0.5, box.mY, box.Bottom());
    if (coverY == 0.0) return;
    // The grain is one of the panel: it grows with it.
    const double grain = 0.26 * mShape.mWidth / 8.0;
    const double v = std::clamp((inY + 0.5 - box.mY) / box.mHeight, 0.0, 1.0);
    const int left = std::max(0, int(box.mX) - 1);
    const int right = std::min(mShape.mWidth, int(box.Right()) + 2);
    for (int x = left; x < right; ++x) {
        const auto cover = float(coverY * Covered(x + 0.5, box.mX, box.Right()));
        const double u = std::clamp((x + 0.5 - box.mX) / box.mWidth, 0.0, 1.0);
        const Colour colour = PanelTexture(u, v, grain, mShape.mSeed + 7);
        const GroundTiles::Sample panel{float(colour.mBlue), float(colour.mGreen),
                                        float(colour.mRed), 0.0f};
        ioRow[x] += (panel - ioRow[x]) * cover;
    }
}

bool RenderedSource::Read(Frame& outFrame) {
    if (mNext >= mClip.GetShape().mFrames) return false;
    outFrame.mTime = mNext;
    outFrame.mDuration = 1;
    mClip.Render(mNext++, outFrame);
    return true;
}

}  // namespace Host
