// RegionTracker: a rectangle carried through a clip.

#pragma once

#include <string>
#include <vector>

#include "DP/IAPTDescriptor.h"
#include "DP/IRegionTrackerDescriptor.h"
#include "Geometry.h"
#include "GreyImages.h"

namespace Host {

struct RegionSettings {
    unsigned mFeatures = 500;
    unsigned mMinDistance = 3;
};

/// Asks the library for the rectangle in each frame, and hands each result back with the
/// next frame.
///
/// Boxes count y downward, as pictures do. The library counts a region's y upward from the
/// foot of the picture; the conversion is here and nowhere else.
///
/// Ownership: plain object.
/// Threads: one thread at a time.
/// Errors: what the library throws.
class RegionTracker {
public:
    RegionTracker(const std::string& inSource, const Box& inStart, int inRows,
                  const RegionSettings& inSettings);

    /// The rectangle in this frame; one without area once it was lost.
    const Box& Track(const Frame& inFrame, long long inNumber);

    const std::vector<Point>& Points() const { return mPoints; }
    double LibrarySeconds() const { return mSeconds; }

private:
    DP::Ref<DP::IDescriptorDataKey> MakeKey(const Frame& inFrame, long long inNumber) const;

    GreyImages mImages;
    quillet::WideString mSource;
    RegionSettings mSettings;
    DP::RegionPtr mStart;
    DP::Ref<DP::IDescriptorComputer> mComputer;
    IP::ImagePtr<float> mPrevImage;
    DP::Ref<DP::IDescriptorData> mPrevData;
    Box mBox;
    std::vector<Point> mPoints;
    double mSeconds = 0.0;
};

}  // namespace Host
