// Pyramids: their shape, the bits of the plain way, and what a bad shape comes to.

#include "image/IPImagePyramid.h"

#include "Image/PlainConvolution.h"
#include "Support/Images.h"
#include "Support/Test.h"
#include "image/IPFramePyramids.h"

namespace {

using IP::FramePyramids;
using IP::ImagePyramidImpl;
using namespace Testing;

testing::AssertionResult Same(const IP::ImagePtr<float>& inLevel, const PlainImage& inPlain) {
    if (inLevel->GetColumns() != inPlain.mCols || inLevel->GetRows() != inPlain.mRows)
        return testing::AssertionFailure()
               << inLevel->GetColumns() << " x " << inLevel->GetRows() << " is another size";
    return SameBits(inLevel->GetData(), inPlain.mPixels.data(), inPlain.mPixels.size(),
                    inPlain.mCols);
}

std::vector<std::pair<int, int>> SizesOf(const ImagePyramidImpl<float>& inPyramid) {
    std::vector<std::pair<int, int>> sizes;
    for (int level = 0; level < inPyramid.GetLevelCount(); ++level)
        sizes.emplace_back(inPyramid.GetLevel(level)->GetColumns(),
                           inPyramid.GetLevel(level)->GetRows());
    return sizes;
}

TEST(ImagePyramid, EachLevelDividesTheTruncatedSizeOfTheOneBefore) {
    using Sizes = std::vector<std::pair<int, int>>;
    EXPECT_EQ(SizesOf({720, 480, 4, 3}), (Sizes{{720, 480}, {180, 120}, {45, 30}}));
    EXPECT_EQ(SizesOf({100, 100, 8, 2}), (Sizes{{100, 100}, {12, 12}}));
    EXPECT_EQ(SizesOf({23, 7, 4, 4}), (Sizes{{23, 7}, {5, 1}, {1, 0}, {0, 0}}));
    EXPECT_EQ(SizesOf({9, 9, 1, 2}), (Sizes{{9, 9}, {9, 9}}));
    EXPECT_EQ(SizesOf({9, 9, 4, 0}), Sizes{});
    EXPECT_EQ(SizesOf({9, 9, 4, -3}), Sizes{});
}

// ---- The bits of the plain way -------------------------------------------------------

class PyramidSizes : public testing::TestWithParam<std::tuple<int, int, int>> {};

INSTANTIATE_TEST_SUITE_P(All, PyramidSizes,
                         testing::Combine(testing::Values(1, 5, 22, 64, 97, 131, 260),
                                          testing::Values(1, 21, 63, 90, 123),
                                          testing::Values(2, 3, 4, 8, 16)));

INSTANTIATE_TEST_SUITE_P(RareSteps, PyramidSizes,
                         testing::Combine(testing::Values(137), testing::Values(101),
                                          testing::Values(1, 5, 32, 64)));

INSTANTIATE_TEST_SUITE_P(InTiles, PyramidSizes, testing::Values(std::tuple(10007, 41, 4)));

TEST_P(PyramidSizes, PyramidsGiveTheBitsOfThePlainOnes) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    const auto [cols, rows, subsampling] = GetParam();
    const PlainImage image(cols, rows, NoiseFrame(cols, rows, 8));
    for (const float factor : {0.9f, 0.35f, -0.4f}) {
        const auto expected = PlainPyramid(image, subsampling, 3, factor);
        ImagePyramidImpl<float> pyramid(cols, rows, subsampling, 3);
        for (int level = 0; level < 3; ++level)
            std::fill_n(pyramid.GetLevel(level)->GetData(), expected[level].mPixels.size(),
                        -7.0f);
        pyramid.ComputePyramid(ImageOf(cols, rows, image.mPixels), factor);
        for (int level = 0; level < 3; ++level)
            EXPECT_TRUE(Same(pyramid.GetLevel(level), expected[level])) << "level " << level;
    }
}

