// The float grey image of a frame: its result and its worker item.

#pragma once

#include "DP/Ref.h"
#include "image/IPImage.h"

namespace DP {

/// The result: one float grey image.
///
/// Ownership: counted; the image is shared with the data and read-only.
/// Threads: any number of threads may read.
/// Errors: none.
/// Frozen: the order of the virtual operations is binary interface.
class IFloatGreyImageDescriptorData : public TVK::TVKUnknown {
public:
    /// The image: the frame's columns and rows, row 0 the top row, 0.0 to 255.0. Null
    /// where none was set.
    virtual IP::ImagePtr<float> GetFloatGreyImageData() = 0;
};

/// The input: one frame of 8-bit BGRA.
///
/// Ownership: the frame stays the host's and must stay valid until the request for the
///   result has returned.
/// Threads: one thread at a time.
/// Errors: a null frame throws the contract error. A size below 1 or a stride shorter than
///   a row is no error: the request then gives a null result.
/// Frozen: the order of the virtual operations is binary interface.
class IFloatGreyImageDescriptorWorkerItem : public TVK::TVKUnknown {
public:
    /// @param inCurrImage  four bytes a pixel, in the order blue, green, red, alpha; alpha
    ///        is not used. Row 0 is the top row.
    /// @param inRowBytes  bytes from the start of a row to the start of the next.
    ///
    /// Grey is the Rec. 601 luma: (0.114f B + 0.587f G) + 0.299f R in single precision.
    virtual void SetInputImage(const unsigned char* inCurrImage, int inRows, int inColumns,
                               int inRowBytes) = 0;
};

}  // namespace DP
