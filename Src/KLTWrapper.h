// KLTWrapper: what is done with one frame of a KLT run.

#pragma once

#include "DP/IDescriptorData.h"
#include "DP/IDescriptorDataKey.h"
#include "KLT/KLTTracker.h"

namespace DP {

using KLTTrackerPtr = TVK::ObjectPtr<KLTTracker>;

/// The policy over the tracker: select on the first frame, track on every later one, and
/// fill the lost slots when too few features are left. Made for one frame; all that lasts
/// is in the tracker and in the previous frame's data.
///
/// Images are 8-bit grey planes of the wrapper's size without gaps, row 0 the top row.
///
/// Threads: those of the tracker. Errors: see the operations.
class KLTWrapper {
public:
    KLTWrapper(int inRows, int inCols, KLTTrackerPtr inTracker);

    /// Returns the features of a frame.
    ///
    /// @param inPrevImage  may be null on the first frame.
    /// @param inPrevData  null on the first frame of a run, which it is then known by.
    /// @param inDataKey  names the frame; a KLT key also says how few features are too few.
    /// @throws TVK::NullInterfaceException for a null key, and for previous data of another
    ///         kind or without a list.
    KLTFeatureListPtr UpdateTracking(const unsigned char* inPrevImage,
                                     const unsigned char* inCurrImage,
                                     Ref<IDescriptorData> inPrevData,
                                     Ref<IDescriptorDataKey> inDataKey);

    unsigned int CountTrackedFeatures(KLTFeatureListPtr inFeatureList);

    /// Draws the live features on the image, for a developer, each in the colour of its
    /// slot. The file shows the image upside down.
    void WriteFeatureListToPPM(const unsigned char* inImage, int inCols, int inRows,
                               const char* inPath, KLTFeatureListPtr inFeatureList);

private:
    KLTTracker::Rects WholeFrame() const;

    KLTTrackerPtr mTracker;
    std::int32_t mCols;
    std::int32_t mRows;
};

}  // namespace DP
