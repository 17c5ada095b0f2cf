// The seed fill behind MWSegment: fill objects for each sample type and number of planes,
// and the fill itself. It is the scan-line seed fill of Heckbert (Graphics Gems).
//
//     row y - dy      . . [ x1 = = = = x2 ] . .      a span that was filled,
//     row y         . # # # # . . # # # # # # .      and what is found from it:
//                    l              x2+2...          spans in the row that is explored.
//                                                    What sticks out on the left or right
//     may also have neighbours back in row y - dy: such a leak is pushed with dy reversed.

#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

/// The rectangle of a fill, all four sides inclusive.
struct FillArea {
    int mLeft;
    int mTop;
    int mRight;
    int mBottom;
};

/// A filled span whose neighbour row, in direction `dy`, is still to be explored.
struct FillSpan {
    std::int32_t y;
    std::int32_t xLeft;
    std::int32_t xRight;
    std::int32_t dy;
};

/// What a fill asks of a picture and does to it. `Label` is the type of a label.
///
/// Ownership: labels and planes are the caller's.
/// Threads: one thread at a time.
/// Errors: none.
/// Frozen: the order of the two virtual operations and of the first six members.
template <class Label>
class MWSegmentSeedFill {
public:
    virtual bool IsInside(int inX, int inY) = 0;
    virtual void SetPixel(int inX, int inY) = 0;

    Label* mLabels = nullptr;
    std::int32_t mLabelStride = 0;
    std::int32_t mSeedX = 0;
    std::int32_t mSeedY = 0;
    Label mRegionId = 0;
    float mColourToleranceSquared = 0;
    std::int32_t mRadiusSquared = 0;
    std::vector<FillSpan> mStack;  // kept from fill to fill for its memory

protected:
    ~MWSegmentSeedFill() = default;
};

/// The fill objects of all depths and numbers of planes: `kPlanes` 1 is grey, 3 RGB, 4 CMYK.
template <class T, class Label, int kPlanes>
class MWSegmentSeedFillPlanes final : public MWSegmentSeedFill<Label> {
public:
    bool IsInside(int inX, int inY) override {
        if (*LabelAt(inX, inY) != 0) return false;
        const std::int64_t dx = std::int64_t{inX} - this->mSeedX;
        const std::int64_t dy = std::int64_t{inY} - this->mSeedY;
        if (dy * dy + dx * dx > this->mRadiusSquared) return false;
        float sum = 0;
        for (int plane = 0; plane < kPlanes; ++plane) {
            const float difference = SampleAt(plane, inX, inY) - mSeed[plane];
            sum += difference * difference;
        }
        return this->mColourToleranceSquared >= sum;
    }

    void SetPixel(int inX, int inY) override {
        *LabelAt(inX, inY) = this->mRegionId;
        ++mFilled;
    }

    /// Makes (inX, inY) the seed.
    void SetSeed(int inX, int inY) {
        this->mSeedX = inX;
        this->mSeedY = inY;
        for (int plane = 0; plane < kPlanes; ++plane)
            mSeed[plane] = SampleAt(plane, inX, inY);
    }

    const T* mPlanes[kPlanes] = {};
    std::int32_t mRowStride = 0;  // in samples
    float mSeed[kPlanes] = {};
    unsigned int mFilled = 0;  // calls of SetPixel

private:
    Label* LabelAt(int inX, int inY) const {
        return this->mLabels + std::ptrdiff_t{inY} * this->mLabelStride + inX;
    }
    float SampleAt(int inPlane, int inX, int inY) const {
        return static_cast<float>(mPlanes[inPlane][std::ptrdiff_t{inY} * mRowStride + inX]);
    }
};

template <class T, class Label>
using MWSegmentSeedFillGray = MWSegmentSeedFillPlanes<T, Label, 1>;
template <class T, class Label>
using MWSegmentSeedFillRGB = MWSegmentSeedFillPlanes<T, Label, 3>;
template <class T, class Label>
using MWSegmentSeedFillCMYK = MWSegmentSeedFillPlanes<T, Label, 4>;

namespace detail {

template <class Fill>
void FillFromSeed(int inX, int inY, const FillArea& inArea, Fill& ioFill) {
    auto& stack = ioFill.mStack;
    const auto push = [&](int inRow, int inLeft, int inRight, int inStep) {
        if (inRow + inStep >= inArea.mTop && inRow + inStep <= inArea.mBottom)
            stack.push_back({inRow, inLeft, inRight, inStep});
    };

    stack.clear();
    if (inX < inArea.mLeft || inX > inArea.mRight || inY < inArea.mTop || inY > inArea.mBottom)
        return;
    push(inY, inX, inX, 1);
    push(inY + 1, inX, inX, -1);  // comes off first: the seed's own row

    while (!stack.empty()) {
        const FillSpan span = stack.back();
        stack.pop_back();
        const int y = span.y + span.dy;

        // To the left from under the span's left end.
        int x = span.xLeft;
        for (; x >= inArea.mLeft && ioFill.IsInside(x, y); --x)
            ioFill.SetPixel(x, y);
        int left = x + 1;
        bool inRun = x < span.xLeft;
        if (inRun && left < span.xLeft) push(y, left, span.xLeft - 1, -span.dy);
        x = span.xLeft + 1;

        // Runs under the span; the last of them may go on behind its right end.
        do {
            if (inRun) {
                for (; x <= inArea.mRight && ioFill.IsInside(x, y); ++x)
                    ioFill.SetPixel(x, y);
                push(y, left, x - 1, span.dy);
                if (x > span.xRight + 1) push(y, span.xRight + 1, x - 1, -span.dy);
                ++x;
            }
            while (x <= span.xRight && !ioFill.IsInside(x, y))
                ++x;
            left = x;
            inRun = true;
        } while (x <= span.xRight);
    }
}

}  // namespace detail

/// Fills the region of the seed (inX, inY). `Fill` is a class that is final: the two calls
/// per pixel are then resolved when this is compiled.
///
/// @return 0, or 2 after `std::bad_alloc`, or 1 after anything else that was thrown; the
///   pixels filled by then stay filled.
template <class Fill>
int SeedFill(int inX, int inY, const FillArea& inArea, Fill& ioFill) {
    try {
        detail::FillFromSeed(inX, inY, inArea, ioFill);
        return 0;
    } catch (const std::bad_alloc&) {
        return 2;
    } catch (...) {
        return 1;
    }
}
