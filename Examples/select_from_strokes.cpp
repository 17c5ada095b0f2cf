// A foreground selection as a user draws it: two strokes on a picture of two discs select
// the large one, and a further stroke, which goes on from the first cut, adds the small one.

#include <DP/DescriptorFactory.h>
#include <DP/IGraphCutDescriptor.h>
#include <quillet/UTF8ToUTF16.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int kColumns = 96;
constexpr int kRows = 64;
using Bytes = IP::ImagePtr<unsigned char>;

bool InDisc(int inX, int inY, int inCentreX, int inRadius) {
    const int x = inX - inCentreX;
    const int y = inY - kRows / 2;
    return x * x + y * y < inRadius * inRadius;
}
bool InLarge(int inX, int inY) { return InDisc(inX, inY, 32, 20); }
bool InEither(int inX, int inY) { return InLarge(inX, inY) || InDisc(inX, inY, 76, 11); }

// 8-bit BGRA, and one more byte: the selection reads one behind the last pixel.
std::vector<unsigned char> Render() {
    std::vector<unsigned char> frame;
    for (int y = 0; y < kRows; ++y)
        for (int x = 0; x < kColumns; ++x) {
            const bool disc = InEither(x, y);
            const int grain = (x * 7 + y * 13) % 11;
            for (const int value : {disc ? 40 : 120, disc ? 90 : 110, disc ? 210 : 60, 245})
                frame.push_back(static_cast<unsigned char>(value + grain));
        }
    frame.push_back(frame[frame.size() - 4]);
    return frame;
}

Bytes Blank() {
    const auto image = TVK::MakeObject<IP::Image<unsigned char>>(kColumns, kRows);
    std::fill_n(image->GetData(), kColumns * kRows, static_cast<unsigned char>(0));
    return image;
}

void DrawRow(const Bytes& ioStrokes, int inRow, int inFrom, int inTo) {
    std::fill(ioStrokes->GetData() + inRow * kColumns + inFrom,
              ioStrokes->GetData() + inRow * kColumns + inTo, static_cast<unsigned char>(255));
}

// Prints the selection and how many pixels of it are not as they should be.
int Compare(const char* inTitle, const Bytes& inLabels, bool (*inExpected)(int, int)) {
    int wrong = 0;
    std::puts(inTitle);
    for (int y = 0; y < kRows; ++y)
        for (int x = 0; x < kColumns; ++x) {
            const bool selected = inLabels->GetData()[y * kColumns + x] != 0;
            wrong += selected != inExpected(x, y);
            if (y % 4 == 0 && x % 2 == 0) std::putchar(selected ? '#' : '.');
            if (y % 4 == 0 && x == kColumns - 1) std::putchar('\n');
        }
    std::printf("%d of %d pixels are wrong\n", wrong, kColumns * kRows);
    return wrong;
}

}  // namespace

int main() {
    const auto source = quillet::utility::UTF8ToUTF16("two discs");
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty(source, DP::kDescriptorDataTypeGraphCut));
    const std::vector<unsigned char> frame = Render();

    // A first cut takes no labels, a further one those of the last. Both have one key, so
    // they are not stored: the cache would answer the second with the first.
    const auto select = [&](const Bytes& inForeground, const Bytes& inBackground,
                            const Bytes& inLabels) {
        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGraphCut);
        item->SetDataKey(DP::CreateDescriptorDataKey(source, 0, kRows, kColumns));
        DP::Ref<DP::IGraphCutDescriptorWorkerItem>(item)->SetInputs(
            frame.data(), kColumns * 4, inForeground, inBackground, inLabels);
        const DP::Ref<DP::IGraphCutDescriptorData> data(
            computer->GetDescriptorData(item, false));
        return data->GetLabelImage();
    };

    const Bytes foreground = Blank();
    const Bytes background = Blank();
    DrawRow(foreground, kRows / 2, 24, 40);
    DrawRow(background, 4, 8, 88);
    const Bytes first = select(foreground, background, nullptr);
    const int wrongFirst = Compare("A stroke inside and one above:", first, InLarge);

    DrawRow(foreground, kRows / 2, 70, 82);
    const Bytes second = select(foreground, background, first);
    const int wrongSecond = Compare("And one in the small disc:", second, InEither);

    DP::FlushAllDescriptorResources();
    return wrongFirst == 0 && wrongSecond == 0 ? 0 : 1;
}
