// Kernels and convolution: the laws of both, the frame of zeros, and the bits of the plain
// way over odd sizes and all sorts of sigmas.

#include "image/IPConvolveImage.h"

#include "Image/PlainConvolution.h"
#include "Support/Images.h"
#include "Support/Test.h"
#include "image/PixelOps.h"

namespace {

using IP::ConvolutionKernel;
using IP::ImagePtr;
using namespace Testing;

ConvolutionKernel KernelOf(const std::vector<float>& inTaps) {
    ConvolutionKernel kernel;
    kernel.mWidth = int(inTaps.size());
    std::copy(inTaps.begin(), inTaps.end(), kernel.mTaps);
    return kernel;
}

PlainImage Noise(int inCols, int inRows, std::uint64_t inSeed) {
    return {inCols, inRows, NoiseFrame(inCols, inRows, inSeed)};
}

ImagePtr<float> ToImage(const PlainImage& inPlain) {
    return ImageOf(inPlain.mCols, inPlain.mRows, inPlain.mPixels);
}

testing::AssertionResult Same(const ImagePtr<float>& inActual, const PlainImage& inExpected) {
    return SameBits(inActual->GetData(), inExpected.mPixels.data(), inExpected.mPixels.size(),
                    inExpected.mCols);
}

std::pair<int, int> Widths(float inSigma) {
    int gauss = 0, deriv = 0;
    IP::GetKernelWidths(inSigma, gauss, deriv);
    return {gauss, deriv};
}

// ---- Kernels -------------------------------------------------------------------------

TEST(Kernels, WidthsFollowTheCutOff) {
    EXPECT_EQ(Widths(1.0f), std::pair(7, 7));
    EXPECT_EQ(Widths(0.7f), std::pair(5, 5));
    EXPECT_EQ(Widths(3.6f), std::pair(21, 25));
}

TEST(Kernels, WidthsOfStrangeSigmasStayInsideTheArray) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    EXPECT_EQ(Widths(-1.0f), std::pair(7, 1)) << "a negative peak: every tap is below it";
    EXPECT_EQ(Widths(0.2f), std::pair(1, 1));
    EXPECT_EQ(Widths(0.0f).first, 1);
    for (const float sigma : {1e-30f, 0.1f, 8.7f, 10.0f, 11.5f, 12.0f, 1e9f, -20.0f, kNaN}) {
        const auto [gauss, deriv] = Widths(sigma);
        EXPECT_TRUE(gauss % 2 == 1 && gauss >= 1 && gauss <= 71) << sigma;
        EXPECT_TRUE(deriv % 2 == 1 && deriv >= 1 && deriv <= 71) << sigma;
    }
}

TEST(Kernels, TakeTheirPlaceWhole) {
    IP::ConvolutionKernel gauss, deriv, usedGauss, usedDeriv;
    IP::ComputeKernels(3.6f, usedGauss, usedDeriv);
    IP::ComputeKernels(0.7f, usedGauss, usedDeriv);
    IP::ComputeKernels(0.7f, gauss, deriv);
    EXPECT_TRUE(std::ranges::equal(gauss.mTaps, usedGauss.mTaps));
    EXPECT_TRUE(std::ranges::equal(deriv.mTaps, usedDeriv.mTaps));
}

TEST(Kernels, TailsBeyondTheArrayAreReportedOnceEach) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    Widths(8.0f);
    EXPECT_TRUE(reports.Asserts().empty());
    EXPECT_EQ(Widths(12.0f), std::pair(71, 71));
    ASSERT_EQ(reports.Asserts().size(), 1u);
    EXPECT_EQ(reports.Asserts()[0].mText,
              "(ComputeKernels) MAX_KERNEL_WIDTH %d is too small for a inSigma of %f\r\n");
    EXPECT_EQ(reports.Asserts()[0].mFunction, "IP::`anonymous-namespace'::ComputeKernels");
    EXPECT_EQ(reports.Asserts()[0].mFile, "image/IPConvolveImage.cpp");
}

// ---- The bits of the plain way -------------------------------------------------------

// Sizes around the kernels and the vector widths; narrower than a kernel is all border.
class ConvolveSizes : public testing::TestWithParam<std::tuple<int, int>> {
protected:
    PlainImage mImage = Noise(std::get<0>(GetParam()), std::get<1>(GetParam()), 17);

