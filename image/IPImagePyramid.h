// ImagePyramidImpl: a frame at falling sizes.

#pragma once

#include <memory>

#include "image/IPImage.h"

namespace IP {

template <class T>
class ImagePyramidImpl;

template <class T>
using PyramidPtr = TVK::ObjectPtr<ImagePyramidImpl<T>>;

/// A stack of images, level 0 first and largest. Each further level has the columns and
/// rows of the one before divided by the subsampling, fractions dropped:
///
///     720 x 480, subsampling 4:    720 x 480    180 x 120    45 x 30
///
/// Row 0 of every level is the top row. **New levels hold stale pixels.**
///
/// Ownership: the pyramid owns its levels; `GetLevel` shares one. Pyramids travel as
///   `PyramidPtr<T>`.
/// Threads: no locks. One thread fills a pyramid, any number may read it afterwards.
/// Errors: a level whose size is impossible has no pixels. `ComputePyramid` breaks the
///   contract for an image of another size than level 0.
///
/// The order of the members is binary interface and frozen.
template <>
class ImagePyramidImpl<float> {
public:
    enum class LevelZero { kAllocated, kLater };

    ImagePyramidImpl() = default;

    /// With a level count below 1 there are no levels. Level 0 is null where it is to come
    /// later, by `SetLevelZero`.
    ImagePyramidImpl(int inCols, int inRows, int inSubsampling, int inLevelCount,
                     LevelZero inLevelZero = LevelZero::kAllocated);

    int GetColumns() const { return mCols; }
    int GetRows() const { return mRows; }
    int GetSubsampling() const { return mSubsampling; }
    int GetLevelCount() const { return mLevelCount; }

    /// Level 0 to `GetLevelCount() - 1`, without a check.
    ImagePtr<float> GetLevel(int inLevel) const { return mLevels[inLevel]; }

    /// An image of the pyramid's own size. There is at least one level.
    void SetLevelZero(ImagePtr<float> inImage) { mLevels[0] = inImage; }

    /// Copies `inImage` into level 0. Each further level is the one before, smoothed by a
    /// Gaussian of sigma `inSigmaFactor` times the subsampling, and of that the pixel in
    /// the middle of every block of subsampling by subsampling.
    ///
    /// A subsampling other than 2, 4, 8, 16 or 32 is reported and used as it is.
    void ComputePyramid(ImagePtr<float> inImage, float inSigmaFactor);

    /// The same with the smoothed frame as level 0, by a Gaussian of `inSmoothSigma`, without
    /// an image between. `inBytes` holds the pixels of the frame without gaps.
    void ComputePyramidOfBytes(const unsigned char* inBytes, float inSmoothSigma,
                               float inSigmaFactor);

private:
    bool HasKnownSubsampling() const;
    void ReportSubsampling() const;
    float SigmaBetweenLevels(float inSigmaFactor) const;
    void ComputeLevelsFrom(int inFirst, float inSigmaFactor);

    int mCols = 0;
    int mRows = 0;
    int mSubsampling = 0;
    int mLevelCount = 0;
    std::unique_ptr<ImagePtr<float>[]> mLevels;
};

}  // namespace IP
