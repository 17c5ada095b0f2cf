#include "image/PixelOps.h"

#include <cstddef>
#include <cstdint>

namespace IP {
namespace {

constexpr int kBytesPerPixel = 4;

bool IsUsable(const unsigned char* inFrame, int inRows, int inColumns, int inRowBytes,
              const void* outGrey) {
    return inFrame && outGrey && inRows >= 1 && inColumns >= 1 &&
           std::int64_t{inRowBytes} >= std::int64_t{inColumns} * kBytesPerPixel;
}

void GreyRow(const unsigned char* inRow, int inColumns, unsigned char* outRow) {
    for (int x = 0; x < inColumns; ++x) {
        const unsigned char* const pixel = inRow + std::ptrdiff_t{x} * kBytesPerPixel;
        outRow[x] = static_cast<unsigned char>(
            (3735 * pixel[0] + 19235 * pixel[1] + 9798 * pixel[2] + 16384) >> 15);
    }
}

void FloatGreyRow(const unsigned char* inRow, int inColumns, float* outRow) {
    for (int x = 0; x < inColumns; ++x) {
        const unsigned char* const pixel = inRow + std::ptrdiff_t{x} * kBytesPerPixel;
        outRow[x] =
            (0.114f * static_cast<float>(pixel[0]) + 0.587f * static_cast<float>(pixel[1])) +
            0.299f * static_cast<float>(pixel[2]);
    }
}

template <class T, class RowProc>
bool ConvertRows(const unsigned char* inFrame, int inRows, int inColumns, int inRowBytes,
                 T* outGrey, RowProc inConvertRow) {
    if (!IsUsable(inFrame, inRows, inColumns, inRowBytes, outGrey)) return false;
    for (int y = 0; y < inRows; ++y)
        inConvertRow(inFrame + std::ptrdiff_t{y} * inRowBytes, inColumns,
                     outGrey + std::ptrdiff_t{y} * inColumns);
    return true;
}

}  // namespace

bool GetGreyImage(const unsigned char* inFrame, int inRows, int inColumns, int inRowBytes,
                  unsigned char* outGrey) {
    return ConvertRows(inFrame, inRows, inColumns, inRowBytes, outGrey, GreyRow);
}

bool GetFloatGreyImage(const unsigned char* inFrame, int inRows, int inColumns, int inRowBytes,
                       float* outGrey) {
    return ConvertRows(inFrame, inRows, inColumns, inRowBytes, outGrey, FloatGreyRow);
}

}  // namespace IP
