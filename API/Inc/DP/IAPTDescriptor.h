// The APT features of a frame: their result and their worker item.

#pragma once

#include "DP/APTFeature.h"
#include "DP/Ref.h"
#include "image/IPImage.h"

namespace DP {

/// The result: the feature list of one frame. Hand it to the next frame's worker item.
///
/// Ownership: counted; the list is shared with the data and read-only.
/// Threads: any number of threads may read.
/// Errors: none.
/// Frozen: the order of the virtual operations is binary interface.
class IAPTDescriptorData : public TVK::TVKUnknown {
public:
    /// The list: as many slots as the property's number of features, live or not. Null
    /// where none was set.
    virtual APTFeatureListPtr GetFeatures() = 0;
};

/// The input: a frame, and the frame before it with its result.
///
/// Ownership: references travel by value and are held until the item dies.
/// Threads: one thread at a time; and the frames of one computer one after the other, since
///   they share its tracker.
/// Errors: a null current image throws the contract error and leaves the earlier inputs.
/// Frozen: the order of the virtual operations is binary interface.
class IAPTDescriptorWorkerItem : public TVK::TVKUnknown {
public:
    /// @param inPrevImage, inPrevData  the previous frame and its result. Without a result
    ///        this is a first frame, and points are selected anew; that is how tracking is
    ///        started again. With a result the image is needed too: a null one, or a result
    ///        without a list, makes the request throw TVK::NullInterfaceException.
    /// @param inCurrImage  grey, 0 to 255, row 0 the top row.
    /// @param inWidth, inHeight  columns and rows of both images. Nothing compares them
    ///        with the images' own.
    ///
    /// The request needs a key made by `CreateAPTDescriptorDataKey`, whose number of
    /// features says below how many live points new ones are selected. Another key throws
    /// TVK::NullInterfaceException, on a first frame only where it is null.
    virtual void SetInputs(IP::ImagePtr<float> inPrevImage, IP::ImagePtr<float> inCurrImage,
                           Ref<IAPTDescriptorData> inPrevData, unsigned int inWidth,
                           unsigned int inHeight) = 0;
};

}  // namespace DP
