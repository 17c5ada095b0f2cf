#include "Wrappers/AVFrames.h"

#include <gtest/gtest.h>

#include <memory>

#include "DP/DescriptorFactory.h"
#include "DP/IGreyImageDescriptor.h"

namespace {

struct Free {
    void operator()(AVFrame* ioFrame) const { av_frame_free(&ioFrame); }
};
using FramePtr = std::unique_ptr<AVFrame, Free>;

// 5 by 3 pixels; FFmpeg pads each line.
FramePtr MakeFrame(AVPixelFormat inFormat) {
    FramePtr frame(av_frame_alloc());
    frame->format = inFormat;
    frame->width = 5;
    frame->height = 3;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

template <class T>
FramePtr MakeRamp(AVPixelFormat inFormat, T inStep) {
    FramePtr frame = MakeFrame(inFormat);
    for (int i = 0; i < 15; ++i)
        reinterpret_cast<T*>(frame->data[0] + i / 5 * frame->linesize[0])[i % 5] =
            static_cast<T>(inStep * static_cast<T>(i));
    return frame;
}

template <class T>
void ExpectRamp(const IP::ImagePtr<T>& inImage, bool inUpsideDown = false) {
    ASSERT_EQ(inImage->GetColumns(), 5);
    ASSERT_EQ(inImage->GetRows(), 3);
    for (int i = 0; i < 15; ++i) {
        const int value = inUpsideDown ? (2 - i / 5) * 5 + i % 5 : i;
        EXPECT_EQ(inImage->GetData()[i], static_cast<T>(value));
    }
}

TEST(AVFrames, CopyGreyAsBytesAndAsFloatsTo255) {
    const FramePtr bytes = MakeRamp<unsigned char>(AV_PIX_FMT_GRAY8, 1);
    ExpectRamp(Wrappers::CopyGrey(*bytes));
    ExpectRamp(Wrappers::CopyFloatGrey(*bytes));
    // Sixteenths, so that nothing is rounded.
    const FramePtr floats = MakeRamp<float>(AV_PIX_FMT_GRAYF32, 1.0f / 16);
    const auto image = Wrappers::CopyFloatGrey(*floats);
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(image->GetData()[i], 255.0f / 16 * static_cast<float>(i));
}

TEST(AVFrames, CopyAFrameThatIsStoredUpsideDown) {
    const FramePtr frame = MakeRamp<unsigned char>(AV_PIX_FMT_GRAY8, 1);
    frame->data[0] += 2 * frame->linesize[0];
    frame->linesize[0] = -frame->linesize[0];
    ExpectRamp(Wrappers::CopyGrey(*frame), true);
}

TEST(AVFrames, GiveAFrameToAnItemWithItsStride) {
    const FramePtr frame = MakeFrame(AV_PIX_FMT_BGRA);
    for (int i = 0; i < 15; ++i) {
        unsigned char* const pixel = frame->data[0] + i / 5 * frame->linesize[0] + i % 5 * 4;
        pixel[0] = pixel[1] = pixel[2] = static_cast<unsigned char>(i);
    }
    const auto source = quillet::utility::AsciiToUTF16("frame");
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage);
    item->SetDataKey(DP::CreateDescriptorDataKey(source, 0, 3, 5));
    Wrappers::ShareFrame(DP::Ref<DP::IGreyImageDescriptorWorkerItem>(item), *frame);
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty(source, DP::kDescriptorDataTypeGreyImage));
    const DP::Ref<DP::IGreyImageDescriptorData> data(computer->GetDescriptorData(item, false));
    ExpectRamp(data->GetGreyImageData());
}

TEST(AVFrames, RefuseWhatTheyCannotTake) {
    const DP::Ref<DP::IGreyImageDescriptorWorkerItem> item(
        DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGreyImage));
    const FramePtr colour = MakeFrame(AV_PIX_FMT_BGRA);
    const FramePtr grey = MakeFrame(AV_PIX_FMT_GRAY8);
    EXPECT_THROW(Wrappers::CopyGrey(*colour), std::invalid_argument);
    EXPECT_THROW(Wrappers::CopyFloatGrey(*colour), std::invalid_argument);
    EXPECT_THROW(Wrappers::ShareFrame(item, *grey), std::invalid_argument);
    colour->linesize[0] = -colour->linesize[0];
    EXPECT_THROW(Wrappers::ShareFrame(item, *colour), std::invalid_argument);
}

}  // namespace
