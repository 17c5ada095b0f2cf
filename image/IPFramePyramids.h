// FramePyramids: the working form of a frame for the KLT tracker.

#pragma once

#include "image/FrameView.h"
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
///
/// The gradients of level 0 are two planes as large as the frame. Who follows points reads
/// next to nothing of them, so they may be left out (level 0 is null) and be made later.
struct FramePyramids {
    PyramidPtr<float> mSmoothed;
    PyramidPtr<float> mGradientX;
    PyramidPtr<float> mGradientY;
};

/// The one sigma of gradients for which level 0 may be left out: its kernels have seven taps
/// each, and whoever reads single windows makes the gradients there (see KLTGradientBlock).
inline constexpr float kWindowGradientSigma = 1.0f;

/// Makes the pyramids of a frame. The gradients of a level are taken from that level, not
/// from the gradients of the one before. With `LevelZero::kLater`, and where the sigma
/// allows it, those of level 0 are left out.
///
/// Threads: stateless. Errors: as of the operations that it is made of; an impossible size
/// breaks their contracts.
FramePyramids ComputeFramePyramids(const FrameView& inFrame,
                                   const FramePyramidSettings& inSettings,
                                   ImagePyramidImpl<float>::LevelZero inGradients =
                                       ImagePyramidImpl<float>::LevelZero::kAllocated);

/// Whether the gradients of level 0 were left out.
bool LacksLevelZeroGradients(const FramePyramids& inPyramids);

/// Makes the gradients of level 0 that were left out.
void AddLevelZeroGradients(const FramePyramids& ioPyramids, float inGradientSigma);

}  // namespace IP
