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

/// What became of the rectangle in a frame.
enum class RegionState {
    kTracked,
    kHeld,      ///< no place could be found; the last good one stands
    kRestarted  ///< a new run began in this frame, with the last good rectangle
};
/// "tracked", "held" or "restarted".
const char* RegionStateName(RegionState inState);

/// Asks the library for the rectangle in each frame, and hands each result back with the
/// next frame.
///
/// A result without a rectangle is not handed on: the image and the data of the last good
/// frame are offered again with the next one, since a frame that repeats the one before has
/// no point that moves. Where several different frames in a row find no place, the region is
/// truly lost, and a new run starts with the last good rectangle.
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

    /// The rectangle in this frame, or the last one that was found.
    const Box& Track(const Frame& inFrame, long long inNumber);

    RegionState State() const { return mState; }
    /// The points in the frame that the rectangle is of.
    const std::vector<Point>& Points() const { return mPoints; }
    double LibrarySeconds() const { return mSeconds; }

private:
    void StartRun(const Box& inBox, int inRows);
    bool Request(const IP::ImagePtr<float>& inImage, long long inNumber);
    DP::Ref<DP::IDescriptorDataKey> MakeKey(const IP::Image<float>& inImage,
                                            long long inNumber) const;

    GreyImages mImages;
    quillet::WideString mSource;
    RegionSettings mSettings;
    DP::RegionPtr mStart;
    DP::Ref<DP::IDescriptorComputer> mComputer;
    IP::ImagePtr<float> mGoodImage, mLastImage;
    DP::Ref<DP::IDescriptorData> mGoodData;
    Box mBox;
    RegionState mState = RegionState::kTracked;
    int mMisses = 0;  // different frames in a row without a place
    std::vector<Point> mPoints;
    double mSeconds = 0.0;
};

}  // namespace Host
