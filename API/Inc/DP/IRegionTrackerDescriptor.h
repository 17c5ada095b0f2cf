// A rectangle carried through the frames: its result and its worker item.
//
// Each frame's result goes into the next frame's item, and the run starts with a rectangle
// of the host's own:
//
//     CreateRegionDescriptorData(region)     a rectangle, no points yet
//        |
//     frame 0: SetInputs(null, image 0, that, w, h)          points found in the rectangle
//        |
//     frame 1: SetInputs(image 0, image 1, result 0, w, h)   moved by its points
//        |
//     frame 2: SetInputs(image 1, image 2, result 1, w, h)   and so on

#pragma once

#include "DP/Ref.h"
#include "TVK/ObjectPtr.h"
#include "TVK/ParamRect.h"
#include "image/IPImage.h"

namespace DP {

/// A region in pixels, **y upward from the bottom of the image**; see TVK/ParamRect.h. A
/// rectangle x, y, w, h of a picture with `rows` rows that counts y downward is the region
/// (x, rows - y - h, x + w, rows - y).
using RegionPtr = TVK::ObjectPtr<TVK::ParamRect<float>>;

/// The result: the rectangle in this frame. The points that moved it come with the same
/// object, which also answers to `IAPTDescriptorData`.
///
/// Ownership: counted; the rectangle is shared with the data and read-only. The first
///   frame's result shares the rectangle that the run was started with.
/// Threads: any number of threads may read.
/// Errors: a region that was lost is no error and is told by nothing but the rectangle: it
///   has no area, (0, rows, 0, rows), and keeps that in all later frames. Two identical
///   frames in a row lose it too, since points that do not move at all are dropped.
/// Frozen: the order of the virtual operations is binary interface.
class IRegionTrackerDescriptorData : public TVK::TVKUnknown {
public:
    /// The rectangle, y upward. It may leave the image, and no limit is set to its size; but
    /// which of two motions it follows is judged in whole pixels, where a side that no
    /// 32-bit integer can hold counts as -2^31. Null where none was set.
    virtual RegionPtr GetRegion() = 0;
};

/// The input: two frames and the result of the first of them.
///
/// Ownership: images and data are shared with the item until it dies.
/// Threads: one thread at a time; and the frames of one computer one after the other.
/// Errors: a null current image throws the contract error and leaves the item as it was. A
///   null `inPrevData`, one without a rectangle, and a null key throw
///   TVK::NullInterfaceException out of the request for the result.
/// Frozen: the order of the virtual operations is binary interface.
class IRegionTrackerDescriptorWorkerItem : public TVK::TVKUnknown {
public:
    /// @param inPrevImage  grey values 0 to 255, as the float grey kind makes them. Null on
    ///        the first frame only: where `inPrevData` has points, it is read.
    /// @param inCurrImage  of the same size, row 0 the top row.
    /// @param inPrevData  the previous frame's result, or the start of a run from
    ///        `CreateRegionDescriptorData`.
    /// @param inWidth,inHeight  size of both images, the same for all frames of a computer.
    virtual void SetInputs(IP::ImagePtr<float> inPrevImage, IP::ImagePtr<float> inCurrImage,
                           Ref<IRegionTrackerDescriptorData> inPrevData, unsigned int inWidth,
                           unsigned int inHeight) = 0;
};

}  // namespace DP
