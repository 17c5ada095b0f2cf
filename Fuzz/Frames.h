// Frames of an input: flat, textured or raw, with a few hostile pixels.

#pragma once

#include <algorithm>
#include <cstdint>

#include "Fuzz/Input.h"
#include "image/IPImage.h"

namespace Fuzz {

struct Size {
    int mCols;
    int mRows;
    bool operator==(const Size&) const = default;
};

/// From no pixel a side to `inMost`.
inline Size ReadSize(Input& ioInput, int inMost) {
    return {ioInput.Between(0, inMost), ioInput.Between(0, inMost)};
}

/// Blocks of three pixels, moved by the input, so that there is something to track.
inline unsigned char TextureAt(int inX, int inY) {
    auto mixed = static_cast<std::uint32_t>(inX / 3) * 0x9e3779b1u ^
                 static_cast<std::uint32_t>(inY / 3) * 0x85ebca77u;
    mixed ^= mixed >> 15;
    mixed *= 0x2c1b3c6du;
    return static_cast<unsigned char>(mixed >> 24);
}

inline IP::ImagePtr<unsigned char> ReadBytesImage(Input& ioInput, Size inSize) {
    const auto image = TVK::MakeObject<IP::Image<unsigned char>>(inSize.mCols, inSize.mRows);
    const int kind = ioInput.Byte();
    const int shiftX = ioInput.Between(0, 15), shiftY = ioInput.Between(0, 15);
    unsigned char* pixel = image->GetData();
    for (int y = 0; y < inSize.mRows; ++y)
        for (int x = 0; x < inSize.mCols; ++x)
            *pixel++ = kind % 4 == 0   ? static_cast<unsigned char>(shiftX * 17)
                       : kind % 4 == 1 ? static_cast<unsigned char>(ioInput.Byte())
                                       : TextureAt(x + shiftX, y + shiftY);
    return image;
}

/// The same as floats; then up to three pixels become any number.
inline IP::ImagePtr<float> ReadFloatImage(Input& ioInput, Size inSize) {
    const auto bytes = ReadBytesImage(ioInput, inSize);
    const auto image = TVK::MakeObject<IP::Image<float>>(inSize.mCols, inSize.mRows);
    const int count = inSize.mCols * inSize.mRows;
    std::copy_n(bytes->GetData(), count, image->GetData());
    for (int hostile = ioInput.Byte() % 8 - 4; hostile > 0 && count > 0; --hostile) {
        const int at = ioInput.Bits<std::uint16_t>() % count;
        image->GetData()[at] = ioInput.Float();
    }
    return image;
}

}  // namespace Fuzz
