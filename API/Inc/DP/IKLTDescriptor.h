// The KLT features of a frame: their result and their worker item.

#pragma once

#include "DP/IDescriptorData.h"
#include "DP/KLTFeature.h"
#include "DP/Ref.h"
#include "image/IPImage.h"

namespace DP {

/// The result: one list of features, as long as the property's maximum.
///
/// Ownership: counted; the list is shared with the data and read-only. Copy it, or take
///   `CloneData`, to change it.
/// Threads: any number of threads may read.
/// Errors: none.
/// Frozen: the order of the virtual operations is binary interface.
class IKLTDescriptorData : public TVK::TVKUnknown {
public:
    /// The features, slot by slot, live and lost. Null where none was set.
    virtual KLTFeatureListPtr GetFeatureList() = 0;
};

/// The inputs: this frame, and what is known of the one before.
///
/// A run starts with a frame without previous data: features are selected in it. Every
/// later frame gets the image and the data of its previous frame, which is the one that
/// lies the property's frame step back. When fewer live features than the key's minimum
/// are left, the lost slots are filled from this frame.
///
/// **The border.** Selection takes points up to the edge of the frame, tracking loses those
/// that are nearer to one than the search window reaches on the coarsest level: 24 pixels.
/// Of points spread evenly over w x h pixels the first step loses
/// 1 - (w - 48)(h - 48) / (w h): 32 % at 320x240, 10 % at 1280x720, 7 % at 1920x1080. They
/// read `kKLTOutOfBounds`; a host asks for so many points more.
///
/// Ownership: images and data are shared until the item dies.
/// Threads: one thread at a time, and **the frames of one computer one after the other**.
/// Errors: a null current image throws the contract error. Previous data that is not of
///   this kind, or without a list, makes the request throw TVK::NullInterfaceException.
/// Frozen: the order of the virtual operations is binary interface.
class IKLTDescriptorWorkerItem : public TVK::TVKUnknown {
public:
    /// Both images are 8-bit grey, row 0 the top row, and of one size, which is that of the
    /// key; `IGreyImageDescriptorData` has such images.
    ///
    /// @param inPrevImage  may be null on the first frame; also later, for as long as the
    ///        previous frame's pyramids are still in the cache. Once they are not, a null
    ///        image, or one with fewer pixels than this frame, makes the request throw
    ///        TVK::NullInterfaceException if there are live features. The miss is cached
    ///        like any result: **the request then keeps throwing, with the right image too**,
    ///        until `FlushAllDescriptorResources` or the cache lets go of the empty pyramids.
    /// @param inPrevData  null on the first frame.
    virtual void SetInputImages(IP::ImagePtr<unsigned char> inPrevImage,
                                IP::ImagePtr<unsigned char> inCurrImage,
                                Ref<IDescriptorData> inPrevData) = 0;
};

}  // namespace DP
