// Pictures for the tests of the graph cut: pieces of texture with steps between them, so
// that regions are cut both by colour and by the radius.

#pragma once

#include "PlainTwins.h"
#include "Support/Test.h"

namespace Testing {

template <class T>
Picture<T> MakePicture(int inColumns, int inRows, int inPlanes, std::uint64_t inSeed,
                       int inPadding = 0) {
    Picture<T> picture{inColumns, inRows, inColumns + inPadding, {}};
    Random random(inSeed);
    for (int plane = 0; plane < inPlanes; ++plane) {
        std::vector<T> samples(std::size_t(std::max(0, picture.mStride * inRows)));
        for (int y = 0; y < inRows; ++y)
            for (int x = 0; x < picture.mStride; ++x) {
                const double texture = TextureAt(x / 3.0, y / 3.0, std::uint32_t(inSeed));
                const double step = (x / 9 + y / 7) % 2 ? 40 : 0;
                const double noise = random.Integer(0, 12);
                const double value =
                    std::min(255.0, 0.7 * texture + step + noise + 3 * plane) / 255;
                const double scale = sizeof(T) == 1 ? 255 : sizeof(T) == 2 ? 32768 : 1;
                samples[picture.At(x, y)] = static_cast<T>(value * scale);
            }
        picture.mPlanes.push_back(std::move(samples));
    }
    return picture;
}

/// The picture's regions as an owning graph without links.
template <class T>
void BuildRegions(ImageGraph& ioGraph, const Picture<T>& inPicture,
                  unsigned short inNeighborhood = 8, float inTolerance = 10.0f / 255.0f,
                  int inRadius = 5) {
    ioGraph.Initialize({0, 0, inPicture.mRows, inPicture.mColumns}, nullptr, inNeighborhood,
                       nullptr, 0, 1);
    ioGraph.BuildRegionGraph(inPicture.Plane(0), inPicture.Plane(1), inPicture.Plane(2),
                             inPicture.Plane(3), inPicture.mRows, inPicture.mColumns, 0, 0,
                             inPicture.mStride, inPicture.PlaneCount(), inPicture.BitDepth(),
                             inTolerance, inRadius);
}

template <class T>
void SetEnergies(ImageGraph& ioGraph, const Picture<T>& inPicture, bool inBuildLinks,
                 double inScale = 500, double inSigma = 16.0 / 255, double inExponent = 0.5) {
    ioGraph.SetNeighborEnergies(inPicture.Plane(0), inPicture.Plane(1), inPicture.Plane(2),
                                inPicture.Plane(3), inPicture.mRows, inPicture.mColumns,
                                ioGraph.mLeft, ioGraph.mTop, inPicture.mStride * int(sizeof(T)),
                                inPicture.PlaneCount(), inPicture.BitDepth(), inScale, inSigma,
                                inExponent, inBuildLinks);
}

}  // namespace Testing