    ImagePtr<float> Result() const { return StaleImage(mImage.mCols, mImage.mRows); }
};

INSTANTIATE_TEST_SUITE_P(All, ConvolveSizes,
                         testing::Combine(testing::Values(1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33,
                                                          40, 71, 75, 150, 301),
                                          testing::Values(1, 4, 6, 21, 26, 75)),
                         [](const auto& inInfo) {
                             return std::to_string(std::get<0>(inInfo.param)) + "x" +
                                    std::to_string(std::get<1>(inInfo.param));
                         });

TEST_P(ConvolveSizes, PassesGiveTheBitsOfThePlainOnes) {
    for (const int width : {1, 3, 5, 7, 21, 25, 71}) {
        SCOPED_TRACE(width);
        const std::vector<float> taps = NoiseFrame(width, 1, 5);
        auto result = Result();
        IP::ConvolveImageHorizontal(ToImage(mImage), KernelOf(taps), result);
        EXPECT_TRUE(Same(result, PlainHorizontal(mImage, taps)));
        result = Result();
        IP::ConvolveImageVertical(ToImage(mImage), KernelOf(taps), result);
        EXPECT_TRUE(Same(result, PlainVertical(mImage, taps)));
        result = Result();
        const std::vector<float> other = NoiseFrame(5, 1, 6);
        IP::ConvolveSeparable(ToImage(mImage), KernelOf(taps), KernelOf(other), result);
        EXPECT_TRUE(Same(result, PlainVertical(PlainHorizontal(mImage, taps), other)));
    }
}

TEST_P(ConvolveSizes, SmoothingAndGradientsGiveTheBitsOfThePlainOnes) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    Random random(99);
    std::vector<float> sigmas{0.7f, 1.0f, 3.6f, 7.2f, 0.1f, -1.0f, 0.0f, 9.5f, 13.0f, kNaN};
    for (int i = 0; i < 6; ++i)
        sigmas.push_back(float(0.2 + 11.0 * random.Real()));
    for (const float sigma : sigmas) {
        SCOPED_TRACE(sigma);
        const auto smooth = Result(), gradX = Result(), gradY = Result();
        IP::ComputeSmoothedImage(ToImage(mImage), sigma, smooth);
        IP::ComputeGradients(ToImage(mImage), sigma, gradX, gradY);
        EXPECT_TRUE(Same(smooth, PlainSmoothed(mImage, sigma)));
        EXPECT_TRUE(Same(gradX, PlainGradientX(mImage, sigma)));
        EXPECT_TRUE(Same(gradY, PlainGradientY(mImage, sigma)));
    }
}

// ---- Laws ----------------------------------------------------------------------------

// Columns of zeros under an infinite tap are no numbers, and no zeros.
TEST(ConvolveLaws, BothPassesAtOnceAreThePassesOneByOneForInfiniteTapsToo) {
    const auto image = ToImage(Noise(40, 12, 3));
    const auto horizontal = KernelOf({1, 2, 3, 2, 1});
    const auto vertical = KernelOf({1, std::numeric_limits<float>::infinity(), 2, 1, 1});
    const auto between = StaleImage(40, 12), expected = StaleImage(40, 12),
               actual = StaleImage(40, 12);
    IP::ConvolveImageHorizontal(image, horizontal, between);
    IP::ConvolveImageVertical(between, vertical, expected);
    IP::ConvolveSeparable(image, horizontal, vertical, actual);
    EXPECT_TRUE(std::isnan(expected->GetData()[6 * 40]));
    EXPECT_TRUE(SameBits(actual->GetData(), expected->GetData(), 480, 40));
}

