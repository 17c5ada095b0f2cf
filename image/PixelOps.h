// PixelOps: grey conversion of host frames, and the widths of kernels.

#pragma once

namespace IP {

/// Both take 8-bit BGRA, four bytes a pixel in this order, rows `inRowBytes` apart, row 0
/// the top row, and write `inRows` times `inColumns` pixels without gaps. Alpha is not
/// read into the result. The weights are the Rec. 601 luma.
///
/// Both return false and write nothing for a null pointer on either side, for a size below
/// 1, and for a stride shorter than a row.
///
/// Threads: stateless. Errors: the result; nothing throws.

/// (3735 B + 19235 G + 9798 R + 16384) >> 15, in integers.
bool GetGreyImage(const unsigned char* inFrame, int inRows, int inColumns, int inRowBytes,
                  unsigned char* outGrey);

/// (0.114f B + 0.587f G) + 0.299f R, each operation rounded to single precision; 0 to 255.
bool GetFloatGreyImage(const unsigned char* inFrame, int inRows, int inColumns, int inRowBytes,
                       float* outGrey);

/// The widths of the kernels that smoothing and gradients use at `inSigma`: odd, 1 to 71.
/// A border rule needs them without the kernels.
void GetKernelWidths(float inSigma, int& outGaussWidth, int& outGaussDerivWidth);

}  // namespace IP
