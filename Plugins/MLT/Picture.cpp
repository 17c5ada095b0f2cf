#include "Picture.h"

#include <cmath>
#include <memory>
#include <vector>

namespace descriptor_mlt {
namespace {

void Mix(std::uint8_t& ioValue, int inInk, float inCoverage) {
    const float value = float(ioValue) + (float(inInk) - float(ioValue)) * inCoverage;
    ioValue = static_cast<std::uint8_t>(std::lround(value));
}

}  // namespace

int Picture::Get(mlt_frame ioFrame, std::uint8_t** outImage, mlt_image_format* ioFormat,
                 int* ioWidth, int* ioHeight) {
    if (*ioFormat != mlt_image_rgb && *ioFormat != mlt_image_rgba) *ioFormat = mlt_image_yuv422;
    const int error = mlt_frame_get_image(ioFrame, outImage, ioFormat, ioWidth, ioHeight, 1);
    if (error) return error;
    mPixels = *outImage;
    mFormat = *ioFormat;
    mWidth = *ioWidth;
    mHeight = *ioHeight;
    const mlt_properties properties = MLT_FRAME_PROPERTIES(ioFrame);
    mIsRec709 = mlt_properties_get_int(properties, "colorspace") == 709;
    // Pictures that say nothing of fields, such as titles, have none.
    if (mlt_properties_get(properties, "progressive") && mHeight > 1 &&
        !mlt_properties_get_int(properties, "progressive"))
        mField = mlt_properties_get_int(properties, "top_field_first") ? 0 : 1;
    const bool isKnown =
        mFormat == mlt_image_rgb || mFormat == mlt_image_rgba || mFormat == mlt_image_yuv422;
    return mPixels && isKnown && mWidth > 0 && mHeight > 0 ? 0 : 1;
}

std::uint8_t* Picture::Row(int inRow) const {
    const int bytes = mFormat == mlt_image_rgba ? 4 : mFormat == mlt_image_rgb ? 3 : 2;
    return mPixels + std::ptrdiff_t{inRow} * mWidth * bytes;
}

descriptor::Frame Picture::Grey() const {
    const int step = mField < 0 ? 1 : 2;
    const int first = mField < 0 ? 0 : mField;
    const int rows = mHeight / step;
    if (mFormat != mlt_image_yuv422) {
        descriptor::Frame view = Colours();
        view.pixels = Row(first);
        view.height = rows;
        view.stride *= step;
        return descriptor::GreyFrames().grey8(view);
    }
    const auto bytes = std::make_shared<std::vector<std::uint8_t>>(
        static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(rows));
    std::uint8_t* out = bytes->data();
    for (int y = 0; y < rows; ++y) {
        const std::uint8_t* row = Row(first + y * step);
        for (int x = 0; x < mWidth; ++x)
            *out++ = row[2 * x];
    }
    return {.pixels = bytes->data(),
            .format = descriptor::PixelFormat::grey8,
            .width = mWidth,
            .height = rows,
            .owner = bytes};
}

descriptor::Frame Picture::Colours() const {
    const bool isRgba = mFormat == mlt_image_rgba;
    return {.pixels = mPixels,
            .format = isRgba ? descriptor::PixelFormat::rgba : descriptor::PixelFormat::rgb,
            .width = mWidth,
            .height = mHeight,
            .stride = std::ptrdiff_t{mWidth} * (isRgba ? 4 : 3)};
}

void Picture::Blend(int inRow, int inColumn, std::span<const float> inCoverage,
                    const Ink& inInk) const {
    std::uint8_t* row = Row(inRow);
    const float strength = float(inInk.mValues[3]) / 255.0f;
    const int count = static_cast<int>(inCoverage.size());
    const auto coverage = [&](int inAt) {
        return inAt < 0 || inAt >= count
                   ? 0.0f
                   : strength * inCoverage[static_cast<std::size_t>(inAt)];
    };
    if (mFormat != mlt_image_yuv422) {
        const int bytes = mFormat == mlt_image_rgba ? 4 : 3;
        for (int i = 0; i < count; ++i)
            for (int channel = 0; channel < 3; ++channel)
                Mix(row[(inColumn + i) * bytes + channel], inInk.mValues[channel], coverage(i));
        return;
    }
    // Two neighbours share their chroma: it takes what covers both.
    for (int i = 0; i < count; ++i)
        Mix(row[(inColumn + i) * 2], inInk.mValues[0], coverage(i));
    for (int x = inColumn & ~1; x + 1 < mWidth && x < inColumn + count; x += 2) {
        const float both = (coverage(x - inColumn) + coverage(x + 1 - inColumn)) / 2;
        Mix(row[x * 2 + 1], inInk.mValues[1], both);
        Mix(row[x * 2 + 3], inInk.mValues[2], both);
    }
}

Ink Picture::InkOf(mlt_color inColour) const {
    if (mFormat != mlt_image_yuv422) return {{inColour.r, inColour.g, inColour.b, inColour.a}};
    const double red = mIsRec709 ? 0.2126 : 0.299;
    const double blue = mIsRec709 ? 0.0722 : 0.114;
    const double luma = red * inColour.r + (1 - red - blue) * inColour.g + blue * inColour.b;
    const auto byte = [](double inValue) {
        return static_cast<std::uint8_t>(std::lround(inValue));
    };
    return {{byte(16 + luma * 219 / 255),
             byte(128 + (inColour.b - luma) / (2 - 2 * blue) * 224 / 255),
             byte(128 + (inColour.r - luma) / (2 - 2 * red) * 224 / 255), inColour.a}};
}

}  // namespace descriptor_mlt