// So wide that it goes in tiles.
TEST(ConvolveLaws, AVeryWideImageHasTheBitsOfThePlainWayToo) {
    constexpr int kCols = 20011, kRows = 9;
    const auto bytes = NoiseBytes(std::size_t(kCols) * kRows, 5);
    const PlainImage image(kCols, kRows, {bytes.begin(), bytes.end()});
    const auto smooth = StaleImage(kCols, kRows), ofBytes = StaleImage(kCols, kRows),
               gradX = StaleImage(kCols, kRows), gradY = StaleImage(kCols, kRows);
    IP::ComputeSmoothedImage(ToImage(image), 0.7f, smooth);
    IP::ComputeSmoothedBytes(bytes.data(), kCols, kRows, 0.7f, ofBytes);
    IP::ComputeGradients(ToImage(image), 0.7f, gradX, gradY);
    EXPECT_TRUE(Same(smooth, PlainSmoothed(image, 0.7f)));
    EXPECT_TRUE(Same(ofBytes, PlainSmoothed(image, 0.7f)));
    EXPECT_TRUE(Same(gradX, PlainGradientX(image, 0.7f)));
    EXPECT_TRUE(Same(gradY, PlainGradientY(image, 0.7f)));
}

// With pixel and middle tap q = 1 + 2^-12, q * q rounds to 1 + 2^-11 and the sum with -q is
// 2^-12. A fused multiply-add would keep another 2^-24.
TEST(ConvolveLaws, ProductsAreRoundedBeforeTheyAreAdded) {
    const float q = 1.0f + std::ldexp(1.0f, -12);
    const PlainImage flat(33, 5, std::vector<float>(33 * 5, q));
    for (const bool vertical : {false, true}) {
        const auto result = StaleImage(33, 5);
        (vertical ? IP::ConvolveImageVertical : IP::ConvolveImageHorizontal)(
            ToImage(flat), KernelOf({0.0f, q, -1.0f}), result);
        for (int x = 1; x < 32; ++x)
            EXPECT_EQ(result->GetData()[2 * 33 + x], std::ldexp(1.0f, -12)) << x;
    }
}

// ---- Contracts -----------------------------------------------------------------------

// In order, and as the pass that finds them: images of a size without pixels report one by one.
TEST(ConvolveContracts, AreCheckedInOrder) {
    constexpr int kHuge = std::numeric_limits<int>::max();
    const auto none = TVK::MakeObject<IP::Image<float>>();
    const auto huge = TVK::MakeObject<IP::Image<float>>(kHuge, kHuge);
    ASSERT_TRUE(huge->GetData() == NULL && huge->GetColumns() == kHuge);
    const auto small = StaleImage(4, 4), wide = StaleImage(9, 4), large = StaleImage(9, 9),
               stale = StaleImage(9, 9);
    const ConvolutionKernel kernel = KernelOf({1.0f});
    const unsigned char bytes[4] = {};
    const auto smooth = [&](const ImagePtr<float>& inFrom, const ImagePtr<float>& outTo) {
        return [=] {
            IP::ComputeSmoothedImage(inFrom, 1, outTo);
        };
    };
    const auto gradients = [&](const ImagePtr<float>& inFrom, const ImagePtr<float>& outX,
                               const ImagePtr<float>& outY) {
        return [=] {
            IP::ComputeGradients(inFrom, 1, outX, outY);
        };
    };
    const std::string columns = "->GetColumns() >= inImage->GetColumns()",
                      rows = "->GetRows() >= inImage->GetRows()",
                      input = "inImage->GetData() != NULL",
                      output = "outImage->GetData() != NULL";
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[&] { IP::ConvolveImageHorizontal(none, kernel, none); }, input},
        {[&] { IP::ConvolveImageVertical(small, kernel, none); }, output},
        {smooth(large, small), "outSmoothImage" + columns},
        {smooth(large, wide), "outSmoothImage" + rows},
        {gradients(large, small, small), "outGradX" + columns},
        {gradients(large, wide, small), "outGradX" + rows},
        {gradients(large, large, small), "outGradY" + columns},
        {gradients(large, large, wide), "outGradY" + rows},
        {smooth(none, huge), input},
        {smooth(large, huge), output},
        {gradients(none, huge, huge), input},
        {gradients(large, huge, stale), output},
        {gradients(large, stale, huge), output},
        {[&] { IP::ComputeSmoothedBytes(bytes, 2, 2, 1, huge); }, input}};
    for (const auto& [call, text] : cases) {
        const RecordedReports reports;
        EXPECT_ANY_THROW(call());
        EXPECT_EQ(reports.Broken(), "image/IPConvolveImage.cpp: " + text + "\n");
    }
    EXPECT_EQ(stale->GetData()[0], 0.0f) << "the first gradient is there by then";
}

}  // namespace
