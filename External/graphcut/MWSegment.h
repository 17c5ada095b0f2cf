// MWSegment: an image cut into small regions of like colour.

#pragma once

#include "image/RecycledAllocator.h"

/// What a fill knows of a region.
struct SegmentRegion {
    unsigned int mSeed;    // the index of its first pixel in raster order, in `outLabels`
    unsigned int mPixels;  // how many have its label
};

/// Labels every pixel of an image with the number of its region, so that a graph over the
/// image needs one node for a region and not one for each pixel.
///
/// The first unlabelled pixel in raster order is a seed. Its region is what can be reached
/// from it, up, down and sideways, through unlabelled pixels that are
///
///       * within `inRadius` of the seed, and         (dx² + dy² <= radius²)
///       * within the tolerance of the seed's colour  (mean squared difference per plane
///                                                     <= (inTolerance * full scale)²)
///
/// Both limits are inclusive and both compare with the seed and not with the neighbour: no
/// colour drifts along a chain of pixels, and no region has more than (2 radius + 1)²
/// pixels. Labels count up from 2, without gaps; 0 means unlabelled, and 0 and 1 are the
/// terminals of the graph whose node numbers the labels are.
///
/// @param inPlane0..3  `unsigned char`, `unsigned short` or `float` samples by `inBitDepth`
///        8, 16 or 32; full scale is 255, 32768 or 1. One plane is grey, three are RGB, four
///        CMYK; planes beyond `inPlanes` are not looked at. Row 0 is the top row.
/// @param inLeft,inTop  not used.
/// @param outLabels  `inRows` by `inColumns` labels, rows `inLabelStride` labels apart.
/// @param inRowStride  **in samples**, not in bytes.
/// @param outRegionCount  the number of regions.
/// @param outRegions  gets the regions in the order of their labels; may be null.
///
/// Ownership: nothing is kept.
/// Threads: any, on labels of their own.
/// Errors: another count of planes or another depth is reported once and leaves the labels
///   untouched and the count 0. A fill that runs out of memory ends its region early; what
///   it missed gets regions of its own. A float sample that is NaN or infinite fails its
///   own test: its region number is used up and its label stays 0.
void MWSegment(const void* inPlane0, const void* inPlane1, const void* inPlane2,
               const void* inPlane3, int inRows, int inColumns, int inLeft, int inTop,
               unsigned int* outLabels, int inRowStride, int inLabelStride, int inPlanes,
               int inBitDepth, float inTolerance, int inRadius, unsigned int* outRegionCount,
               IP::RecycledVector<SegmentRegion>* outRegions = nullptr);
