// RegionTrackerWrapper: one frame of a tracked rectangle.

#pragma once

#include <vector>

#include "APT/APTTracker.h"
#include "DP/APTFeature.h"
#include "DP/IDescriptorDataKey.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "RegionTracker/RegionMotionFit.h"

namespace DP {

/// Lives for one frame. What is kept between frames is the rectangle and the points, in the
/// data that the host hands back. Rectangles count y upward from the bottom of the image,
/// points count y downward.
class RegionTrackerWrapper {
public:
    RegionTrackerWrapper(int inRows, int inCols, TVK::ObjectPtr<APTTracker> inTracker);

    /// The first frame of a run, told by data without points: finds points in the region
    /// and leaves it where it is. Any later one: `TrackRegion`.
    /// @throws TVK::NullInterfaceException for null data, data without a region, or a null
    ///         key.
    void UpdateRegion(const float* inPrevImage, const float* inCurrImage,
                      Ref<IDescriptorDataKey> inDataKey,
                      Ref<IRegionTrackerDescriptorData> inPrevData,
                      APTFeatureListPtr& outFeatures, RegionPtr& outRegion);

    /// Tracks the points, moves the region by them, drops those outside it and finds new
    /// ones inside.
    /// @param outFeatures  an empty list.
    void TrackRegion(APTFeatureListPtr inPrevFeatures, RegionPtr inPrevRegion,
                     const float* inPrevImage, const float* inCurrImage,
                     Ref<IDescriptorDataKey> inDataKey, APTFeatureListPtr& outFeatures,
                     RegionPtr& outRegion);

    /// Frees the slots of list i whose points are outside rectangle i; its edges are inside.
    /// Always false.
    static bool MarkFeaturesOutsideRects(const std::vector<TVK::ParamRect<float>>& inRects,
                                         int inRows, std::vector<APTFeatureListPtr>& ioFls);

    /// @name Pictures for a developer; nothing in the library calls them
    ///
    /// A frame is two pixels thick above and below, and its lower edge is drawn under the
    /// rectangle: **callers keep the rectangle two rows above the bottom of the image and one
    /// column from its right edge.** What falls outside the image is not drawn.
    /// @{

    static void DrawRectOnPlane(unsigned char* inImage, int inCols, int inRows,
                                RegionPtr inRegion);
    static void DrawRectOnPlanes(unsigned char* inRedImage, unsigned char* inGreenImage,
                                 unsigned char* inBlueImage, int inCols, int inRows,
                                 RegionPtr inRegion);

    /// The image with its live points, coloured by slot, and the rectangle in white.
    static void WriteFeatureListRectToPPM(const unsigned char* inImage, int inCols, int inRows,
                                          const char* inPath, APTFeatureListPtr inFeatures,
                                          RegionPtr inRegion);

    /// The same with the outcome of a fit: blue points moved the rectangle, green ones are
    /// of the other group, red ones of neither.
    static void WriteFeatureListRectToPPM(const unsigned char* inImage, int inCols, int inRows,
                                          const char* inPath, APTFeatureListPtr inFeatures,
                                          RegionPtr inRegion, const MotionGroups& inGroups,
                                          int inSelectedGroup);

    /// @}

private:
    TVK::ObjectPtr<APTTracker> mTracker;
    int mCols;
    int mRows;
};

}  // namespace DP
