// FramePyramids: the working form of a frame for the KLT tracker.

#pragma once

#include "image/IPImagePyramid.h"

namespace IP {

/// What tells two sets of pyramids of one frame apart. Sigmas are in pixels.
struct FramePyramidSettings {
    float mGradientSigma = 0.0f;
    float mSmoothSigma = 0.0f;         // of the frame, before everything else
    float mPyramidSigmaFactor = 0.0f;  // times the subsampling: the sigma between levels
    int mSubsampling = 0;
    int mLevelCount = 0;
};

/// Three pyramids of one shape: the smoothed frame and, level by level, its derivatives
/// along x (to the right) and y (downward). Units are grey values, and grey values per
/// pixel of the level.
struct FramePyramids {
    PyramidPtr<float> mSmoothed;
    PyramidPtr<float> mGradientX;
    PyramidPtr<float> mGradientY;
};

/// Makes the pyramids of a frame of 8-bit grey pixels, `inCols` times `inRows` of them
/// without gaps, row 0 the top row. The gradients of a level are taken from that level, not
/// from the gradients of the one before.
///
/// Threads: stateless. Errors: as of the operations that it is made of; an impossible size
/// breaks their contracts.
FramePyramids ComputeFramePyramids(const unsigned char* inPixels, int inCols, int inRows,
                                   const FramePyramidSettings& inSettings);

}  // namespace IP
