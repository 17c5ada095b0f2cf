// A look behind the public interfaces, for pictures and figures that no interface gives.
//
// Everything that the commands compute goes through the library as any host would use it.
// What is here computes the same once more from the library's own sources, which are
// compiled into the tool for that: the regions and the graph of a selection, and the
// pyramids that the KLT tracker makes of a frame.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Frame.h"
#include "Mask.h"
#include "descriptor/Stroke.h"

namespace Host {

/// The graph that is kept between the strokes of one picture.
class GraphInside {
public:
    explicit GraphInside(const Frame& inPicture);
    ~GraphInside();

    /// The same cut that the library makes.
    void Cut(const descriptor::Strokes& inStrokes);

    unsigned Regions() const;
    std::size_t Links() const;
    double Flow() const;
    /// The number of each pixel's region, row by row.
    const unsigned* RegionOfPixels() const;
    const Mask& Labels() const { return mLabels; }

private:
    struct Wrapper;
    const Frame& mPicture;
    std::unique_ptr<Wrapper> mWrapper;
    Mask mLabels;
    bool mStarted = false;
};

/// The form of the kernels that the library chooses on this machine, such as "AVX2". Its
/// families all choose by the same rule; it is read here off the image kernels.
std::string KernelTarget();

struct PyramidSettings {
    int mLevels = 2;
    int mSubsampling = 4;
    float mSmoothSigma = 0.7f;
    float mGradientSigma = 1.0f;
};

/// One level of the three pyramids; grey values, and grey values per pixel of the level.
struct PyramidLevel {
    int mWidth = 0;
    int mHeight = 0;
    std::vector<float> mSmoothed, mGradientX, mGradientY;
};

std::vector<PyramidLevel> ComputePyramids(const std::uint8_t* inGrey, int inWidth, int inHeight,
                                          const PyramidSettings& inSettings);

}  // namespace Host
