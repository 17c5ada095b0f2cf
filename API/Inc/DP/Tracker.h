// Tracker: points tracked through a stream of frames, without keys, caches or computers.

#pragma once

#include "DP/APTFeature.h"
#include "DP/Export.h"
#include "TVK/ObjectPtr.h"
#include "image/IPImage.h"

namespace DP {

class TrackerImpl;

/// Follows up to 500 points: one call a frame, one fresh list a call. When fewer than 450
/// are alive, free slots are filled with new points of that frame.
///
///     DP::Tracker* tracker = DP::Tracker::CreateTracker(width, height);
///     TVK::ObjectPtr<std::vector<DP::APTFeature>> features;
///     for (...) tracker->TrackFeatures(image, frame, features);
///     delete tracker;
///
/// Ownership: the caller deletes the tracker. It shares the last image and the last list
///   with the caller until the next call: neither may be written meanwhile.
/// Threads: one at a time. Different trackers share nothing.
/// Errors: a null image throws the contract error, and no state changes. A point that
///   cannot be followed says so in its status. No memory throws std::bad_alloc; the tracker
///   then stands where the last good call left it.
///
/// Name, members and the one pointer inside are binary interface and frozen. There is no
/// virtual operation, and the class is not made to be derived from.
class Tracker {
public:
    /// Makes a tracker for images of one size. The caller owns it.
    DP_API static Tracker* CreateTracker(unsigned int inWidth, unsigned int inHeight);

    DP_API ~Tracker();
    Tracker(const Tracker&) = delete;
    Tracker& operator=(const Tracker&) = delete;

    /// 500 and 450, on any tracker at any time.
    /// @{
    DP_API unsigned int GetMaxFeatures() const;
    DP_API unsigned int GetMinFeatures() const;
    /// @}

    /// Carries the points of the last call into this frame; on the first call selects them.
    ///
    /// @param inCurrentFloatGrayImage  grey, 0 to 255, row 0 the top row, **of the size
    ///        that the tracker was made for**: it is not compared. An image without pixels
    ///        throws TVK::NullInterfaceException.
    /// @param inFrameNumber  stamps new points and does nothing else: their status is this
    ///        number + 1. Any order will do. From 0x7FFFFFFF on the stamp is no positive
    ///        number, and the points read as free slots (0xFFFFFFFF: as tracked ones).
    /// @param outFeatures  made to refer to a new list of 500 slots. A point that did not
    ///        move at all is dropped, so that two equal frames empty the list and fill it
    ///        anew. A call that throws, but for the contract error, may leave the new list
    ///        there with fewer slots.
    DP_API void TrackFeatures(IP::ImagePtr<float> inCurrentFloatGrayImage,
                              unsigned int inFrameNumber, APTFeatureListPtr& outFeatures);

private:
    explicit Tracker(TrackerImpl* inImpl) : mImpl(inImpl) {}

    TrackerImpl* mImpl;
};

}  // namespace DP
