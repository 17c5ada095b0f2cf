// A scene whose foreground is known: a bright textured disc on a darker ground, as a host's
// frame with its one byte behind the last pixel, and strokes on it.

#pragma once

#include "Support/Images.h"
#include "Support/Test.h"
#include "image/IPImage.h"

namespace Testing {

using ByteImage = IP::ImagePtr<unsigned char>;

inline ByteImage FlatImage(int inColumns, int inRows, unsigned char inValue) {
    const auto image = TVK::MakeObject<IP::Image<unsigned char>>(inColumns, inRows);
    std::fill_n(image->GetData(), inColumns * inRows, inValue);
    return image;
}

inline void PaintDab(const ByteImage& ioImage, int inX, int inY, int inRadius,
                     unsigned char inValue = 255) {
    for (int y = std::max(0, inY - inRadius);
         y <= std::min(ioImage->GetRows() - 1, inY + inRadius); ++y)
        for (int x = std::max(0, inX - inRadius);
             x <= std::min(ioImage->GetColumns() - 1, inX + inRadius); ++x)
            if ((x - inX) * (x - inX) + (y - inY) * (y - inY) <= inRadius * inRadius)
                ioImage->GetData()[y * ioImage->GetColumns() + x] = inValue;
}

struct Scene {
    Scene(int inColumns, int inRows, std::uint32_t inSeed = 1)
        : mColumns(inColumns), mRows(inRows), mRowBytes(unsigned(inColumns) * 4) {
        mPixels.resize(std::size_t(mRowBytes) * std::size_t(inRows) + 1);
        for (int y = 0; y < inRows; ++y)
            for (int x = 0; x < inColumns; ++x) {
                const double texture = TextureAt(x, y, inSeed) / 255;
                const bool inside = IsForeground(x, y);
                unsigned char* const pixel =
                    &mPixels[std::size_t(y) * mRowBytes + std::size_t(x) * 4];
                pixel[0] = static_cast<unsigned char>((inside ? 60 : 30) + 30 * texture);
                pixel[1] = static_cast<unsigned char>((inside ? 120 : 70) + 30 * texture);
                pixel[2] = static_cast<unsigned char>((inside ? 200 : 90) + 40 * texture);
                pixel[3] = 255;
            }
    }

    bool IsForeground(int inX, int inY) const {
        const double dx = inX - 0.5 * mColumns, dy = inY - 0.5 * mRows;
        return std::sqrt(dx * dx + dy * dy) < 0.3 * std::min(mColumns, mRows);
    }

    /// A dab in the middle, and dabs near the corners.
    ByteImage ForegroundStrokes() const {
        const ByteImage strokes = FlatImage(mColumns, mRows, 0);
        PaintDab(strokes, mColumns / 2, mRows / 2, std::min(mColumns, mRows) / 10);
        return strokes;
    }
    ByteImage BackgroundStrokes() const {
        const ByteImage strokes = FlatImage(mColumns, mRows, 0);
        const int x = mColumns / 12, y = mRows / 12;
        for (const int right : {x, mColumns - 1 - x})
            for (const int bottom : {y, mRows - 1 - y})
                PaintDab(strokes, right, bottom, std::max(1, y / 2));
        return strokes;
    }

    /// Share of the pixels whose label is that of the truth.
    double Agreement(const ByteImage& inLabels) const {
        int agreed = 0;
        for (int y = 0; y < mRows; ++y)
            for (int x = 0; x < mColumns; ++x)
                agreed += (inLabels->GetData()[y * mColumns + x] == 255) == IsForeground(x, y);
        return double(agreed) / mColumns / mRows;
    }

    int mColumns;
    int mRows;
    unsigned int mRowBytes;
    std::vector<unsigned char> mPixels;
};

}  // namespace Testing
