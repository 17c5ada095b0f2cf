#include "Clip.h"

#include <algorithm>

#include "Support/Textures.h"

namespace Scenarios {

IP::ImagePtr<unsigned char> Clip::Bytes(int inFrame) const {
    const auto image = MakeImage<unsigned char>(mColumns, mRows);
    std::vector<unsigned char> pixels =
        Testing::TexturedBytes(mColumns, mRows, -mSpeedX * inFrame, -mSpeedY * inFrame, mSeed);
    Testing::Random random(static_cast<std::uint64_t>(inFrame) + 1);
    if (mNoise > 0)
        for (unsigned char& pixel : pixels)
            pixel = static_cast<unsigned char>(
                std::clamp(pixel + random.Integer(-mNoise, mNoise), 0, 255));
    std::ranges::copy(pixels, image->GetData());
    return image;
}

IP::ImagePtr<float> Clip::Floats(int inFrame) const {
    const auto image = MakeImage<float>(mColumns, mRows);
    image->ConvertFromBytes(Bytes(inFrame)->GetData(), mColumns, mRows);
    return image;
}

std::vector<unsigned char> Clip::Bgra(int inFrame, int inPadding) const {
    const auto row_bytes = static_cast<std::size_t>(RowBytes(inPadding));
    std::vector<unsigned char> frame(row_bytes * std::size_t(mRows) + 1, 77);
    for (unsigned int channel = 0; channel < 3; ++channel) {
        Clip plane = *this;
        plane.mSeed = mSeed + channel;
        const auto image = plane.Bytes(inFrame);
        const unsigned char* pixel = image->GetData();
        for (std::size_t y = 0; y < std::size_t(mRows); ++y)
            for (std::size_t x = 0; x < std::size_t(mColumns); ++x)
                frame[y * row_bytes + 4 * x + channel] = *pixel++;
    }
    return frame;
}

}  // namespace Scenarios
