// GreyImages: frames in the forms that the trackers take.

#pragma once

#include <algorithm>

#include "ImageRequest.h"

namespace Host {

/// Whether two images have one size and the same pixels.
inline bool AreEqual(const IP::Image<float>& inFirst, const IP::Image<float>& inSecond) {
    const std::size_t pixels =
        std::size_t(inFirst.GetColumns()) * std::size_t(inFirst.GetRows());
    return inFirst.GetColumns() == inSecond.GetColumns() &&
           inFirst.GetRows() == inSecond.GetRows() &&
           std::equal(inFirst.GetData(), inFirst.GetData() + pixels, inSecond.GetData());
}

/// The grey images of one source, asked for as descriptors. A source that is 8-bit grey
/// itself is taken as it is: its bytes are the grey image, and as floats the float image.
///
/// Ownership: plain object; images are shared with the library's cache, and read-only.
/// Threads: one thread at a time.
class GreyImages {
public:
    explicit GreyImages(const std::string& inSource)
        : mGrey(inSource, DP::kDescriptorDataTypeGreyImage),
          mFloat(inSource, DP::kDescriptorDataTypeFloatGreyImage) {}

    IP::ImagePtr<unsigned char> Grey(const Frame& inFrame, long long inNumber) const {
        return GreyImageOf(mGrey.Ask(inFrame, inNumber));  // grey pixels stay what they are
    }

    IP::ImagePtr<float> Float(const Frame& inFrame, long long inNumber) const {
        if (inFrame.mGrey.empty()) return FloatGreyImageOf(mFloat.Ask(inFrame, inNumber));
        auto image = TVK::MakeObject<IP::Image<float>>(inFrame.mWidth, inFrame.mHeight);
        image->ConvertFromBytes(inFrame.mGrey.data(), inFrame.mWidth, inFrame.mHeight);
        return image;
    }

private:
    ImageRequest<DP::IGreyImageDescriptorWorkerItem> mGrey;
    ImageRequest<DP::IFloatGreyImageDescriptorWorkerItem> mFloat;
};

}  // namespace Host
