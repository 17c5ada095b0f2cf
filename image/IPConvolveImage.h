// Gaussian smoothing and gradients of float images by separable convolution.

#pragma once

#include "image/IPImage.h"

namespace IP {

inline constexpr int MAX_KERNEL_WIDTH = 71;

/// The taps of one direction; the first `mWidth`, an odd number, are in use. A kernel is a
/// local value of the call that builds it: nothing is kept from one call to the next.
struct ConvolutionKernel {
    int mWidth = 1;
    float mTaps[MAX_KERNEL_WIDTH] = {};

    int Radius() const { return mWidth / 2; }
};

/// The taps of the Gaussian of `inSigma`, in pixels, which sum up to 1, and of its derivative,
/// which makes 1 of a ramp of slope 1. A sigma beyond what `MAX_KERNEL_WIDTH` holds (about
/// 11) is reported, and the tails are cut off.
void ComputeKernels(float inSigma, ConvolutionKernel& outGauss,
                    ConvolutionKernel& outGaussDeriv);

// Shape. Every operation takes its size from `inImage` and writes that many pixels from the
//   first one on, so an output has at least that size; it gets the rows of `inImage`, row 0
//   the top row, without gaps. **A frame of exact zeros, one kernel radius wide, surrounds
//   what could be computed**: nothing is clamped or mirrored. An image narrower than the
//   kernel comes out all zero. All pixels are written, so an output needs no clearing.
// Ownership: images are shared for the call only. An output is never the input.
// Threads: stateless; any number may run at once on outputs of their own.
// Errors: no pixels, or an output that is too small, breaks the contract. A sigma beyond
//   what `MAX_KERNEL_WIDTH` holds (about 11) is reported, and the tails are cut off.

/// A true convolution: the last tap meets the leftmost pixel, so a rising ramp under a
/// derivative kernel comes out positive.
void ConvolveImageHorizontal(ImagePtr<float> inImage, const ConvolutionKernel& inKernel,
                             ImagePtr<float> outImage);

/// The same down the columns.
void ConvolveImageVertical(ImagePtr<float> inImage, const ConvolutionKernel& inKernel,
                           ImagePtr<float> outImage);

/// The horizontal pass, then the vertical one on its result.
void ConvolveSeparable(ImagePtr<float> inImage, const ConvolutionKernel& inHorizontal,
                       const ConvolutionKernel& inVertical, ImagePtr<float> outImage);

/// The Gaussian of `inSigma`, in pixels, in both directions.
void ComputeSmoothedImage(ImagePtr<float> inImage, float inSigma,
                          ImagePtr<float> outSmoothImage);

/// `Image::ConvertFromBytes` and `ComputeSmoothedImage` in one, without an image between.
/// `inBytes` holds `inCols` times `inRows` pixels without gaps.
void ComputeSmoothedBytes(const unsigned char* inBytes, int inCols, int inRows, float inSigma,
                          ImagePtr<float> outSmoothImage);

/// Of the smoothed image, the pixel in the middle of every block of `inStep` by `inStep`:
/// output (x, y) is smoothed pixel (inStep x + inStep / 2, inStep y + inStep / 2). Only
/// those pixels are smoothed. The blocks that the output has room for lie in the image.
void ComputeSmoothedSamples(ImagePtr<float> inImage, float inSigma, int inStep,
                            ImagePtr<float> outSamples);

/// Both in one pass over rows: `ComputeSmoothedBytes` with `inSigma` into an image of the size
/// of the frame, and `ComputeSmoothedSamples` of it with `inSampleSigma`. The outputs have
/// pixels.
void ComputeSmoothedBytesAndSamples(const unsigned char* inBytes, float inSigma,
                                    ImagePtr<float> outSmoothImage, float inSampleSigma,
                                    int inStep, ImagePtr<float> outSamples);

/// The derivatives along x (to the right) and y (downward): that of the Gaussian in one
/// direction, the Gaussian itself in the other. A ramp of slope 1 gives 1.
void ComputeGradients(ImagePtr<float> inImage, float inSigma, ImagePtr<float> outGradX,
                      ImagePtr<float> outGradY);

}  // namespace IP
