// Grey conversion: the formula over odd sizes and strides, and what is refused.

#include "image/PixelOps.h"
#include "Support/Test.h"

namespace {

using namespace Testing;

// Columns 1 to 40 meet every remainder of the vector loops; the padding shifts the rows
// against every alignment.
class GreyConversion : public testing::TestWithParam<std::tuple<int, int>> {
protected:
    static constexpr int kRows = 3;
    int Cols() const { return std::get<0>(GetParam()); }
    int RowBytes() const { return Cols() * 4 + std::get<1>(GetParam()); }
    std::vector<unsigned char> Frame() const {
        return NoiseBytes(std::size_t(kRows) * std::size_t(RowBytes()), 11);
    }
    const unsigned char* Pixel(const std::vector<unsigned char>& inFrame, int inX,
                               int inY) const {
        return inFrame.data() + inY * RowBytes() + inX * 4;
    }
};

TEST_P(GreyConversion, BytesAreTheRoundedIntegerLuma) {
    const auto frame = Frame();
    std::vector<unsigned char> grey(std::size_t(kRows * Cols()) + 1, 77);
    ASSERT_TRUE(IP::GetGreyImage(frame.data(), kRows, Cols(), RowBytes(), grey.data()));
    for (int y = 0; y < kRows; ++y)
        for (int x = 0; x < Cols(); ++x) {
            const unsigned char* const p = Pixel(frame, x, y);
            const int expected = (3735 * p[0] + 19235 * p[1] + 9798 * p[2] + 16384) >> 15;
            ASSERT_EQ(grey[std::size_t(y * Cols() + x)], expected) << x << ", " << y;
        }
    EXPECT_EQ(grey.back(), 77) << "written behind the last pixel";
}

TEST_P(GreyConversion, FloatsAreTheLumaInSinglePrecision) {
    const auto frame = Frame();
    std::vector<float> grey(std::size_t(kRows * Cols()) + 1, -5.0f);
    ASSERT_TRUE(IP::GetFloatGreyImage(frame.data(), kRows, Cols(), RowBytes(), grey.data()));
    for (int y = 0; y < kRows; ++y)
        for (int x = 0; x < Cols(); ++x) {
            const unsigned char* const p = Pixel(frame, x, y);
            // Each step goes through memory, so that no compiler can fuse two.
            volatile float blue = 0.114f * p[0];
            volatile float green = 0.587f * p[1];
            volatile float red = 0.299f * p[2];
            volatile float both = blue + green;
            const float expected = both + red;
            ASSERT_EQ(grey[std::size_t(y * Cols() + x)], expected) << x << ", " << y;
        }
    EXPECT_EQ(grey.back(), -5.0f) << "written behind the last pixel";
}

INSTANTIATE_TEST_SUITE_P(Sizes, GreyConversion,
                         testing::Combine(testing::Range(1, 41), testing::Values(0, 1, 7)));

// Dense enough that a weight or the half that is one off shows.
TEST(GreyConversionRange, AMillionColoursHaveTheirRoundedLuma) {
    std::vector<unsigned char> frame, expected;
    for (int blue = 0; blue < 256; blue += 17)
        for (int green = 0; green < 256; ++green)
            for (int red = 0; red < 256; ++red) {
                for (const int value : {blue, green, red, 0})
                    frame.push_back(static_cast<unsigned char>(value));
                expected.push_back(static_cast<unsigned char>(
                    (3735 * blue + 19235 * green + 9798 * red + 16384) >> 15));
            }
    const int count = int(expected.size());
    std::vector<unsigned char> grey(expected.size());
    ASSERT_TRUE(IP::GetGreyImage(frame.data(), 1, count, 4 * count, grey.data()));
    EXPECT_TRUE(grey == expected);
}

TEST(GreyConversionInput, WhatCannotBeConvertedIsRefusedAndNothingIsWritten) {
    const std::vector<unsigned char> frame(64, 200);
    struct Case {
        const unsigned char* mFrame;
        int mRows, mCols, mRowBytes;
    };
    for (const Case& bad :
         {Case{nullptr, 2, 2, 8}, Case{frame.data(), 0, 2, 8}, Case{frame.data(), 2, 0, 8},
          Case{frame.data(), -1, 2, 8}, Case{frame.data(), 2, 2, 7},
          Case{frame.data(), 2, 2, -8}, Case{frame.data(), 1, 0x40000000, 0}}) {
        std::vector<unsigned char> grey(16, 9);
        std::vector<float> floats(16, 9.0f);
        EXPECT_FALSE(
            IP::GetGreyImage(bad.mFrame, bad.mRows, bad.mCols, bad.mRowBytes, grey.data()));
        EXPECT_FALSE(IP::GetFloatGreyImage(bad.mFrame, bad.mRows, bad.mCols, bad.mRowBytes,
                                           floats.data()));
        EXPECT_EQ(grey, std::vector<unsigned char>(16, 9));
        EXPECT_EQ(floats, std::vector<float>(16, 9.0f));
    }
    EXPECT_FALSE(IP::GetGreyImage(frame.data(), 2, 2, 8, nullptr));
    EXPECT_FALSE(IP::GetFloatGreyImage(frame.data(), 2, 2, 8, nullptr));
}

}  // namespace
