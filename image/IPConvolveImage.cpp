// Separable convolution of float images.
//
// A pass works along one axis; two passes through a temporary make the whole. A pass
// never reads beyond the image. Where the kernel would, it writes an exact 0:
//
//     0 0 0 | s s s s ... s s | 0 0 0        one row, kernel width 7, radius 3
//
// so a smoothed image carries a frame of zeros one radius wide, and the trackers keep
// their points out of it. Every output pixel is written: an image fresh from the
// recycler holds old pixels and needs no clearing.
//
// Sums. The products of one pixel are added one after the other in single precision, from
// the last tap to the first, starting at 0.

#include "image/IPConvolveImage.h"

#include <algorithm>
#include <cmath>

#include "TVK/ContractCheck.h"
#include "image/PixelOps.h"

namespace IP {
namespace {

// ---- Kernels -------------------------------------------------------------------------

constexpr int kHalf = MAX_KERNEL_WIDTH / 2;
constexpr float kCutOff = 0.01f;  // of the peak

// C libraries differ in the last bit of the single form, so: in double, rounded once.
float Exp(float inValue) { return static_cast<float>(std::exp(double{inValue})); }

// The width that is left when the tails below the cut-off are taken away, two taps at a
// time. A derivative whose taps all lie below it (a sigma that is tiny or negative) comes
// out at a width below 1.
int WidthAboveCutOff(const float* inTaps, float inPeak) {
    int width = MAX_KERNEL_WIDTH;
    for (int i = 0; i < MAX_KERNEL_WIDTH && std::abs(inTaps[i]) / inPeak < kCutOff; ++i)
        width -= 2;
    return width;
}

// Moves the taps from `inShift` on to the front; behind the array there are zeros. A kernel
// without taps becomes a single 0. Returns whether there is something to normalise.
bool MoveToFront(const float* inTaps, int inShift, int inWidth, ConvolutionKernel& outKernel) {
    outKernel = {};
    if (inWidth < 1) return false;
    outKernel.mWidth = inWidth;
    const int count = std::min(inWidth, MAX_KERNEL_WIDTH - inShift);
    std::copy(inTaps + inShift, inTaps + inShift + count, outKernel.mTaps);
    return true;
}

void DivideBy(float inDivisor, ConvolutionKernel& ioKernel) {
    for (int tap = 0; tap < ioKernel.mWidth; ++tap)
        ioKernel.mTaps[tap] /= inDivisor;
}

// The taps of a Gaussian and its derivative, cut off where they fall below a hundredth of
// their peak. Both are moved by the shift of the Gaussian: where the widths differ, the
// derivative stands off centre by half the difference.
void ComputeKernels(float inSigma, ConvolutionKernel& outGauss,
                    ConvolutionKernel& outGaussDeriv) {
    float gauss[MAX_KERNEL_WIDTH];
    float deriv[MAX_KERNEL_WIDTH];
    const float denominator = 2.0f * inSigma * inSigma;
    for (int i = -kHalf; i <= kHalf; ++i) {
        gauss[i + kHalf] = Exp(static_cast<float>(-(i * i)) / denominator);
        deriv[i + kHalf] = static_cast<float>(-i) * gauss[i + kHalf];
    }

    const int gaussWidth = WidthAboveCutOff(gauss, 1.0f);
    const int derivWidth = WidthAboveCutOff(deriv, inSigma * Exp(-0.5f));
    if (gaussWidth == MAX_KERNEL_WIDTH || derivWidth == MAX_KERNEL_WIDTH)
        AssertWithMessage(
            "IP::`anonymous-namespace'::ComputeKernels",
            "(ComputeKernels) MAX_KERNEL_WIDTH %d is too small for a inSigma of %f");

    const int shift = (MAX_KERNEL_WIDTH - gaussWidth) / 2;
    if (MoveToFront(gauss, shift, gaussWidth, outGauss)) {
        float sum = 0.0f;
        for (int tap = 0; tap < outGauss.mWidth; ++tap)
            sum += outGauss.mTaps[tap];
        DivideBy(sum, outGauss);
    }
    if (MoveToFront(deriv, shift, derivWidth, outGaussDeriv)) {
        float sum = 0.0f;
        for (int i = -outGaussDeriv.Radius(); i <= outGaussDeriv.Radius(); ++i)
            sum -= static_cast<float>(i) * outGaussDeriv.mTaps[i + outGaussDeriv.Radius()];
        DivideBy(sum, outGaussDeriv);
    }
}

// ---- One pixel -----------------------------------------------------------------------

// `inWindow` is the first source pixel under the kernel, `inStep` leads to the next. The
// taps run backwards over them, which makes this a convolution and not a correlation.
float KernelSum(const float* inWindow, std::ptrdiff_t inStep,
                const ConvolutionKernel& inKernel) {
    float sum = 0.0f;
    for (int tap = inKernel.mWidth - 1; tap >= 0; --tap, inWindow += inStep)
        sum += inKernel.mTaps[tap] * *inWindow;
    return sum;
}

// One row or column of `inCount` pixels, `inStep` apart.
void ConvolveLine(const float* inLine, int inCount, std::ptrdiff_t inStep,
                  const ConvolutionKernel& inKernel, float* outLine) {
    const int radius = inKernel.Radius();
    for (int i = 0; i < inCount; ++i)
        outLine[i * inStep] = i < radius || i >= inCount - radius
                                  ? 0.0f
                                  : KernelSum(inLine + (i - radius) * inStep, inStep, inKernel);
}

}  // namespace

// ---- The passes ----------------------------------------------------------------------

void ConvolveImageHorizontal(ImagePtr<float> inImage, const ConvolutionKernel& inKernel,
                             ImagePtr<float> outImage) {
    ContractCheck(inImage->GetData() != NULL);
    ContractCheck(outImage->GetData() != NULL);
    const std::ptrdiff_t cols = inImage->GetColumns();
    for (int y = 0; y < inImage->GetRows(); ++y)
        ConvolveLine(inImage->GetData() + y * cols, inImage->GetColumns(), 1, inKernel,
                     outImage->GetData() + y * cols);
}

void ConvolveImageVertical(ImagePtr<float> inImage, const ConvolutionKernel& inKernel,
                           ImagePtr<float> outImage) {
    ContractCheck(inImage->GetData() != NULL);
    ContractCheck(outImage->GetData() != NULL);
    const std::ptrdiff_t cols = inImage->GetColumns();
    for (std::ptrdiff_t x = 0; x < cols; ++x)
        ConvolveLine(inImage->GetData() + x, inImage->GetRows(), cols, inKernel,
                     outImage->GetData() + x);
}

void ConvolveSeparable(ImagePtr<float> inImage, const ConvolutionKernel& inHorizontal,
                       const ConvolutionKernel& inVertical, ImagePtr<float> outImage) {
    const auto temporary =
        TVK::MakeObject<Image<float>>(inImage->GetColumns(), inImage->GetRows());
    ConvolveImageHorizontal(inImage, inHorizontal, temporary);
    ConvolveImageVertical(temporary, inVertical, outImage);
}

// ---- Smoothing and gradients ---------------------------------------------------------

void ComputeSmoothedImage(ImagePtr<float> inImage, float inSigma,
                          ImagePtr<float> outSmoothImage) {
    ContractCheck(outSmoothImage->GetColumns() >= inImage->GetColumns());
    ContractCheck(outSmoothImage->GetRows() >= inImage->GetRows());
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    ConvolveSeparable(inImage, gauss, gauss, outSmoothImage);
}

void ComputeGradients(ImagePtr<float> inImage, float inSigma, ImagePtr<float> outGradX,
                      ImagePtr<float> outGradY) {
    ContractCheck(outGradX->GetColumns() >= inImage->GetColumns());
    ContractCheck(outGradX->GetRows() >= inImage->GetRows());
    ContractCheck(outGradY->GetColumns() >= inImage->GetColumns());
    ContractCheck(outGradY->GetRows() >= inImage->GetRows());
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    ConvolveSeparable(inImage, gaussDeriv, gauss, outGradX);
    ConvolveSeparable(inImage, gauss, gaussDeriv, outGradY);
}

// Declared with the pixel operations, whose callers want no kernels; it stands here, where
// the kernels are.
void GetKernelWidths(float inSigma, int& outGaussWidth, int& outGaussDerivWidth) {
    ConvolutionKernel gauss, gaussDeriv;
    ComputeKernels(inSigma, gauss, gaussDeriv);
    outGaussWidth = gauss.mWidth;
    outGaussDerivWidth = gaussDeriv.mWidth;
}

}  // namespace IP
