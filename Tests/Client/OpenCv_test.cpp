#include "descriptor/opencv.h"

#include "Support/Test.h"
#include "descriptor/GreyFrames.h"

namespace {

using namespace descriptor;

// A part of a wider matrix: its rows do not follow each other without a gap.
cv::Mat PartOf(cv::Mat inWhole) { return inWhole(cv::Rect(2, 1, 3, 2)); }

template <class Pixel>
void ExpectRoundTrip(PixelFormat inFormat) {
    cv::Mat whole(5, 7, cv::traits::Type<Pixel>::value);
    for (int i = 0; i < 35; ++i)
        whole.at<Pixel>(i / 7, i % 7) = Pixel(static_cast<unsigned char>(i));
    Frame frame;
    const unsigned char* pixels = nullptr;
    {
        const cv::Mat part = PartOf(whole);
        pixels = part.ptr();
        whole.release();
        frame = frame_of(part);
    }
    EXPECT_EQ(frame.pixels, pixels) << "shared, and kept alive";
    EXPECT_EQ(frame.format, inFormat);
    EXPECT_EQ(frame.width, 3);
    EXPECT_EQ(frame.height, 2);
    const cv::Mat back = mat_of(frame);
    ASSERT_EQ(back.type(), cv::traits::Type<Pixel>::value);
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 3; ++column)
            EXPECT_EQ(back.at<Pixel>(row, column),
                      Pixel(static_cast<unsigned char>((row + 1) * 7 + column + 2)));
}

TEST(OpenCv, KeepsPixelsInPlaceBothWays) {
    ExpectRoundTrip<unsigned char>(PixelFormat::grey8);
    ExpectRoundTrip<float>(PixelFormat::grey_float);
    ExpectRoundTrip<cv::Vec3b>(PixelFormat::bgr);
    ExpectRoundTrip<cv::Vec4b>(PixelFormat::bgra);
}

TEST(OpenCv, MatricesAreComputedWithTheirStride) {
    for (const int type : {CV_8UC3, CV_8UC4}) {
        cv::Mat whole(4, 6, type, cv::Scalar(0, 0, 0, 0));
        PartOf(whole) = cv::Scalar(0, 255, 0, 0);  // green in the part, black around it
        const cv::Mat grey = mat_of(GreyFrames().grey8(frame_of(PartOf(whole))));
        EXPECT_EQ(cv::Size(3, 2), grey.size());
        EXPECT_EQ(cv::countNonZero(grey == 150), 6);
    }
}

TEST(OpenCv, RefusesAnotherTypeOfPixel) {
    EXPECT_THROW(frame_of(cv::Mat(2, 3, CV_16UC1)), ArgumentError);
    EXPECT_THROW(frame_of(cv::Mat(2, 3, CV_32FC3)), ArgumentError);
    EXPECT_THROW(GreyFrames().grey8(frame_of(cv::Mat(0, 0, CV_8UC1))), ArgumentError);
}

}  // namespace
