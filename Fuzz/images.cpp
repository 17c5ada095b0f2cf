// The kinds that make images of a frame. Grey is compared with the formulas of the headers,
// pixel by pixel, under any stride; the pyramids get any settings, and their levels the sizes
// that their headers promise.

#include <vector>

#include "ColourPyramid/ColourPyramidDescriptorData.h"
#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"
#include "ColourPyramid/ColourPyramidDescriptorWorkerItem.h"
#include "DP/DescriptorFactory.h"
#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "Fuzz/Frames.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "Pyramid/ImagePyramidDescriptorData.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"
#include "Support/Reports.h"

namespace {

using namespace DP;
using Fuzz::Input;
using Fuzz::Require;

template <class Item>
Ref<IDescriptorData> Compute(DescriptorDataType inKind, const Ref<IDescriptorDataKey>& inKey,
                             void (*inSet)(Item&, const void*), const void* inInput) {
    const auto item = CreateDescriptorWorkerItem(inKind);
    item->SetDataKey(inKey);
    inSet(*Ref<Item>(item).operator->(), inInput);
    Ref<IDescriptorData> data;
    Fuzz::ComesThrough([&] {
        data = CreateDescriptorComputer(CreateDescriptorProperty({}, inKind))
                   ->GetDescriptorData(item, false);
    });
    return data;
}

// ---- Grey ----------------------------------------------------------------------------

struct Frame {
    std::vector<unsigned char> mBytes;
    int mRows, mCols, mRowBytes;
};

Frame ReadFrame(Input& ioInput) {
    Frame frame;
    frame.mRows = ioInput.Between(-1, 12);
    frame.mCols = ioInput.Between(-1, 70);
    const int pad = ioInput.Between(-8, 8);
    frame.mRowBytes = 4 * frame.mCols + pad;
    const bool isNoise = ioInput.Flag();
    std::uint32_t state = ioInput.Bits<std::uint32_t>();
    for (int i = 12 * (4 * 70 + 8); i > 0; --i) {
        state = state * 1664525u + 1013904223u;
        frame.mBytes.push_back(isNoise ? static_cast<unsigned char>(state >> 24) : 255);
    }
    return frame;
}

// `inGrey` of blue, green and red is what every pixel must be.
template <class Item, class Data, class T>
void CheckGrey(DescriptorDataType inKind, const Frame& inFrame,
               IP::ImagePtr<T> (Data::*inImage)(), T (*inGrey)(int, int, int)) {
    const auto data = Compute<Item>(
        inKind, CreateDescriptorDataKey({}, 0, inFrame.mRows, inFrame.mCols),
        [](Item& outItem, const void* inInput) {
            const auto& frame = *static_cast<const Frame*>(inInput);
            outItem.SetInputImage(frame.mBytes.data(), frame.mRows, frame.mCols,
                                  frame.mRowBytes);
        },
        &inFrame);
    const bool isUsable =
        inFrame.mRows > 0 && inFrame.mCols > 0 && inFrame.mRowBytes >= 4 * inFrame.mCols;
    Require((data != NULL) == isUsable, "a null result for a frame of no use");
    if (data == NULL) return;
    const Ref<Data> grey(data);
    const IP::ImagePtr<T> image = (*grey.operator->().*inImage)();
    for (int y = 0; y < inFrame.mRows; ++y)
        for (int x = 0; x < inFrame.mCols; ++x) {
            const unsigned char* const pixel =
                &inFrame.mBytes[std::size_t(y * inFrame.mRowBytes + 4 * x)];
            Require(
                image->GetData()[y * inFrame.mCols + x] == inGrey(pixel[0], pixel[1], pixel[2]),
                "the grey of a pixel");
        }
}

// ---- Pyramids ------------------------------------------------------------------------

void CheckImagePyramid(Input& ioInput) {
    const Fuzz::Size size = Fuzz::ReadSize(ioInput, 40);
    const auto pixels = Fuzz::ReadBytesImage(ioInput, size);
    const float gradient = ioInput.Float(), smooth = ioInput.Float(), factor = ioInput.Float();
    const int step = ioInput.Whole<int>(), levels = ioInput.Between(-1, 8);
    const auto data = Compute<ImagePyramidDescriptorWorkerItem>(
        kDescriptorDataTypeImagePyramid,
        CreateImagePyramidDescriptorDataKey({}, 0, gradient, smooth, factor, step, levels,
                                            size.mCols, size.mRows),
        [](ImagePyramidDescriptorWorkerItem& outItem, const void* inPixels) {
            outItem.SetPyramidImage(static_cast<const unsigned char*>(inPixels));
        },
        pixels->GetData());
    if (data == NULL) return;
    const auto pyramid = Ref<ImagePyramidDescriptorData>(data)->GetSmoothedPyramid();
    if (pyramid == NULL) return;
    int cols = size.mCols, rows = size.mRows;
    for (int level = 0; level < levels && step > 0; ++level) {
        Require(pyramid->GetLevel(level)->GetColumns() == cols, "columns of a level");
        Require(pyramid->GetLevel(level)->GetRows() == rows, "rows of a level");
        cols /= step;
        rows /= step;
    }
}

void CheckColourPyramid(Input& ioInput) {
    const Fuzz::Size size = Fuzz::ReadSize(ioInput, 24);
    const auto channels = static_cast<unsigned int>(ioInput.Between(0, 5));
    const auto levels = static_cast<unsigned int>(ioInput.Between(0, 40));
    const auto pixels = Fuzz::ReadFloatImage(ioInput, {size.mCols * 5, size.mRows});
    const auto data = Compute<ColourPyramidDescriptorWorkerItem>(
        kDescriptorDataTypeColourPyramid,
        CreateColourPyramidDescriptorDataKey({}, 0, size.mRows, size.mCols, 0, levels,
                                             channels),
        [](ColourPyramidDescriptorWorkerItem& outItem, const void* inPixels) {
            outItem.SetCurrImage(static_cast<const float*>(inPixels));
        },
        pixels->GetData());
    Require(data != NULL, "a pyramid");
    const auto& shape = Ref<ColourPyramidDescriptorData>(data)->GetShape();
    auto cols = static_cast<std::size_t>(size.mCols), rows = std::size_t(size.mRows);
    for (std::size_t level = 0; level < levels; ++level) {
        Require(shape.LevelWidth(level) == cols && shape.LevelHeight(level) == rows,
                "the size of a level");
        cols = (cols + 1) / 2;
        rows = (rows + 1) / 2;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    const Testing::RecordedReports reports;
    Input input(inData, inSize);
    const int kind = input.Byte() % 4;
    if (kind == 0)
        CheckGrey<IGreyImageDescriptorWorkerItem, IGreyImageDescriptorData, unsigned char>(
            kDescriptorDataTypeGreyImage, ReadFrame(input),
            &IGreyImageDescriptorData::GetGreyImageData, [](int inB, int inG, int inR) {
                return static_cast<unsigned char>(
                    (3735 * inB + 19235 * inG + 9798 * inR + 16384) >> 15);
            });
    if (kind == 1)
        CheckGrey<IFloatGreyImageDescriptorWorkerItem, IFloatGreyImageDescriptorData, float>(
            kDescriptorDataTypeFloatGreyImage, ReadFrame(input),
            &IFloatGreyImageDescriptorData::GetFloatGreyImageData,
            [](int inB, int inG, int inR) {
                return (0.114f * float(inB) + 0.587f * float(inG)) + 0.299f * float(inR);
            });
    if (kind == 2) CheckImagePyramid(input);
    if (kind == 3) CheckColourPyramid(input);
    FlushAllDescriptorResources();
    return 0;
}
