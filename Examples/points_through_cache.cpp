// Tracked points as an editor asks for them: KLT features through computers and caches, so
// that a frame which was visited once costs nothing when the user comes back to it.
//
// Each frame's request gets the image and the result of the frame before it. The clip is a
// rendered pattern that moves by 2 pixels to the right and 1 down from frame to frame.

#include <DP/DescriptorFactory.h>
#include <DP/IKLTDescriptor.h>
#include <quillet/UTF8ToUTF16.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kColumns = 240;
constexpr int kRows = 180;
constexpr int kFrames = 6;
constexpr unsigned int kMaxFeatures = 60;
constexpr unsigned int kMinFeatures = 40;
constexpr unsigned int kMinDistance = 10;
constexpr int kFrameStep = 1;

// Squares of many shades, one in each field of 16 by 16 pixels. The kind takes 8-bit grey;
// from colour frames, the grey image kind makes it.
IP::ImagePtr<unsigned char> Render(int inFrame) {
    const auto image = TVK::MakeObject<IP::Image<unsigned char>>(kColumns, kRows);
    unsigned char* pixel = image->GetData();
    for (int row = 0; row < kRows; ++row)
        for (int column = 0; column < kColumns; ++column) {
            const int x = column - 2 * inFrame + 160;
            const int y = row - inFrame + 160;
            const int shade = 70 + (x / 16 * 53 + y / 16 * 97) % 180;
            const bool inSquare = x % 16 >= 5 && y % 16 >= 5;
            *pixel++ = static_cast<unsigned char>(inSquare ? shade : 20);
        }
    return image;
}

DP::Ref<DP::IDescriptorWorkerItem> ItemFor(const quillet::WideString& inSource, int inFrame) {
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeKLT);
    item->SetDataKey(DP::CreateKLTDescriptorDataKey(inSource, inFrame, kFrameStep, kMaxFeatures,
                                                    kRows, kColumns, kMinDistance,
                                                    kMinFeatures));
    return item;
}

}  // namespace

int main() {
    const auto source = quillet::utility::UTF8ToUTF16("moving waves");
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateKLTDescriptorProperty(kMaxFeatures, kFrameStep, kMinDistance, kMinFeatures,
                                        source, DP::kDescriptorDataTypeKLT));

    IP::ImagePtr<unsigned char> previousImage;  // null: the first frame selects
    std::vector<DP::Ref<DP::IDescriptorData>> results(1);
    bool right = true;
    for (int frame = 0; frame < kFrames; ++frame) {
        const auto image = Render(frame);
        const auto item = ItemFor(source, frame);
        DP::Ref<DP::IKLTDescriptorWorkerItem>(item)->SetInputImages(previousImage, image,
                                                                    results.back());
        results.push_back(computer->GetDescriptorData(item, true));
        previousImage = image;

        // A list is an array of slots: a value of 0 and above is a live point, and one of
        // age 1 and above was carried over from the frame before.
        int carried = 0;
        int astray = 0;
        const DP::Ref<DP::IKLTDescriptorData> klt(results.back());
        for (const DP::KLTFeature& feature : *klt->GetFeatureList()) {
            if (feature.mValue < 0 || feature.mAge == 0) continue;
            ++carried;
            astray +=
                std::fabs(feature.mDeltaX - 2) > 0.1f || std::fabs(feature.mDeltaY - 1) > 0.1f;
        }
        std::printf("frame %d: %d points carried over, %d of them astray\n", frame, carried,
                    astray);
        right = right && (frame == 0 || (carried >= 30 && astray == 0));
    }

    // Back to frame 2: the key alone is enough, for the result is in the cache.
    const bool cached = computer->GetDescriptorData(ItemFor(source, 2), true) == results[3];
    std::printf("frame 2 again: %s\n", cached ? "from the cache" : "computed anew");
    DP::FlushAllDescriptorResources();
    return right && cached ? 0 : 1;
}
