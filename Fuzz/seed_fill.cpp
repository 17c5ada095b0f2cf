// An image cut into regions, beside the plain form of the definition: every pixel belongs to
// the first seed, in raster order, from which it can be reached.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "External/graphcut/MWSegment.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"

namespace {

using Fuzz::Input;
using Fuzz::Require;

constexpr unsigned int kGuard = 0xabcdef01u;  // between the rows of labels

struct Request {
    int mRows, mCols, mRowStride, mLabelStride, mPlanes, mRadius;
    float mTolerance, mScale;
};

template <class T>
class Picture {
public:
    Picture(Input& ioInput, const Request& inRequest) : mRequest(inRequest) {
        const bool isSmooth = ioInput.Flag();
        for (int plane = 0; plane < inRequest.mPlanes; ++plane)
            for (int i = 0; i < inRequest.mRows * inRequest.mRowStride; ++i)
                mSamples[plane].push_back(ReadSample(ioInput, isSmooth));
    }
    const T* Plane(int inIndex) const { return mSamples[inIndex].data(); }

    bool IsFinite() const {
        return std::all_of(mSamples, mSamples + 4, [](const std::vector<T>& inPlane) {
            return std::all_of(inPlane.begin(), inPlane.end(),
                               [](T inValue) { return std::isfinite(float(inValue)); });
        });
    }

    bool Joins(int inSeed, int inPixel) const {
        const std::int64_t dx = inSeed % mRequest.mCols - inPixel % mRequest.mCols;
        const std::int64_t dy = inSeed / mRequest.mCols - inPixel / mRequest.mCols;
        const std::int64_t square = std::int64_t{mRequest.mRadius} * mRequest.mRadius;
        if (dx * dx + dy * dy > square) return false;
        float sum = 0;
        for (int plane = 0; plane < mRequest.mPlanes; ++plane) {
            const float difference = At(plane, inPixel) - At(plane, inSeed);
            sum += difference * difference;
        }
        const float scaled = mRequest.mTolerance * mRequest.mScale;
        return sum <= scaled * scaled * static_cast<float>(mRequest.mPlanes);
    }

private:
    static T ReadSample(Input& ioInput, bool inIsSmooth) {
        if constexpr (std::is_same_v<T, float>)
            return inIsSmooth ? static_cast<float>(ioInput.Byte()) / 255.0f : ioInput.Float();
        else
            return inIsSmooth ? static_cast<T>(100 + ioInput.Byte() % 16) : ioInput.Bits<T>();
    }
    float At(int inPlane, int inPixel) const {
        const int y = inPixel / mRequest.mCols, x = inPixel % mRequest.mCols;
        return static_cast<float>(mSamples[inPlane][std::size_t(y * mRequest.mRowStride + x)]);
    }

    Request mRequest;
    std::vector<T> mSamples[4];
};

// The labels by the definition, and the number of regions.
template <class T>
std::pair<std::vector<unsigned int>, unsigned int> PlainLabels(const Picture<T>& inPicture,
                                                               const Request& inRequest) {
    const int cols = inRequest.mCols, count = inRequest.mRows * cols;
    std::vector<unsigned int> labels(std::size_t(count), 0u);
    unsigned int next = 2;
    for (int seed = 0; seed < count; ++seed) {
        if (labels[std::size_t(seed)] != 0) continue;
        std::vector<int> open{seed};
        while (!open.empty()) {
            const int pixel = open.back();
            open.pop_back();
            if (labels[std::size_t(pixel)] != 0 || !inPicture.Joins(seed, pixel)) continue;
            labels[std::size_t(pixel)] = next;
            if (pixel % cols > 0) open.push_back(pixel - 1);
            if (pixel % cols < cols - 1) open.push_back(pixel + 1);
            if (pixel >= cols) open.push_back(pixel - cols);
            if (pixel + cols < count) open.push_back(pixel + cols);
        }
        ++next;
    }
    return {labels, next - 2};
}

template <class T>
void Segment(Input& ioInput, const Request& inRequest, int inDepth) {
    const Picture<T> picture(ioInput, inRequest);
    std::vector<unsigned int> labels(std::size_t(inRequest.mRows * inRequest.mLabelStride),
                                     kGuard);
    unsigned int regions = 0;
    MWSegment(picture.Plane(0), picture.Plane(1), picture.Plane(2), picture.Plane(3),
              inRequest.mRows, inRequest.mCols, 0, 0, labels.data(), inRequest.mRowStride,
              inRequest.mLabelStride, inRequest.mPlanes, inDepth, inRequest.mTolerance,
              inRequest.mRadius, &regions);
    const bool isKnown = inRequest.mPlanes == 1 || inRequest.mPlanes >= 3;
    if (isKnown && !picture.IsFinite()) return;
    const auto [plain, plainRegions] = PlainLabels(picture, inRequest);
    Require(regions == (isKnown ? plainRegions : 0), "the number of regions");
    for (int y = 0; y < inRequest.mRows; ++y)
        for (int x = 0; x < inRequest.mLabelStride; ++x) {
            const bool isWritten = isKnown && x < inRequest.mCols;
            const unsigned int wanted =
                isWritten ? plain[std::size_t(y * inRequest.mCols + x)] : kGuard;
            Require(labels[std::size_t(y * inRequest.mLabelStride + x)] == wanted, "a label");
        }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    Input input(inData, inSize);
    Request request{};
    const int depth = input.OneOf({8, 8, 16, 32});
    request.mRows = input.Between(0, 16);
    request.mCols = input.Between(1, 40);
    request.mRowStride = request.mCols + input.Between(0, 3);
    request.mLabelStride = request.mCols + input.Between(0, 3);
    request.mPlanes = input.Between(0, 15) == 0 ? 2 : input.OneOf({1, 3, 4});
    request.mRadius = input.Whole<int>();
    request.mTolerance = input.Flag() ? 10.0f / 255.0f : input.Float();
    request.mScale = depth == 8 ? 255.0f : depth == 16 ? 32768.0f : 1.0f;
    if (depth == 8) Segment<unsigned char>(input, request, depth);
    if (depth == 16) Segment<unsigned short>(input, request, depth);
    if (depth == 32) Segment<float>(input, request, depth);
    return 0;
}
