// The energy between two neighbouring pixels, and who is whose neighbour: shared by the
// image graph and the tiled one.

#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <type_traits>
#include <vector>

#include "TVK/ContractCheck.h"
#include "image/RecycledAllocator.h"

namespace graphcut {

/// A neighbour that lies behind a pixel in raster order, so that each pair is met once.
struct NeighborOffset {
    int mX;
    int mY;
    double mWeight;  // one over the distance
};

/// The half of a neighbourhood of 4, 8 or 20 that lies behind; empty for any other.
///
///      .  7  8  9  .         the offsets in the order in which they are visited: 1 and 3
///      6  2  3  4 10         for a neighbourhood of 4, 1 to 4 for 8, all for 20
///      5  1  x
///
std::span<const NeighborOffset> NeighborOffsets(unsigned short inNeighborhood);

/// Planes of samples, and where their first pixel stands in the graph's coordinates.
struct PictureArea {
    const void* mPlanes[4];
    int mRows;
    int mColumns;
    int mLeft;
    int mTop;
    int mRowStride;  // bytes
};

/// How fast an energy falls with the difference.
struct EnergyShape {
    double mScale;
    double mSigma;
    double mExponent;
};

/// The energies of pixel pairs of one picture. `T` is the sample, of 8, 16 or 32 bits.
template <class T, int kPlanes>
class PairEnergies {
public:
    PairEnergies(const PictureArea& inArea, const EnergyShape& inShape)
        : mArea(inArea), mShape(inShape), mRowStride(inArea.mRowStride >> kStrideShift) {
        for (int plane = 0; plane < kPlanes; ++plane)
            mPlanes[plane] = static_cast<const T*>(inArea.mPlanes[plane]);
        const double sigma = inShape.mSigma * kFullScale;
        if (sigma > 0) mDifferenceScale = 1.5 / kPlanes / (sigma * sigma);
        if constexpr (kHasMemo)
            mMemo.assign(std::size_t{255 * 255 * kPlanes} + 1,
                         std::numeric_limits<double>::quiet_NaN());
    }

    const PictureArea& Area() const { return mArea; }

    /// Whether energies are looked up by the sum of the squared differences.
    static constexpr bool kHasMemo = sizeof(T) == 1;

    /// The sums for `inCount` pixels from one place on and their neighbours from another on.
    void SquaredDifferences(std::ptrdiff_t inPixel, std::ptrdiff_t inNeighbor,
                            std::ptrdiff_t inCount, int* outSums) const requires kHasMemo {
        const T *pixels[kPlanes], *neighbors[kPlanes];
        for (int plane = 0; plane < kPlanes; ++plane) {
            pixels[plane] = mPlanes[plane] + inPixel;
            neighbors[plane] = mPlanes[plane] + inNeighbor;
        }
        for (std::ptrdiff_t i = 0; i < inCount; ++i) {
            int sum = 0;
            for (int plane = 0; plane < kPlanes; ++plane) {
                const auto difference =
                    static_cast<short>(pixels[plane][i] - neighbors[plane][i]);
                sum += difference * difference;
            }
            outSums[i] = sum;
        }
    }
    float OfSquaredDifference(int inSum, double inWeight) const requires kHasMemo {
        return static_cast<float>(Remembered(inSum) * inWeight);
    }

    /// In samples.
    std::ptrdiff_t RowStride() const { return mRowStride; }

    /// Where the sample at (inX, inY) of the planes is.
    std::ptrdiff_t At(std::ptrdiff_t inX, std::ptrdiff_t inY) const {
        return inY * mRowStride + inX;
    }

    /// The energy of the pixels at two places.
    float operator()(std::ptrdiff_t inPixel, std::ptrdiff_t inNeighbor, double inWeight) const {
        return static_cast<float>(Unweighted(inPixel, inNeighbor) * inWeight);
    }

private:
    static constexpr double kFullScale = sizeof(T) == 1 ? 255 : sizeof(T) == 2 ? 32768 : 1;
    static constexpr int kStrideShift = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : 2;

    double Unweighted(std::ptrdiff_t inPixel, std::ptrdiff_t inNeighbor) const {
        // Samples are widened before they are subtracted; integers then give the same sum
        // as doubles, which hold all of them exactly.
        using Wide = std::conditional_t<kHasMemo, int, double>;
        Wide sum = 0;
        for (int plane = 0; plane < kPlanes; ++plane) {
            const Wide difference =
                Wide(mPlanes[plane][inPixel]) - Wide(mPlanes[plane][inNeighbor]);
            sum += difference * difference;
        }
        if constexpr (kHasMemo) {
            return Remembered(sum);
        } else {
            return Evaluate(sum);
        }
    }

    double Remembered(int inSum) const {
        double& known = mMemo[static_cast<std::size_t>(inSum)];
        if (std::isnan(known)) known = Evaluate(inSum);
        return known;
    }

    double Evaluate(double inSquaredDifference) const {
        const double power = std::pow(inSquaredDifference * mDifferenceScale, mShape.mExponent);
        return std::exp(-power) * mShape.mScale;
    }

    PictureArea mArea;
    EnergyShape mShape;
    std::int32_t mRowStride;  // samples
    const T* mPlanes[kPlanes];
    double mDifferenceScale = 1;
    // 8-bit samples have few squared differences and frames meet them again and again: the
    // exponential of each is taken once.
    mutable IP::RecycledVector<double> mMemo;
};

inline constexpr const char* kReportedFile = "External/graphcut/imgraphcut.cpp";

/// The two checks on a picture's format, for the class `Caller` whose `kReportedName` they
/// are reported under: one hide flag for the depth, and one for the planes of each depth.
template <class Caller, class T, class Visit>
void VisitPlanes(const PictureArea& inArea, int inPlanes, const EnergyShape& inShape,
                 Visit inVisit) {
    switch (inPlanes) {
        case 1:
            return inVisit(PairEnergies<T, 1>(inArea, inShape));
        case 3:
            return inVisit(PairEnergies<T, 3>(inArea, inShape));
        case 4:
            return inVisit(PairEnergies<T, 4>(inArea, inShape));
        default:
            AssertWithMessageIn(kReportedFile, Caller::kReportedName,
                                "WARNING: Unexpected # of image planes.");
    }
}

/// Calls `inVisit` with the pair energies of the sample type and the number of planes.
template <class Caller, class Visit>
void VisitPairEnergies(const PictureArea& inArea, int inPlanes, int inBitDepth,
                       const EnergyShape& inShape, Visit inVisit) {
    switch (inBitDepth) {
        case 8:
            return VisitPlanes<Caller, unsigned char>(inArea, inPlanes, inShape, inVisit);
        case 16:
            return VisitPlanes<Caller, unsigned short>(inArea, inPlanes, inShape, inVisit);
        case 32:
            return VisitPlanes<Caller, float>(inArea, inPlanes, inShape, inVisit);
        default:
            AssertWithMessageIn(kReportedFile, Caller::kReportedName,
                                "WARNING: Unexpected image bit depth.");
    }
}

}  // namespace graphcut
