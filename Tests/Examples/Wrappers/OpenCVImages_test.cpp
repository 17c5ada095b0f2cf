#include "Wrappers/OpenCVImages.h"

#include <gtest/gtest.h>

#include "DP/DescriptorFactory.h"
#include "DP/IGreyImageDescriptor.h"

namespace {

// A part of a wider matrix: its rows do not follow each other without a gap.
cv::Mat PartOf(cv::Mat inWhole) { return inWhole(cv::Rect(2, 1, 3, 2)); }

template <class T>
void ExpectRoundTrip() {
    cv::Mat whole(5, 7, cv::DataType<T>::type);
    for (int i = 0; i < 35; ++i)
        whole.at<T>(i / 7, i % 7) = static_cast<T>(i);
    const cv::Mat part = PartOf(whole);
    const auto image = Wrappers::CopyToImage<T>(part);
    ASSERT_EQ(image->GetRows(), 2);
    ASSERT_EQ(image->GetColumns(), 3);
    const cv::Mat back = Wrappers::ShareAsMat(image);
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 3; ++column)
            EXPECT_EQ(back.at<T>(row, column), static_cast<T>((row + 1) * 7 + column + 2));
    EXPECT_EQ(back.ptr<T>(), image->GetData()) << "shared";
    EXPECT_NE(image->GetData(), part.ptr<T>()) << "copied";
}

TEST(OpenCVImages, KeepPixelsInPlaceBothWays) {
    ExpectRoundTrip<unsigned char>();
    ExpectRoundTrip<float>();
}

TEST(OpenCVImages, GiveAFrameToAnItemWithItsStride) {
    cv::Mat whole(4, 6, CV_8UC4, cv::Scalar(0, 0, 0, 0));
    PartOf(whole) = cv::Scalar(0, 255, 0, 0);  // green in the part, black around it
    const auto source = quillet::utility::AsciiToUTF16("matrix");
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage);
    item->SetDataKey(DP::CreateDescriptorDataKey(source, 0, 2, 3));
    Wrappers::ShareFrame(DP::Ref<DP::IGreyImageDescriptorWorkerItem>(item), PartOf(whole));
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty(source, DP::kDescriptorDataTypeGreyImage));
    const DP::Ref<DP::IGreyImageDescriptorData> data(computer->GetDescriptorData(item, false));
    const cv::Mat grey = Wrappers::ShareAsMat(data->GetGreyImageData());
    EXPECT_EQ(cv::Size(3, 2), grey.size());
    EXPECT_EQ(cv::countNonZero(grey == 150), 6);
}

TEST(OpenCVImages, RefuseAnotherTypeOfPixel) {
    const cv::Mat colour(2, 3, CV_8UC3);
    EXPECT_THROW(Wrappers::CopyToImage<unsigned char>(colour), std::invalid_argument);
    EXPECT_THROW(Wrappers::CopyToImage<float>(cv::Mat(2, 3, CV_8UC1)), std::invalid_argument);
    const DP::Ref<DP::IGreyImageDescriptorWorkerItem> item(
        DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage));
    EXPECT_THROW(Wrappers::ShareFrame(item, colour), std::invalid_argument);
}

}  // namespace