TEST_P(PyramidSizes, FramePyramidsGiveTheBitsOfThePlainOnes) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    const auto [cols, rows, subsampling] = GetParam();
    const auto bytes = NoiseBytes(std::size_t(cols) * rows, 4);
    const PlainImage frame(cols, rows, {bytes.begin(), bytes.end()});
    for (const IP::FramePyramidSettings& settings :
         {IP::FramePyramidSettings{1.0f, 0.7f, 0.9f, subsampling, 2},
          IP::FramePyramidSettings{1.7f, 1.3f, 0.3f, subsampling, 3},
          IP::FramePyramidSettings{0.3f, 3.0f, 1.1f, subsampling, 1}}) {
        const auto expected =
            PlainPyramid(PlainSmoothed(frame, settings.mSmoothSigma), subsampling,
                         settings.mLevelCount, settings.mPyramidSigmaFactor);
        const FramePyramids actual =
            IP::ComputeFramePyramids({bytes.data(), cols, rows}, settings);
        for (int level = 0; level < settings.mLevelCount; ++level) {
            SCOPED_TRACE(level);
            EXPECT_TRUE(Same(actual.mSmoothed->GetLevel(level), expected[level]));
            EXPECT_TRUE(Same(actual.mGradientX->GetLevel(level),
                             PlainGradientX(expected[level], settings.mGradientSigma)));
            EXPECT_TRUE(Same(actual.mGradientY->GetLevel(level),
                             PlainGradientY(expected[level], settings.mGradientSigma)));
        }
    }
}

// ---- Bad shapes ----------------------------------------------------------------------

TEST(ImagePyramidReports, SubsamplingOutsideTheListIsReportedAndUsed) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    for (const int good : {2, 4, 8, 16, 32})
        ImagePyramidImpl<float>(9, 9, good, 1)
            .ComputePyramid(ImageOf(9, 9, NoiseFrame(9, 9, 1)), 0.9f);
    EXPECT_TRUE(reports.Asserts().empty());
    for (const int bad : {1, 3, 0, -2, 64})
        ImagePyramidImpl<float>(9, 9, bad, 1)
            .ComputePyramid(ImageOf(9, 9, NoiseFrame(9, 9, 1)), 0.9f);
    ASSERT_EQ(reports.Asserts().size(), 5u);
    EXPECT_EQ(reports.Asserts()[0].mText,
              "(ComputePyramid)  Pyramid's subsampling must be either 2, 4, 8, 16, or 32\r\n");
    EXPECT_EQ(reports.Asserts()[0].mFunction, "IP::ImagePyramidImpl<float>::ComputePyramid");
}

TEST(ImagePyramidReports, AnImageOfAnotherSizeOrNoneBreaksTheContract) {
    ImagePyramidImpl<float> pyramid(8, 8, 2, 2);
    const RecordedReports reports;
    EXPECT_ANY_THROW(pyramid.ComputePyramid(nullptr, 0.9f));
    EXPECT_ANY_THROW(pyramid.ComputePyramid(ImageOf(9, 8, NoiseFrame(9, 8, 1)), 0.9f));
    EXPECT_EQ(reports.Contracts().at(0).mText, "inImage != NULL");
    EXPECT_EQ(reports.Contracts().at(1).mText, "mCols == inImage->GetColumns()");
    // Where a host goes on, nothing is made of what level 0 held before.
    const ThrowErrorReturns host;
    pyramid.GetLevel(1)->GetData()[0] = 77.0f;
    for (const auto& image : {IP::ImagePtr<float>(), ImageOf(9, 8, NoiseFrame(9, 8, 1)),
                              ImageOf(8, 9, NoiseFrame(8, 9, 1))}) {
        pyramid.ComputePyramid(image, 0.9f);
        EXPECT_EQ(pyramid.GetLevel(1)->GetData()[0], 77.0f);
    }
    EXPECT_EQ(reports.Contracts().size(), 5u);
}

TEST(ImagePyramidReports, ImpossibleShapesAreSafe) {
    const RecordedReports reports(RecordedReports::Later::kShow);
    const auto bytes = NoiseBytes(100, 1);
    EXPECT_ANY_THROW(IP::ComputeFramePyramids({bytes.data(), -5, 5}, {1, 0.7f, 0.9f, 4, 2}));
    EXPECT_ANY_THROW(IP::ComputeFramePyramids({bytes.data(), 10, 10}, {1, 0.7f, 0.9f, -1, 3}));
    const auto empty = IP::ComputeFramePyramids({bytes.data(), 10, 10}, {1, 0.7f, 0.9f, 0, 3});
    EXPECT_EQ(empty.mSmoothed->GetLevel(1)->GetColumns(), 0);
    const auto none = IP::ComputeFramePyramids({bytes.data(), 10, 10}, {1, 0.7f, 0.9f, 4, 0});
    EXPECT_EQ(none.mSmoothed->GetLevelCount(), 0);
}

}  // namespace
