#include "VideoWriter.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <cmath>

#include "UserError.h"

namespace Host {

VideoWriter::VideoWriter(const std::string& inFile, int inWidth, int inHeight,
                         double inFrameRate)
    : mFile(inFile),
      mFrame(av_frame_alloc()),
      mPacket(av_packet_alloc()),
      mWidth(inWidth),
      mHeight(inHeight) {
    av_log_set_level(AV_LOG_QUIET);
    OpenEncoder(inWidth + inWidth % 2, inHeight + inHeight % 2, inFrameRate);
    OpenFile();
}

VideoWriter::~VideoWriter() {
    try {
        Finish();
    } catch (const UserError&) {
        // The run ends because of another error, which is the one to tell.
    }
    if (mFormat) {
        avio_closep(&mFormat->pb);
        avformat_free_context(mFormat);
    }
}

void VideoWriter::Check(int inResult) const {
    if (inResult < 0)
        throw UserError("video '" + mFile + "' cannot be written: " + AvErrorText(inResult));
}

void VideoWriter::OpenEncoder(int inWidth, int inHeight, double inFrameRate) {
    for (const char* name : {"libx264", "libopenh264", "mpeg4"}) {
        const AVCodec* const encoder = avcodec_find_encoder_by_name(name);
        if (!encoder) continue;
        mCodec.reset(avcodec_alloc_context3(encoder));
        mCodec->width = inWidth;
        mCodec->height = inHeight;
        mCodec->pix_fmt = AV_PIX_FMT_YUV420P;
        mCodec->time_base = {1000, int(std::lround(inFrameRate * 1000.0))};
        mCodec->framerate = {mCodec->time_base.den, mCodec->time_base.num};
        mCodec->colorspace = AVCOL_SPC_BT709;
        mCodec->color_primaries = AVCOL_PRI_BT709;
        mCodec->color_trc = AVCOL_TRC_BT709;
        mCodec->color_range = AVCOL_RANGE_MPEG;
        mCodec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        mCodec->bit_rate = std::int64_t(inWidth) * inHeight * 6;  // where there is no crf
        av_opt_set(mCodec->priv_data, "preset", "veryfast", 0);
        if (av_opt_set(mCodec->priv_data, "crf", "20", 0) == 0) mCodec->bit_rate = 0;
        if (avcodec_open2(mCodec.get(), encoder, nullptr) == 0) return;
    }
    throw UserError("FFmpeg's libraries have no encoder for video (H.264 or MPEG-4)");
}

void VideoWriter::OpenFile() {
    Check(avformat_alloc_output_context2(&mFormat, nullptr, "mp4", mFile.c_str()));
    mStream = avformat_new_stream(mFormat, nullptr);
    if (!mStream) Check(AVERROR(ENOMEM));
    mStream->time_base = mCodec->time_base;
    mStream->avg_frame_rate = mCodec->framerate;
    Check(avcodec_parameters_from_context(mStream->codecpar, mCodec.get()));
    Check(avio_open(&mFormat->pb, mFile.c_str(), AVIO_FLAG_WRITE));
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "+faststart", 0);
    const int written = avformat_write_header(mFormat, &options);
    av_dict_free(&options);
    Check(written);
    mOpen = true;

    mFrame->format = mCodec->pix_fmt;
    mFrame->width = mCodec->width;
    mFrame->height = mCodec->height;
    Check(av_frame_get_buffer(mFrame.get(), 0));
    mScaler.reset(sws_getContext(mWidth, mHeight, AV_PIX_FMT_BGRA, mCodec->width,
                                 mCodec->height, AV_PIX_FMT_YUV420P,
                                 SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (!mScaler) Check(AVERROR(ENOMEM));
    sws_setColorspaceDetails(mScaler.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1,
                             sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
}

void VideoWriter::Write(const Canvas& inPicture) {
    Check(av_frame_make_writable(mFrame.get()));
    const std::uint8_t* const planes[] = {inPicture.Pixels()};
    const int strides[] = {inPicture.Stride()};
    sws_scale(mScaler.get(), planes, strides, 0, mHeight, mFrame->data, mFrame->linesize);
    mFrame->pts = mFramesWritten++;
    Encode(mFrame.get());
}

void VideoWriter::Encode(AVFrame* inFrame) {
    Check(avcodec_send_frame(mCodec.get(), inFrame));
    for (;;) {
        const int received = avcodec_receive_packet(mCodec.get(), mPacket.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return;
        Check(received);
        mPacket->duration = 1;
        av_packet_rescale_ts(mPacket.get(), mCodec->time_base, mStream->time_base);
        Check(av_interleaved_write_frame(mFormat, mPacket.get()));
    }
}

void VideoWriter::Finish() {
    if (!mOpen) return;
    mOpen = false;
    if (mFramesWritten > 0) Encode(nullptr);
    Check(av_write_trailer(mFormat));
    Check(avio_closep(&mFormat->pb));
}

}  // namespace Host
