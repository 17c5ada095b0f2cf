// The grey images of one source's frames, 8-bit or float.

#pragma once

#include <climits>
#include <type_traits>
#include <vector>

#include "DP/IFloatGreyImageDescriptor.h"
#include "DP/IGreyImageDescriptor.h"
#include "descriptor/Frame.h"
#include "descriptor/Source.h"
#include "descriptor/detail/Pixels.h"
#include "descriptor/detail/Request.h"

namespace descriptor::detail {

/// `T` is `unsigned char` or `float`.
template <class T>
class GreyImages {
public:
    explicit GreyImages(const Source& inSource)
        : mIsNamed(inSource.is_named()),
          mName(
              quillet::utility::UTF8ToUTF16((mIsNamed ? "named " : "only ") + inSource.name())),
          mComputer("a grey image", quillet::utility::UTF8ToUTF16(unique_text("grey ")),
                    [](const quillet::WideString& inText) {
                        return DP::CreateDescriptorProperty(inText, kKind);
                    }) {}

    /// @throws ArgumentError for a frame that cannot be.
    IP::ImagePtr<T> of(const Frame& inFrame) const {
        check(inFrame);
        if constexpr (kIsFloat) {
            if (is_grey(inFrame)) return floats_of_grey(inFrame);
            return DP::Ref<DP::IFloatGreyImageDescriptorData>(convert(inFrame))
                ->GetFloatGreyImageData();
        } else {
            if (is_grey(inFrame)) return bytes_of_grey(inFrame);
            return DP::Ref<DP::IGreyImageDescriptorData>(convert(inFrame))->GetGreyImageData();
        }
    }

private:
    static constexpr bool kIsFloat = std::is_same_v<T, float>;
    static constexpr DP::DescriptorDataType kKind =
        kIsFloat ? DP::kDescriptorDataTypeFloatGreyImage : DP::kDescriptorDataTypeGreyImage;
    using Item = std::conditional_t<kIsFloat, DP::IFloatGreyImageDescriptorWorkerItem,
                                    DP::IGreyImageDescriptorWorkerItem>;

    // What may be asked for again is stored; everything else is asked for under one key that
    // never has an answer, so that nothing is left behind.
    DP::Ref<DP::IDescriptorData> convert(const Frame& inFrame) const {
        const bool isKept = mIsNamed && inFrame.number.has_value();
        const auto key = DP::CreateDescriptorDataKey(isKept ? mName : mName + u" unnumbered",
                                                     inFrame.number.value_or(0), inFrame.height,
                                                     inFrame.width);
        std::vector<unsigned char> converted;
        return ask(
            "a grey image", mComputer, kKind, key, isKept,
            [&](const DP::Ref<DP::IDescriptorWorkerItem>& ioItem) {
                const auto* pixels = static_cast<const unsigned char*>(inFrame.pixels);
                std::ptrdiff_t stride = inFrame.row_bytes();
                if (inFrame.format != PixelFormat::bgra || stride < 0 || stride > INT_MAX) {
                    converted = bgra_with_end(inFrame);
                    pixels = converted.data();
                    stride = std::ptrdiff_t{inFrame.width} * 4;
                }
                DP::Ref<Item>(ioItem)->SetInputImage(pixels, inFrame.height, inFrame.width,
                                                     static_cast<int>(stride));
            });
    }

    bool mIsNamed;
    quillet::WideString mName;
    OwnComputer mComputer;
};

}  // namespace descriptor::detail
