// What a host would else call, in OpenCV, each in the form in which a loop over frames is
// fastest: pyramids are built once a frame and kept for the next. Without OpenCV nothing is
// there, and ours runs alone.

#pragma once

#include <memory>
#include <vector>

#include "HostRuns.h"

namespace Bench {

/// Sparse pyramid Lucas-Kanade on 8-bit frames.
class PointPeer {
public:
    virtual ~PointPeer() = default;
    /// The live ones of these points are those that the next step follows.
    virtual void Take(const std::vector<Point>& inPoints) = 0;
    /// Selects by itself (blur, the smaller eigenvalue), and builds the frame's pyramid.
    virtual void Select(const Clip& inClip, int inFrame) = 0;
    /// On to the next frame, whose lost points are replaced if `inRefills`.
    virtual void Step(const Clip& inClip, int inFrame, bool inRefills) = 0;
    /// Those that it took, lost ones marked.
    virtual std::vector<Point> GetPoints() const = 0;
};

/// Null where OpenCV is missing.
std::unique_ptr<PointPeer> MakePointPeer(int inWindow, int inLevels);

/// MedianFlow.
class RegionPeer {
public:
    virtual ~RegionPeer() = default;
    virtual void Start(const Clip& inClip) = 0;
    virtual void Step(const Clip& inClip, int inFrame) = 0;
    virtual Box GetBox() const = 0;
};

/// Null where OpenCV's contributed module is missing.
std::unique_ptr<RegionPeer> MakeRegionPeer();

/// Colour to grey. One output serves all frames, or each frame has its own and all are kept,
/// to be dropped at once when there are `inMost`, as a full cache does.
class GreyPeer {
public:
    virtual ~GreyPeer() = default;
    virtual void Reused(const Clip& inClip, int inFrame, bool inFloats) = 0;
    virtual void Kept(const Clip& inClip, int inFrame, bool inFloats, std::size_t inMost) = 0;
    /// The last grey pixel row by row, as whole numbers.
    virtual bool Equals(const unsigned char* inPixels) const = 0;
};

std::unique_ptr<GreyPeer> MakeGreyPeer();

/// Watershed from a marker in each square of so many pixels. False where OpenCV is missing.
bool RunWatershed(const Clip& inClip, int inSpacing);

}  // namespace Bench
