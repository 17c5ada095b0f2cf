// The shortest whole program: the grey image of one frame, asked for twice.
//
// A request has four parts. A property leads to a computer, a key names the result, an item
// carries the pixels, and the computer answers: from its cache, or by computing.

#include <DP/DescriptorFactory.h>
#include <DP/IGreyImageDescriptor.h>
#include <quillet/UTF8ToUTF16.h>

#include <cstdio>

int main() {
    // Four pixels in a row, 8-bit blue, green, red, alpha: blue, green, red, white.
    constexpr int kRows = 1;
    constexpr int kColumns = 4;
    const unsigned char frame[kRows * kColumns * 4] = {255, 0, 0,   255, 0,   255, 0,   255,
                                                       0,   0, 255, 255, 255, 255, 255, 255};

    const auto source = quillet::utility::UTF8ToUTF16("four pixels");
    const DP::DescriptorDataType kind = DP::kDescriptorDataTypeGreyImage;
    const auto computer =
        DP::CreateDescriptorComputer(DP::CreateDescriptorProperty(source, kind));

    const long long frameNumber = 0;
    const auto key = DP::CreateDescriptorDataKey(source, frameNumber, kRows, kColumns);
    const auto item = DP::CreateDescriptorWorkerItem(kind);
    item->SetDataKey(key);
    // The kind's own inputs are reached by converting the reference to its interface.
    DP::Ref<DP::IGreyImageDescriptorWorkerItem>(item)->SetInputImage(frame, kRows, kColumns,
                                                                     kColumns * 4);
    const auto data = computer->GetDescriptorData(item, true);

    // And so is its result.
    const DP::Ref<DP::IGreyImageDescriptorData> result(data);
    const IP::ImagePtr<unsigned char> image = result->GetGreyImageData();
    const unsigned char* const grey = image->GetData();
    std::printf("blue %d, green %d, red %d, white %d\n", grey[0], grey[1], grey[2], grey[3]);

    // An equal key is answered from the cache: this item has no pixels at all.
    const auto again = DP::CreateDescriptorWorkerItem(kind);
    again->SetDataKey(DP::CreateDescriptorDataKey(source, frameNumber, kRows, kColumns));
    const bool shared = computer->GetDescriptorData(again, true) == data;
    std::printf("asked again: %s\n", shared ? "the same object" : "another object");

    // Optional: gives everything back before the program ends.
    DP::FlushAllDescriptorResources();
    const bool right = grey[0] == 29 && grey[1] == 150 && grey[2] == 76 && grey[3] == 255;
    return right && shared ? 0 : 1;
}
