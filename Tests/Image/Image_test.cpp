// The pixel container: sizes and blocks, explicit copies, bytes to floats.

#include "image/IPImage.h"

#include "Support/Images.h"
#include "Support/Test.h"
#include "quillet/Error.h"

namespace {

using IP::Image;
using namespace Testing;
using TVK::MakeObject;

// ---- Shape and block -----------------------------------------------------------------

TEST(Image, EmptyImageHasNoPixels) {
    const Image<float> image;
    EXPECT_EQ(image.GetColumns(), 0);
    EXPECT_EQ(image.GetRows(), 0);
    EXPECT_EQ(image.GetData(), nullptr);
}

TEST(Image, BlockGoesBackToTheRecyclerAndComesOutAgain) {
    const float* first = nullptr;
    {
        Image<float> image(123, 45);
        first = image.GetData();
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 64, 0u);
    }
    Image<float> next(123, 45);
    EXPECT_EQ(next.GetData(), first);
}

TEST(Image, ImpossibleSizesGiveNoPixelsAndNoError) {
    EXPECT_EQ(Image<float>(-1, 5).GetData(), nullptr);
    EXPECT_EQ(Image<float>(5, -1).GetData(), nullptr);
    EXPECT_EQ(Image<float>(-3, -7).GetData(), nullptr);
    EXPECT_EQ(Image<float>(INT_MAX, INT_MAX).GetData(), nullptr);
}

TEST(Image, ResizeOfAnImageWithPixelsKeepsItsBlock) {
    Image<unsigned char> image(8, 8);
    const unsigned char* const data = image.GetData();
    image.ResizeForReuse(4, 2);
    EXPECT_EQ(image.GetData(), data);
    EXPECT_EQ(image.GetColumns(), 4);
    EXPECT_EQ(image.GetRows(), 2);
}

TEST(Image, ResizeGivesAnEmptyImageItsPixels) {
    Image<unsigned char> image;
    image.ResizeForReuse(4, 2);
    ASSERT_NE(image.GetData(), nullptr);
    image.GetData()[7] = 1;
}

// ---- Copies --------------------------------------------------------------------------

TEST(Image, CopyHasTheSamePixelsInABlockOfItsOwn) {
    const auto source = ImageOf(7, 5, NoiseBytes(35, 3));
    const auto copy = MakeObject<Image<unsigned char>>(7, 5);
    copy->CopyPixelsFrom(source);
    EXPECT_EQ(PixelsOf(copy), PixelsOf(source));
    EXPECT_NE(copy->GetData(), source->GetData());
}

TEST(Image, CopyFromANullOrAnotherSizeBreaksTheContractAndCopiesNothing) {
    const RecordedReports reports;
    const auto image = ImageOf(2, 2, std::vector<float>{1, 2, 3, 4});
    EXPECT_THROW(image->CopyPixelsFrom(nullptr), quillet::config::ReportedError);
    EXPECT_THROW(image->CopyPixelsFrom(MakeObject<Image<float>>(3, 2)),
                 quillet::config::ReportedError);
    EXPECT_THROW(image->CopyPixelsFrom(MakeObject<Image<float>>(2, 3)),
                 quillet::config::ReportedError);
    EXPECT_EQ(PixelsOf(image), (std::vector<float>{1, 2, 3, 4}));

    const auto contracts = reports.Contracts();
    ASSERT_EQ(contracts.size(), 3u);
    EXPECT_EQ(contracts[0].mText, "inImage != NULL");
    EXPECT_EQ(contracts[1].mText, "mCols == inImage->GetColumns()");
    EXPECT_EQ(contracts[2].mText, "mRows == inImage->GetRows()");
}

// ---- Bytes to floats -----------------------------------------------------------------

TEST(Image, BytesBecomeTheFloatsOfTheSameValues) {
    std::vector<unsigned char> bytes(256);
    for (int i = 0; i < 256; ++i)
        bytes[std::size_t(i)] = static_cast<unsigned char>(i);
    Image<float> image(32, 8);
    image.ConvertFromBytes(bytes.data(), 32, 8);
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(image.GetData()[i], float(i));
}

TEST(Image, ConversionCountsTheOldSizeAndKeepsTheNewOne) {
    const auto image = ImageOf(4, 2, std::vector<float>(8, -1.0f));
    const auto bytes = NoiseBytes(8, 1);
    image->ConvertFromBytes(bytes.data(), 3, 1);
    EXPECT_EQ(image->GetColumns(), 3);
    EXPECT_EQ(image->GetRows(), 1);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(image->GetData()[i], float(bytes[std::size_t(i)]));
}

TEST(Image, ConversionToALargerSizeBreaksTheContractBeforeAnyPixelChanges) {
    const RecordedReports reports;
    const auto image = ImageOf(2, 2, std::vector<float>{1, 2, 3, 4});
    const auto bytes = NoiseBytes(9, 1);
    EXPECT_THROW(image->ConvertFromBytes(bytes.data(), 3, 2), quillet::config::ReportedError);
    EXPECT_THROW(image->ConvertFromBytes(bytes.data(), 2, 3), quillet::config::ReportedError);
    EXPECT_EQ(PixelsOf(image), (std::vector<float>{1, 2, 3, 4}));
    EXPECT_EQ(reports.Contracts()[0].mText, "mCols >= inCols");
    EXPECT_EQ(reports.Contracts()[1].mText, "mRows >= inRows");
}

}  // namespace
