#include "VideoWriter.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstdio>

#include "FrameSource.h"
#include "UserError.h"

namespace Host {

bool CanWriteVideo() { return true; }

VideoShape::VideoShape(int inWidth, int inHeight, const FrameSource& inSource)
    : VideoShape(inWidth, inHeight, inSource.FrameRate(), inSource.GetTimeBase()) {
    mSound = inSource.Sound();
}

VideoWriter::VideoWriter(const std::string& inFile, const VideoShape& inShape)
    : mShape(inShape), mFile(inFile), mFrame(av_frame_alloc()), mPacket(av_packet_alloc()) {
    av_log_set_level(AV_LOG_QUIET);
    OpenEncoder(inShape.mWidth + inShape.mWidth % 2, inShape.mHeight + inShape.mHeight % 2);
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
        throw UserError("video '" + mFile.Name() +
                        "' cannot be written: " + AvErrorText(inResult));
}

void VideoWriter::OpenEncoder(int inWidth, int inHeight) {
    for (const char* name : {"libx264", "libopenh264", "mpeg4"}) {
        const AVCodec* const encoder = avcodec_find_encoder_by_name(name);
        if (!encoder) continue;
        mCodec.reset(avcodec_alloc_context3(encoder));
        mCodec->width = inWidth;
        mCodec->height = inHeight;
        mCodec->pix_fmt = AV_PIX_FMT_YUV420P;
        mCodec->time_base = {mShape.mTimeBase.mNumerator, mShape.mTimeBase.mDenominator};
        // MPEG-4 counts at most 65535 units a second.
        if (encoder->id == AV_CODEC_ID_MPEG4 && mCodec->time_base.den > 65535)
            mCodec->time_base = {1, 60000};
        mCodec->framerate = av_d2q(mShape.mFrameRate, 1001000);
        mCodec->colorspace = AVCOL_SPC_BT709;
        mCodec->color_primaries = AVCOL_PRI_BT709;
        mCodec->color_trc = AVCOL_TRC_BT709;
        mCodec->color_range = AVCOL_RANGE_MPEG;
        mCodec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        mCodec->thread_count = 0;  // as many as there are processors
        mCodec->bit_rate = std::int64_t(inWidth) * inHeight * 6;  // where there is no crf
        // Encoding is the largest part of a run. The fastest preset, with the smoothing of
        // block borders that it leaves out, takes less than half the time of the next one for
        // the same error, and a quarter more bytes.
        av_opt_set(mCodec->priv_data, "preset", "ultrafast", 0);
        av_opt_set(mCodec->priv_data, "deblock", "0:0", 0);
        if (av_opt_set(mCodec->priv_data, "crf", "22", 0) == 0) mCodec->bit_rate = 0;
        if (avcodec_open2(mCodec.get(), encoder, nullptr) == 0) return;
    }
    throw UserError("FFmpeg's libraries have no encoder for video (H.264 or MPEG-4)");
}

void VideoWriter::OpenFile() {
    const std::string path = mFile.PathOfOpenFile();
    Check(avformat_alloc_output_context2(&mFormat, nullptr, "mp4", path.c_str()));
    mStream = avformat_new_stream(mFormat, nullptr);
    if (!mStream) Check(AVERROR(ENOMEM));
    mStream->time_base = mCodec->time_base;
    mStream->avg_frame_rate = mCodec->framerate;
    Check(avcodec_parameters_from_context(mStream->codecpar, mCodec.get()));
    AddSound();
    Check(avio_open(&mFormat->pb, path.c_str(), AVIO_FLAG_WRITE));
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
    mScaler.reset(sws_getContext(mShape.mWidth, mShape.mHeight, AV_PIX_FMT_BGRA, mCodec->width,
                                 mCodec->height, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr,
                                 nullptr, nullptr));
    if (!mScaler) Check(AVERROR(ENOMEM));
    sws_setColorspaceDetails(mScaler.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1,
                             sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
}

void VideoWriter::AddSound() {
    if (!mShape.mSound) return;
    const AVCodecParameters* const sound = mShape.mSound->codecpar;
    if (avformat_query_codec(mFormat->oformat, sound->codec_id, FF_COMPLIANCE_NORMAL) != 1)
        return;
    mSound = avformat_new_stream(mFormat, nullptr);
    if (!mSound) Check(AVERROR(ENOMEM));
    Check(avcodec_parameters_copy(mSound->codecpar, sound));
    mSound->codecpar->codec_tag = 0;  // that of the other container
    mSound->time_base = mShape.mSound->time_base;
}

void VideoWriter::Write(const Canvas& inPicture, std::int64_t inTime, std::int64_t inDuration) {
    Check(av_frame_make_writable(mFrame.get()));
    const std::uint8_t* const planes[] = {inPicture.Pixels()};
    const int strides[] = {inPicture.Stride()};
    sws_scale(mScaler.get(), planes, strides, 0, mShape.mHeight, mFrame->data,
              mFrame->linesize);
    const AVRational base{mShape.mTimeBase.mNumerator, mShape.mTimeBase.mDenominator};
    mFrame->pts = av_rescale_q(inTime, base, mCodec->time_base);
    if (mHasFrames) mFrame->pts = std::max(mFrame->pts, mLastTime + 1);
    mDurations[mFrame->pts] = av_rescale_q(inDuration, base, mCodec->time_base);
    mLastTime = mFrame->pts;
    mHasFrames = true;
    Encode(mFrame.get());
}

void VideoWriter::WriteSound(const SoundPackets& inSound) {
    if (!mSound) return;
    for (const auto& packet : inSound) {
        Check(av_packet_ref(mPacket.get(), packet.get()));
        mPacket->stream_index = mSound->index;
        mPacket->pos = -1;
        av_packet_rescale_ts(mPacket.get(), mShape.mSound->time_base, mSound->time_base);
        Check(av_interleaved_write_frame(mFormat, mPacket.get()));
    }
}

void VideoWriter::Encode(AVFrame* inFrame) {
    Check(avcodec_send_frame(mCodec.get(), inFrame));
    for (;;) {
        const int received = avcodec_receive_packet(mCodec.get(), mPacket.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return;
        Check(received);
        const auto duration = mDurations.find(mPacket->pts);
        if (duration != mDurations.end()) {
            mPacket->duration = duration->second;
            mDurations.erase(duration);
        }
        mPacket->stream_index = mStream->index;
        av_packet_rescale_ts(mPacket.get(), mCodec->time_base, mStream->time_base);
        Check(av_interleaved_write_frame(mFormat, mPacket.get()));
    }
}

void VideoWriter::Finish() {
    if (!mOpen) return;
    mOpen = false;
    if (mHasFrames) Encode(nullptr);
    Check(av_write_trailer(mFormat));
    Check(avio_closep(&mFormat->pb));
}

void ReportSound(const std::optional<VideoWriter>& inVideo) {
    if (inVideo && inVideo->LeavesSoundOut())
        std::printf("  the sound is of a kind that MP4 files cannot hold, and was left out\n");
}

}  // namespace Host
