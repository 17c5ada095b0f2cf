// What the kinds whose result is one image have in common: the result, and the frame that
// it is made from. A kind states its interfaces, its pixel and its number.

#pragma once

#include "DescriptorObjects.h"
#include "image/IPImage.h"

namespace DP {

/// A frame as the host gives it: 8-bit BGRA, row 0 the top row. Not owned.
struct HostFrame {
    const unsigned char* mPixels = nullptr;
    int mRows = 0;
    int mColumns = 0;
    int mRowBytes = 0;
};

/// Data that holds one image. `Self` adds the getter of its interface.
template <class Self, class Interface, class Pixel, DescriptorDataType kKind>
class ImageDescriptorData : public TVK::Object<Self, Interface, DescriptorData> {
public:
    void SetImage(IP::ImagePtr<Pixel> inImage) { mImage = inImage; }

    unsigned int GetDataSize() override {
        if (mImage == NULL) return 0;
        return static_cast<unsigned int>(mImage->GetColumns()) *
               static_cast<unsigned int>(mImage->GetRows()) * sizeof(Pixel);
    }

    /// The clone has pixels of its own, or none if this has none or memory runs out.
    Ref<IDescriptorData> CloneData() override {
        Ref<IDescriptorData> clone;
        FillNewData<Self>(kKind, clone, [&](Self& outClone) {
            if (mImage == NULL) return;
            const auto copy =
                TVK::MakeObject<IP::Image<Pixel>>(mImage->GetColumns(), mImage->GetRows());
            copy->CopyPixelsFrom(mImage);
            if (copy->GetData()) outClone.SetImage(copy);
        });
        return clone;
    }

protected:
    IP::ImagePtr<Pixel> mImage;
};

/// Converts `inFrame` by `inConvert` into a new image under a new data object. Leaves
/// `ioResult` alone if the conversion fails.
template <class Data, class Pixel, class Convert>
void ConvertFrame(const HostFrame& inFrame, DescriptorDataType inKind, Convert inConvert,
                  Ref<IDescriptorData>& ioResult) {
    const auto image = TVK::MakeObject<IP::Image<Pixel>>(inFrame.mColumns, inFrame.mRows);
    if (!inConvert(inFrame.mPixels, inFrame.mRows, inFrame.mColumns, inFrame.mRowBytes,
                   image->GetData()))
        return;
    FillNewData<Data>(inKind, ioResult, [&](Data& outData) { outData.SetImage(image); });
}

}  // namespace DP
