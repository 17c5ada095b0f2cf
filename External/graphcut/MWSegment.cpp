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

#include "External/graphcut/MWSegmentSeedFill.h"
#include "External/graphcut/MWSegmentWindowFill.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"
#include "image/Saturate.h"

namespace {

// What the regions of all variants are made from.
struct Request {
    MWSegmentPicture mPicture;
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

void ClearLabels(const MWSegmentPicture& inPicture) {
    constexpr int kRowsAtOnce = 64;
    for (int y = 0; y < inPicture.mRows; ++y) {
        if (y % kRowsAtOnce == 0) IP::Checkpoint(0, 0);
        std::fill_n(inPicture.mLabels + std::ptrdiff_t{y} * inPicture.mLabelStride,
                    std::max(inPicture.mColumns, 0), 0u);
    }
}

// Stands for the fill by masks where samples have more than 8 bits.
struct NoWindowFill {
    NoWindowFill(const MWSegmentPicture&, float, int) {}
    static constexpr bool Holds(int) { return false; }
    static constexpr unsigned int Fill(int, int, unsigned int) { return 0; }
};

template <class T, int kPlanes>
unsigned int SegmentPlanes(const Request& inRequest) {
    const MWSegmentPicture& picture = inRequest.mPicture;
    MWSegmentSeedFillPlanes<T, unsigned int, kPlanes> fill;
    fill.mLabels = picture.mLabels;
    fill.mLabelStride = picture.mLabelStride;
    fill.mColourToleranceSquared = inRequest.mToleranceSquared;
    fill.mRadiusSquared = IP::SquareOrMost(inRequest.mRadius);
    fill.mRowStride = picture.mRowStride;
    for (int plane = 0; plane < kPlanes; ++plane)
        fill.mPlanes[plane] = static_cast<const T*>(picture.mPlanes[plane]);

    const auto row = [&](int inY) {
        return picture.mLabels + std::ptrdiff_t{inY} * picture.mLabelStride;
    };
    ClearLabels(picture);

    // Where it fits, the fill by masks labels the same pixels sooner.
    std::conditional_t<sizeof(T) == 1, MWSegmentWindowFill<kPlanes>, NoWindowFill> window(
        picture, inRequest.mToleranceSquared, inRequest.mRadius);

    // A region is told by its seed, as an index into the labels, and its number of pixels.
    const auto tell = [&](int inX, int inY, unsigned int inPixels) {
        if (inRequest.mRegions)
            inRequest.mRegions->push_back(
                {static_cast<unsigned int>(row(inY) - picture.mLabels) + unsigned(inX),
                 inPixels});
    };
    // The last column and row, not the ends.
    const FillArea area{0, 0, picture.mColumns - 1, picture.mRows - 1};
    constexpr unsigned int kFirstRegion = 2;
    unsigned int region = kFirstRegion;
    for (int y = 0; y < picture.mRows; ++y) {
        IP::Checkpoint(y, picture.mRows);
        for (int x = 0; x < picture.mColumns; ++x) {
            if (row(y)[x] != 0) continue;
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
    const Request request{{{inPlane0, inPlane1, inPlane2, inPlane3},
                           inRows,
                           inColumns,
                           outLabels,
                           inRowStride,
                           inLabelStride},
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
