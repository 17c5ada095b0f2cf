// RenderedClip: a clip whose true motion is known.

#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Frame.h"
#include "FrameSource.h"
#include "Geometry.h"
#include "GroundTiles.h"

namespace Host {

/// A short clip that is computed and not filmed: a camera that pans, turns and zooms over
/// textured ground, a textured panel that moves and grows in front of it, and noise.
///
///        ground                        frame n
///     +------------------+          +------------+
///     |    camera(n)     |          |   +----+   |    A point of the ground at `from` is
///     |   +---------+    |   --->   |   |####|   |    looked up on the ground and then in
///     |  /         /     |          |   +----+   |    frame `to`; a point of the panel on
///     | +---------+      |          |            |    the panel. Both ways are exact.
///     +------------------+          +------------+
///
/// Every motion is a smooth function of the frame number alone, a fraction of a pixel to a
/// few pixels a frame. The same frame has the same bytes on every machine.
///
/// Points count whole numbers as pixel centres; boxes go by edges; y runs downward.
///
/// Ownership: a plain value.
/// Threads: any thread may call any operation but `Render`.
/// Errors: none. Frame numbers may be any, also outside 0 to `mFrames`.
class RenderedClip {
public:
    struct Shape {
        int mWidth = 640;
        int mHeight = 480;
        int mFrames = 120;
        std::uint32_t mSeed = 1;
        double mNoise = 1.0;  ///< standard deviation of a pixel's noise, in grey levels
    };

    explicit RenderedClip(const Shape& inShape)
        : mShape(inShape), mGround(std::make_shared<GroundTiles>(inShape.mSeed)) {}

    const Shape& GetShape() const { return mShape; }

    /// One thread at a time: the ground that was seen is kept, by copies of the clip too.
    void Render(int inFrame, Frame& outFrame) const;

    /// The true rectangle of the panel.
    Box ObjectBox(int inFrame) const;
    bool IsOnObject(const Point& inPoint, int inFrame) const;

    /// Where a point of the ground, or of the panel, is in another frame.
    Point MoveGround(const Point& inPoint, int inFrom, int inTo) const;
    Point MoveObject(const Point& inPoint, int inFrom, int inTo) const;

    /// Where the point that is seen at `inPoint` is in another frame; nothing if the panel
    /// hides it there.
    std::optional<Point> Move(const Point& inPoint, int inFrom, int inTo) const;

private:
    // The ground as the camera sees it: turned, zoomed and shifted about the centre.
    struct Camera {
        double mCosine, mSine;  // both times the zoom
        double mShiftX, mShiftY;
    };
    Camera CameraAt(int inFrame) const;
    Point ToGround(const Camera& inCamera, const Point& inPoint) const;
    Point FromGround(const Camera& inCamera, const Point& inGround) const;
    void RenderRow(int inFrame, int inY, GroundTiles::Sample* ioRow, Frame& outFrame) const;
    void PaintObject(int inFrame, int inY, GroundTiles::Sample* ioRow) const;

    Shape mShape;
    std::shared_ptr<GroundTiles> mGround;
};

/// The frames of a rendered clip, one after the other.
class RenderedSource final : public FrameSource {
public:
    explicit RenderedSource(const RenderedClip::Shape& inShape) : mClip(inShape) {}

    bool Read(Frame& outFrame) override;
    int Width() const override { return mClip.GetShape().mWidth; }
    int Height() const override { return mClip.GetShape().mHeight; }
    double FrameRate() const override { return 25.0; }
    TimeBase GetTimeBase() const override { return {1, 25}; }
    long long FrameCount() const override { return mClip.GetShape().mFrames; }
    std::string Name() const override { return "rendered clip"; }
    const RenderedClip* Truth() const override { return &mClip; }

private:
    RenderedClip mClip;
    int mNext = 0;
};

}  // namespace Host
