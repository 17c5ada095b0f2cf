#include "descriptor/ffmpeg.h"

#include "Support/Test.h"
#include "descriptor/GreyFrames.h"

namespace {

using namespace descriptor;

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

// Pixel i has the value i, or i sixteenths, in each of its bytes or floats.
FramePtr MakeRamp(AVPixelFormat inFormat, int inBytes) {
    FramePtr frame = MakeFrame(inFormat);
    for (int i = 0; i < 15; ++i) {
        unsigned char* const line = frame->data[0] + i / 5 * frame->linesize[0];
        if (inFormat == AV_PIX_FMT_GRAYF32)
            reinterpret_cast<float*>(line)[i % 5] = float(i) / 16;
        else
            std::fill_n(line + i % 5 * inBytes, inBytes, static_cast<unsigned char>(i));
    }
    return frame;
}

void ExpectRamp(const Frame& inFrame, bool inUpsideDown = false) {
    const Frame grey = GreyFrames().grey8(inFrame);
    ASSERT_EQ(grey.width, 5);
    ASSERT_EQ(grey.height, 3);
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(grey.row(inUpsideDown ? 2 - i / 5 : i / 5)[i % 5], i);
}

TEST(Ffmpeg, FramesAreSharedAndKeptAlive) {
    for (const AVPixelFormat format :
         {AV_PIX_FMT_BGRA, AV_PIX_FMT_BGR0, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB0, AV_PIX_FMT_BGR24,
          AV_PIX_FMT_RGB24, AV_PIX_FMT_GRAY8}) {
        const Frame frame = [&] {
            const FramePtr decoded = MakeRamp(
                format, format == AV_PIX_FMT_GRAY8                                 ? 1
                        : format == AV_PIX_FMT_BGR24 || format == AV_PIX_FMT_RGB24 ? 3
                                                                                   : 4);
            const Frame shared = frame_of(*decoded);
            EXPECT_EQ(shared.pixels, decoded->data[0]);
            return shared;
        }();
        ExpectRamp(frame);
    }
}

TEST(Ffmpeg, RedAndBlueKeepTheirPlaces) {
    for (const AVPixelFormat format : {AV_PIX_FMT_BGR24, AV_PIX_FMT_RGB24}) {
        const FramePtr frame = MakeRamp(format, 3);
        frame->data[0][0] = 255;
        EXPECT_EQ(GreyFrames().grey8(frame_of(*frame)).row(0)[0],
                  format == AV_PIX_FMT_BGR24 ? 29 : 76);
    }
}

TEST(Ffmpeg, FramesMayBeStoredUpsideDown) {
    const FramePtr frame = MakeRamp(AV_PIX_FMT_BGRA, 4);
    frame->data[0] += 2 * frame->linesize[0];
    frame->linesize[0] = -frame->linesize[0];
    ExpectRamp(frame_of(*frame), true);
}

TEST(Ffmpeg, FloatsRunTo255) {
    const FramePtr frame = MakeRamp(AV_PIX_FMT_GRAYF32, 4);
    const Frame floats = GreyFrames().grey_float(frame_of(*frame));
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(reinterpret_cast<const float*>(floats.row(i / 5))[i % 5],
                  255.0f / 16 * float(i));
}

TEST(Ffmpeg, TimesAreSeconds) {
    const FramePtr frame = MakeRamp(AV_PIX_FMT_GRAY8, 1);
    EXPECT_FALSE(frame_of(*frame).time) << "no time stamp";
    frame->pts = 3003;
    EXPECT_FALSE(frame_of(*frame).time) << "no time base";
    EXPECT_DOUBLE_EQ(frame_of(*frame, {1, 90000}).time.value(), 3003.0 / 90000);
    frame->best_effort_timestamp = 6006;
    EXPECT_DOUBLE_EQ(frame_of(*frame, {1, 90000}).time.value(), 6006.0 / 90000);
}

TEST(Ffmpeg, OtherFormatsAreRefusedByName) {
    try {
        frame_of(*MakeFrame(AV_PIX_FMT_YUV420P));
        ADD_FAILURE();
    } catch (const ArgumentError& error) {
        EXPECT_STREQ(error.what(),
                     "frame.format: yuv420p goes through libswscale first, to BGRA");
    }
}

}  // namespace
