// Splits an image into regions of similar colour and small radius, pixel by pixel in reading
// order: the first that has no label yet becomes the seed of the next region, and a fill labels
// what belongs to it.
//
// Planes have `mRowStride` elements from row to row, labels `mLabelStride`. A label is 0 for
// a pixel without a region; 1 is left free, and regions count from 2.

#include "External/graphcut/MWSegment.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <variant>

#include "External/graphcut/MWSegmentSeedFill.h"
#include "External/graphcut/MWSegmentWindowFill.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"
#include "image/Saturate.h"

namespace {

// What the regions of all variants are made from.
struct Request {
    const void* mPlanes[4];
    int mRows;
    int mColumns;
    unsigned int* mLabels;
    int mRowStride;
    int mLabelStride;
    float mToleranceSquared;
    int mRadius;
    IP::RecycledVector<SegmentRegion>* mRegions;
};

// The limit on the sum of the squared differences: the planes' mean times their number.
float SquaredTolerance(float inTolerance, int inBitDepth, int inPlanes) {
    const float scale = inBitDepth == 8 ? 255.0f : inBitDepth == 16 ? 32768.0f : 1.0f;
    const float scaled = inTolerance * scale;
    return scaled * scaled * static_cast<float>(inPlanes);
}

template <class T, int kPlanes>
unsigned int SegmentPlanes(const Request& inRequest) {
    MWSegmentSeedFillPlanes<T, unsigned int, kPlanes> fill;
    fill.mLabels = inRequest.mLabels;
    fill.mLabelStride = inRequest.mLabelStride;
    fill.mColourToleranceSquared = inRequest.mToleranceSquared;
    fill.mRadiusSquared = IP::SquareOrMost(inRequest.mRadius);
    fill.mRowStride = inRequest.mRowStride;
    for (int plane = 0; plane < kPlanes; ++plane)
        fill.mPlanes[plane] = static_cast<const T*>(inRequest.mPlanes[plane]);

    const auto row = [&](int inY) {
        return inRequest.mLabels + std::ptrdiff_t{inY} * inRequest.mLabelStride;
    };
    for (int y = 0; y < inRequest.mRows; ++y)
        std::fill_n(row(y), std::max(inRequest.mColumns, 0), 0u);

    // Where it fits, the fill by masks labels the same pixels sooner.
    constexpr bool kHasWindow = sizeof(T) == 1;
    using Window = std::conditional_t<kHasWindow, MWSegmentWindowFill<kPlanes>, std::monostate>;
    Window window = [&] {
        if constexpr (kHasWindow)
            return Window(fill.mPlanes, inRequest.mRowStride, inRequest.mLabels,
                          inRequest.mLabelStride, inRequest.mRows, inRequest.mColumns,
                          inRequest.mToleranceSquared, inRequest.mRadius);
        else
            return Window();
    }();

    // A region is told by its seed, as an index into the labels, and its number of pixels.
    const auto tell = [&](int inX, int inY, unsigned int inPixels) {
        if (inRequest.mRegions)
            inRequest.mRegions->push_back(
                {static_cast<unsigned int>(row(inY) - inRequest.mLabels) + unsigned(inX),
                 inPixels});
    };
    // The last column and row, not the ends.
    const FillArea area{0, 0, inRequest.mColumns - 1, inRequest.mRows - 1};
    constexpr unsigned int kFirstRegion = 2;
    unsigned int region = kFirstRegion;
    for (int y = 0; y < inRequest.mRows; ++y) {
        IP::Checkpoint(y, inRequest.mRows);
        for (int x = 0; x < inRequest.mColumns; ++x) {
            if (row(y)[x] != 0) continue;
            if constexpr (kHasWindow)
                if (window.Holds(x)) {
                    tell(x, y, window.Fill(x, y, region++));
                    continue;
                }
            fill.mRegionId = region++;
            fill.SetSeed(x, y);
            fill.mFilled = 0;
            SeedFill(x, y, area, fill);
            tell(x, y, fill.mFilled);
        }
    }
    return region - kFirstRegion;
}

// One hide flag of the report for each depth: this is compiled once for each.
template <class T>
unsigned int SegmentDepth(const Request& inRequest, int inPlanes) {
    switch (inPlanes) {
        case 1:
            return SegmentPlanes<T, 1>(inRequest);
        case 3:
            return SegmentPlanes<T, 3>(inRequest);
        case 4:
            return SegmentPlanes<T, 4>(inRequest);
        default:
            AssertWithMessage("MWSegment", "WARNING: Unexpected # of image planes.");
            return 0;
    }
}

}  // namespace

void MWSegment(const void* inPlane0, const void* inPlane1, const void* inPlane2,
               const void* inPlane3, int inRows, int inColumns, int /*inLeft*/, int /*inTop*/,
               unsigned int* outLabels, int inRowStride, int inLabelStride, int inPlanes,
               int inBitDepth, float inTolerance, int inRadius, unsigned int* outRegionCount,
               IP::RecycledVector<SegmentRegion>* outRegions) {
    *outRegionCount = 0;
    const Request request{{inPlane0, inPlane1, inPlane2, inPlane3},
                          inRows,
                          inColumns,
                          outLabels,
                          inRowStride,
                          inLabelStride,
                          SquaredTolerance(inTolerance, inBitDepth, inPlanes),
                          inRadius,
                          outRegions};
    switch (inBitDepth) {
        case 8:
            *outRegionCount = SegmentDepth<unsigned char>(request, inPlanes);
            return;
        case 16:
            *outRegionCount = SegmentDepth<unsigned short>(request, inPlanes);
            return;
        case 32:
            *outRegionCount = SegmentDepth<float>(request, inPlanes);
            return;
        default:
            AssertWithMessage("MWSegment", "WARNING: Unexpected image bit depth.");
    }
}
