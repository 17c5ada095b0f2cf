// The seed fill for 8-bit samples and small radii, in masks of 16 pixels.
//
// The seed is the first pixel in raster order that has no label, so its region lies in the
// rows from its own downward, in a window that is 16 pixels wide at radii up to 7:
//
//        lane   0 . . . . R . . . . 15
//        row 0  . . . . . S x x x . .        one mask of members for each row, and in it
//        row 1  . . x x x x x . . . .        the pixels that have been reached; a row is
//        row 2  . . . . x x . . . . .        looked at once the row above has reached it
//
// What is reached spreads sideways within a row and to the rows below and above until
// nothing is added: the same pixels as by spans, since both are all that is connected.
// Samples are integers, and so are the differences; the limit is the largest integer that
// the single-precision limit lets through.

#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

/// Planes of samples and the labels of their pixels. Strides count samples and labels from
/// row to row; row 0 is the top row.
struct MWSegmentPicture {
    const void* mPlanes[4];
    int mRows;
    int mColumns;
    unsigned int* mLabels;
    int mRowStride;
    int mLabelStride;
};

template <int kPlanes>
class MWSegmentWindowFill {
public:
    static constexpr int kLanes = 16;
    static constexpr int kMostRadius = (kLanes - 1) / 2;

    MWSegmentWindowFill(const MWSegmentPicture& inPicture, float inToleranceSquared,
                        int inRadius)
        : mRowStride(inPicture.mRowStride),
          mLabels(inPicture.mLabels),
          mLabelStride(inPicture.mLabelStride),
          mRows(inPicture.mRows),
          mColumns(inPicture.mColumns) {
        for (int plane = 0; plane < kPlanes; ++plane)
            mPlanes[plane] = static_cast<const unsigned char*>(inPicture.mPlanes[plane]);
        constexpr float kMostSum = 255.0f * 255.0f * kPlanes;
        mIsUsable = inToleranceSquared >= 0 && std::abs(std::int64_t{inRadius}) <= kMostRadius;
        if (!mIsUsable) return;
        mLimit = static_cast<int>(std::min(inToleranceSquared, kMostSum));
        mRadius = std::abs(inRadius);
        for (int row = 0; row <= mRadius; ++row)
            for (int lane = 0; lane < kLanes; ++lane) {
                const int dx = lane - mRadius;
                if (dx * dx + row * row <= mRadius * mRadius) mDisc[row] |= 1u << lane;
            }
    }

    /// Whether the window of a seed in this column lies inside the rows.
    bool Holds(int inX) const {
        return mIsUsable && inX >= mRadius && inX - mRadius + kLanes <= mColumns;
    }

    /// Labels the region of the seed and returns its size. Every pixel before the seed in
    /// raster order has a label.
    unsigned int Fill(int inX, int inY, unsigned int inRegion) {
        for (int plane = 0; plane < kPlanes; ++plane)
            mSeed[plane] = mPlanes[plane][At(inX, inY, mRowStride)];
        mLeft = inX - mRadius;
        mTop = inY;
        mKnownRows = 0;
        const int last = std::min(mRadius, mRows - 1 - inY);
        mReached[0] = Spread(MembersOf(0), 1u << mRadius);
        int deepest = SpreadDown(0, last);
        while (SpreadUp(deepest))
            deepest = std::max(deepest, SpreadDown(0, last));

        int pixels = 0;
        for (int row = 0; row <= deepest; ++row) {
            pixels += std::popcount(mReached[row]);
            unsigned int* const labels = mLabels + At(mLeft, mTop + row, mLabelStride);
            for (unsigned int bits = mReached[row]; bits != 0; bits &= bits - 1)
                labels[std::countr_zero(bits)] = inRegion;
        }
        return static_cast<unsigned int>(pixels);
    }

private:
    static std::ptrdiff_t At(int inX, int inY, int inStride) {
        return std::ptrdiff_t{inY} * inStride + inX;
    }

    // Grows bits sideways within the mask.
    static unsigned int Spread(unsigned int inMask, unsigned int inBits) {
        unsigned int bits = inBits & inMask;
        for (unsigned int before = 0; bits != before;) {
            before = bits;
            bits |= (bits << 1 | bits >> 1) & inMask;
        }
        return bits;
    }

    // Returns the last row that is reached going down from `inRow`.
    int SpreadDown(int inRow, int inLast) {
        int row = inRow;
        while (row < inLast) {
            const unsigned int members = MembersOf(row + 1);
            const unsigned int fresh = mReached[row] & members & ~mReached[row + 1];
            if (fresh != 0) mReached[row + 1] |= Spread(members, fresh);
            if (mReached[row + 1] == 0) break;
            ++row;
        }
        return row;
    }

    // Returns whether a row has reached more in the row above it.
    bool SpreadUp(int inDeepest) {
        bool hasMore = false;
        for (int row = inDeepest - 1; row >= 0; --row) {
            const unsigned int fresh = mReached[row + 1] & mMembers[row] & ~mReached[row];
            if (fresh == 0) continue;
            mReached[row] |= Spread(mMembers[row], fresh);
            hasMore = true;
        }
        return hasMore;
    }

    // The pixels of a row of the window that may join, looked at once.
    unsigned int MembersOf(int inRow) {
        if (inRow == mKnownRows) {
            mMembers[inRow] = FindMembers(inRow) & mDisc[inRow];
            mReached[inRow] = 0;
            ++mKnownRows;
        }
        return mMembers[inRow];
    }

    unsigned int FindMembers(int inRow) const {
        int sums[kLanes] = {};
        for (int plane = 0; plane < kPlanes; ++plane) {
            const unsigned char* const samples =
                mPlanes[plane] + At(mLeft, mTop + inRow, mRowStride);
            for (int lane = 0; lane < kLanes; ++lane) {
                const auto difference = static_cast<short>(samples[lane] - mSeed[plane]);
                sums[lane] += difference * difference;
            }
        }
        const unsigned int* const labels = mLabels + At(mLeft, mTop + inRow, mLabelStride);
        unsigned char isMember[kLanes];
        for (int lane = 0; lane < kLanes; ++lane)
            isMember[lane] = (sums[lane] <= mLimit) & (labels[lane] == 0);
        return Pack(isMember);
    }

    // Bytes of 0 and 1 to bits, the first byte to the lowest bit.
    static unsigned int Pack(const unsigned char* inBytes) {
        unsigned int bits = 0;
        if constexpr (std::endian::native == std::endian::little) {
            // The product moves the bit of byte i to bit 56 + i, without a carry.
            constexpr std::uint64_t kGather = 0x0102040810204080u;
            std::uint64_t halves[2];
            std::memcpy(halves, inBytes, sizeof(halves));
            bits = static_cast<unsigned int>((halves[0] * kGather) >> 56 |
                                             (halves[1] * kGather) >> 56 << 8);
        } else {
            for (int lane = 0; lane < kLanes; ++lane)
                bits |= static_cast<unsigned int>(inBytes[lane]) << lane;
        }
        return bits;
    }

    const unsigned char* mPlanes[kPlanes];
    int mRowStride;
    unsigned int* mLabels;
    int mLabelStride;
    int mRows;
    int mColumns;
    bool mIsUsable = false;
    int mLimit = 0;
    int mRadius = 0;
    unsigned int mDisc[kMostRadius + 1] = {};

    // Of the region that is being filled.
    int mSeed[kPlanes] = {};
    int mLeft = 0;
    int mTop = 0;
    int mKnownRows = 0;
    unsigned int mMembers[kMostRadius + 1] = {};
    unsigned int mReached[kMostRadius + 1] = {};
};
