// ImageRequest: the road of one request, for the kinds that turn a frame into an image.

#pragma once

#include <string>

#include "DP/DescriptorFactory.h"
#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "Frame.h"
#include "quillet/UTF8ToUTF16.h"

namespace Host {

/// The name of a source as the library takes it.
inline quillet::WideString SourceID(const std::string& inName) {
    return quillet::utility::UTF8ToUTF16(inName);
}

/// Asks for the grey (or float grey) images of one source's frames.
///
/// A request has four parts: a property leads to a computer, a key names the frame, an
/// item carries the pixels, and the computer answers from its cache or computes.
template <class Item>
class ImageRequest {
public:
    ImageRequest(const std::string& inSource, DP::DescriptorDataType inKind)
        : mKind(inKind),
          mSource(SourceID(inSource)),
          mComputer(
              DP::CreateDescriptorComputer(DP::CreateDescriptorProperty(mSource, inKind))) {}

    DP::Ref<DP::IDescriptorData> Ask(const Frame& inFrame, long long inNumber) const {
        const DP::Ref<DP::IDescriptorWorkerItem> item = DP::CreateDescriptorWorkerItem(mKind);
        item->SetDataKey(
            DP::CreateDescriptorDataKey(mSource, inNumber, inFrame.mHeight, inFrame.mWidth));
        DP::Ref<Item>(item)->SetInputImage(inFrame.mPixels.data(), inFrame.mHeight,
                                           inFrame.mWidth, inFrame.RowBytes());
        return mComputer->GetDescriptorData(item, true);
    }

private:
    DP::DescriptorDataType mKind;
    quillet::WideString mSource;
    DP::Ref<DP::IDescriptorComputer> mComputer;
};

/// The grey image of one frame.
inline IP::ImagePtr<unsigned char> GreyImageOf(const DP::Ref<DP::IDescriptorData>& inData) {
    return DP::Ref<DP::IGreyImageDescriptorData>(inData)->GetGreyImageData();
}
inline IP::ImagePtr<float> FloatGreyImageOf(const DP::Ref<DP::IDescriptorData>& inData) {
    return DP::Ref<DP::IFloatGreyImageDescriptorData>(inData)->GetFloatGreyImageData();
}

}  // namespace Host
