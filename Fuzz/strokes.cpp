// Strokes on frames, through the graph cut's worker items. A result is 0 or 255 and of the
// strokes' size; a refused request changes nothing; the label image learns the foreground.

#include <algorithm>
#include <cstring>
#include <vector>

#include "DP/DescriptorFactory.h"
#include "DP/IGraphCutDescriptor.h"
#include "Fuzz/Frames.h"
#include "Fuzz/Input.h"
#include "Fuzz/Verdict.h"
#include "Support/Images.h"
#include "Support/Reports.h"

namespace {

using DP::Ref;
using Fuzz::Input;
using Fuzz::Require;
using BytesImage = IP::ImagePtr<unsigned char>;

// Rectangles of one value on 0; or no image, or one without pixels, or of another size.
BytesImage ReadStrokes(Input& ioInput, Fuzz::Size inSize) {
    const int kind = ioInput.Byte();
    if (kind == 0xff) return {};
    if (kind == 0xfe) return TVK::MakeObject<IP::Image<unsigned char>>();
    if (kind == 0xfd) return TVK::MakeObject<IP::Image<unsigned char>>(-inSize.mCols, 1);
    if (kind == 0xfc) ++inSize.mRows;
    const auto image = TVK::MakeObject<IP::Image<unsigned char>>(inSize.mCols, inSize.mRows);
    unsigned char* const pixels = image->GetData();
    std::memset(pixels, 0, static_cast<std::size_t>(inSize.mCols * inSize.mRows));
    for (int strokes = kind % 4; strokes > 0; --strokes) {
        const int value = ioInput.OneOf({255, 255, 254, 129, 128, 127});
        const int left = ioInput.Byte() % inSize.mCols, top = ioInput.Byte() % inSize.mRows;
        const int width = ioInput.Between(1, 6), height = ioInput.Between(1, 6);
        for (int y = top; y < std::min(top + height, inSize.mRows); ++y)
            for (int x = left; x < std::min(left + width, inSize.mCols); ++x)
                pixels[y * inSize.mCols + x] = static_cast<unsigned char>(value);
    }
    return image;
}

Fuzz::Size SizeOf(const BytesImage& inImage) {
    return {inImage->GetColumns(), inImage->GetRows()};
}

BytesImage CopyOf(const BytesImage& inImage) {
    return Testing::ImageOf(inImage->GetColumns(), inImage->GetRows(),
                            Testing::PixelsOf(inImage));
}

class Run {
public:
    explicit Run(Input& ioInput) : mInput(ioInput) { ReadFrame(); }

    void Stroke() {
        const int kind = mInput.Byte();
        if (kind % 32 <= 1) ReadFrame();  // with labels it does not fit what is kept
        const BytesImage foreground = ReadStrokes(mInput, mSize);
        const BytesImage background = ReadStrokes(mInput, mSize);
        // Not before a frame of this input is kept: the graph is that of the process.
        if (kind % 16 == 1 && mKeptSize.mCols != 0) mLabels = ReadStrokes(mInput, mSize);
        const bool hasLabels = mLabels != NULL && mLabels->GetData() != NULL;
        const auto before =
            hasLabels ? Testing::PixelsOf(mLabels) : std::vector<unsigned char>();

        const bool isFirst = mLabels == NULL;
        const BytesImage result = Request(foreground, background, kind == 0xff);
        if (hasLabels) CheckLabels(before, result == NULL ? BytesImage() : foreground);
        if (result == NULL) return;
        Require(isFirst || mKeptSize == SizeOf(foreground),
                "a further stroke fits the frame that is kept");
        if (isFirst) mKeptSize = SizeOf(foreground);
        Require(result->GetColumns() == foreground->GetColumns() &&
                    result->GetRows() == foreground->GetRows(),
                "the size of the strokes");
        for (const unsigned char label : Testing::PixelsOf(result))
            Require(label == 0 || label == 255, "a label");
        mLabels = kind % 2 ? result : CopyOf(result);
    }

private:
    void ReadFrame() {
        mSize = {mInput.Between(1, 24), mInput.Between(1, 24)};
        mRowBytes = static_cast<unsigned int>(mInput.Between(0, 4 * mSize.mCols + 3));
        if (mInput.Byte() < 0xe0) mRowBytes = static_cast<unsigned int>(4 * mSize.mCols);
        // Room for strokes of one row more.
        const int bytes = (mSize.mRows + 1) * (4 * mSize.mCols + 3) + 1;
        const BytesImage pixels = Fuzz::ReadBytesImage(mInput, {bytes, 1});
        mFrame = Testing::PixelsOf(pixels);
        mLabels = {};
    }

    BytesImage Request(const BytesImage& inForeground, const BytesImage& inBackground,
                       bool inHasNoFrame) {
        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGraphCut);
        item->SetDataKey(DP::CreateDescriptorDataKey({}, 0, mSize.mRows, mSize.mCols));
        Ref<DP::IGraphCutDescriptorWorkerItem>(item)->SetInputs(
            inHasNoFrame ? nullptr : mFrame.data(), mRowBytes, inForeground, inBackground,
            mLabels);
        BytesImage result;
        Fuzz::ComesThrough([&] {
            const Ref<DP::IGraphCutDescriptorData> data(
                mComputer->GetDescriptorData(item, false));
            result = data->GetLabelImage();  // null where a report returned
        });
        return result;
    }

    void CheckLabels(const std::vector<unsigned char>& inBefore,
                     const BytesImage& inForeground) const {
        const auto after = Testing::PixelsOf(mLabels);
        for (std::size_t i = 0; i < after.size(); ++i) {
            const bool isMarked = inForeground != NULL && inForeground->GetData()[i] == 255;
            Require(after[i] == (isMarked ? 255 : inBefore[i]), "the label image");
        }
    }

    Input& mInput;
    Fuzz::Size mSize{};
    unsigned int mRowBytes = 0;
    std::vector<unsigned char> mFrame;
    BytesImage mLabels;
    Fuzz::Size mKeptSize{};
    Ref<DP::IDescriptorComputer> mComputer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty({}, DP::kDescriptorDataTypeGraphCut));
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    const Testing::RecordedReports reports;
    Input input(inData, inSize);
    {
        const Fuzz::ReturningErrors errors(input.Flag());
        Run run(input);
        for (int strokes = 0; strokes < 12 && !input.IsAtEnd(); ++strokes)
            run.Stroke();
    }
    DP::FlushAllDescriptorResources();
    return 0;
}
