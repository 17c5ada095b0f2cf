// Grey conversion, row by row.
//
// A pixel is read as one 32-bit word, B in its lowest byte, which lets compilers work on
// neighbouring pixels side by side. The integer sum of three products has an instruction of
// its own on x86: pixel words masked to (B, R) and (G, A) pairs of 16 bits, multiplied and
// added pairwise. All of it is exact, so every form gives the same bytes.

#include "image/PixelOps.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace IP {
namespace {

constexpr int kBytesPerPixel = 4;
// Near 0.114, 0.587 and 0.299 times 2^15; together 32768, so that white is 255.
constexpr int kBlueWeight = 3735;
constexpr int kGreenWeight = 19235;
constexpr int kRedWeight = 9798;
constexpr int kWeightShift = 15;
constexpr int kHalf = 1 << (kWeightShift - 1);

struct Colour {
    int mBlue, mGreen, mRed;
};

Colour ReadPixel(const unsigned char* inRow, int inX) {
    static_assert(std::endian::native == std::endian::little, "blue is the lowest byte");
    std::int32_t word = 0;
    std::memcpy(&word, inRow + std::ptrdiff_t{inX} * kBytesPerPixel, kBytesPerPixel);
    return {word & 255, (word >> 8) & 255, (word >> 16) & 255};
}

// A stride may be longer than a row, and no shorter: there is no frame upside down.
bool IsUsable(const unsigned char* inFrame, int inRows, int inColumns, int inRowBytes,
              const void* outGrey) {
    return inFrame && outGrey && inRows >= 1 && inColumns >= 1 &&
           std::int64_t{inRowBytes} >= std::int64_t{inColumns} * kBytesPerPixel;
}

#if defined(__SSE2__)

// The luma of four pixels as four 32-bit numbers.
__m128i FourLumas(const unsigned char* inPixels) {
    const __m128i blueRed = _mm_set1_epi32(kBlueWeight | (kRedWeight << 16));
    const __m128i greenAlpha = _mm_set1_epi32(kGreenWeight);
    const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inPixels));
    const __m128i evenBytes = _mm_and_si128(pixels, _mm_set1_epi32(0x00ff00ff));
    const __m128i oddBytes = _mm_srli_epi16(pixels, 8);
    const __m128i sum =
        _mm_add_epi32(_mm_madd_epi16(evenBytes, blueRed), _mm_madd_epi16(oddBytes, greenAlpha));
    return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(kHalf)), kWeightShift);
}

// Whole blocks of 16 pixels; returns how many pixels that were.
int GreyBlocks(const unsigned char* inRow, int inColumns, unsigned char* outRow) {
    constexpr int kBlock = 16;
    int x = 0;
    for (; x <= inColumns - kBlock; x += kBlock) {
        const unsigned char* const pixels = inRow + std::ptrdiff_t{x} * kBytesPerPixel;
        const __m128i low = _mm_packs_epi32(FourLumas(pixels), FourLumas(pixels + 16));
        const __m128i high = _mm_packs_epi32(FourLumas(pixels + 32), FourLumas(pixels + 48));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(outRow + x), _mm_packus_epi16(low, high));
    }
    return x;
}

#else

int GreyBlocks(const unsigned char*, int, unsigned char*) { return 0; }

#endif

void GreyRow(const unsigned char* inRow, int inColumns, unsigned char* outRow) {
    for (int x = GreyBlocks(inRow, inColumns, outRow); x < inColumns; ++x) {
        const Colour colour = ReadPixel(inRow, x);
        outRow[x] = static_cast<unsigned char>((kBlueWeight * colour.mBlue +
                                                kGreenWeight * colour.mGreen +
                                                kRedWeight * colour.mRed + kHalf) >>
                                               kWeightShift);
    }
}

void FloatGreyRow(const unsigned char* inRow, int inColumns, float* outRow) {
    for (int x = 0; x < inColumns; ++x) {
        const Colour colour = ReadPixel(inRow, x);
        // Blue and green first: the order is part of the result.
        outRow[x] = (0.114f * static_cast<float>(colour.mBlue) +
                     0.587f * static_cast<float>(colour.mGreen)) +
                    0.299f * static_cast<float>(colour.mRed);
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
