// The foreground of a frame, selected by strokes: its result and its worker item.

#pragma once

#include "DP/Ref.h"
#include "image/IPImage.h"

namespace DP {

/// The result: one 8-bit label image, 255 where a pixel belongs to the foreground, else 0.
///
/// Ownership: counted; the image is shared with the data, not copied.
/// Threads: any number of threads may read. A host that passes the image on as the current
///   label image of a further stroke has it changed in place, and the cached data with it:
///   it copies the image first, or lets nobody read meanwhile.
/// Errors: none.
/// Frozen: the order of the virtual operations is binary interface.
class IGraphCutDescriptorData : public TVK::TVKUnknown {
public:
    /// The labels: the frame's columns and rows, row 0 the top row. Null where none was set.
    virtual IP::ImagePtr<unsigned char> GetLabelImage() = 0;
};

/// The input: a frame and the strokes on it.
///
/// The first request for a frame takes a null current label image: it cuts the frame into
/// regions and drops what was kept of the frame before. Each further stroke on the same
/// frame takes a label image of the frame's size, that of the last result; it goes on from
/// the last cut and costs a fraction of it. The frame's pixels are then not read.
///
/// Strokes of earlier requests stay in force until a new frame, whether the later stroke
/// images show them or not. Each request needs a data key of its own, or no caching: a
/// request for a key that is in the cache computes nothing.
///
/// There is no undo. To take a stroke back, start the frame anew (a null current label image)
/// with the first stroke and repeat the strokes that stay, request by request and in their
/// order: the result has the bits of a run that never had the stroke. A background stroke
/// painted over a wrong foreground one is something else: its pixels are then background
/// whatever the colours say.
///
/// Ownership: the images are shared. The frame stays the host's, and must stay valid until
///   the request for the result has returned.
/// Threads: **one graph cut at a time in the process**: what is kept between strokes is
///   common to all items, and there is no lock.
/// Errors: stroke images that are null or differ in size, a null frame or a frame without
///   pixels or with more than 2^31 - 1 where one is needed, rows that overlap or lie more
///   than 2^31 - 1 bytes apart where it is read, and a current label image that
///   does not fit the kept frame throw the contract error from the request, before the
///   label image is changed.
/// Frozen: the order of the virtual operations is binary interface.
class IGraphCutDescriptorWorkerItem : public TVK::TVKUnknown {
public:
    /// @param inRGBImage  the frame, four bytes a pixel, row 0 the top row; size as the
    ///        stroke images. **One byte behind the last pixel is read** and counts as part
    ///        of it: a row longer than its pixels has it, else the host provides it.
    /// @param inRowBytes  bytes from the start of a row to the start of the next: for a new
    ///        frame at least four a pixel and at most 2^31 - 1, else not looked at.
    /// @param inForegroundStrokeImage,inBackgroundStrokeImage  a value above 128 is a
    ///        stroke; where both are, it is foreground. They must have one size.
    /// @param inCurrentLabelImage  null for a new frame. Otherwise **changed in place**: it
    ///        becomes 255 where a foreground stroke is 255 (of those strokes from 129 to
    ///        254, which cut as well, it learns nothing).
    virtual void SetInputs(const unsigned char* inRGBImage, unsigned int inRowBytes,
                           IP::ImagePtr<unsigned char> inForegroundStrokeImage,
                           IP::ImagePtr<unsigned char> inBackgroundStrokeImage,
                           IP::ImagePtr<unsigned char> inCurrentLabelImage) = 0;
};

}  // namespace DP
