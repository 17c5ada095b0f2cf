#include "MediaFile.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <cstring>

#include "UserError.h"

namespace Host {
namespace {

bool IsStillPicture(const AVFormatContext& inFormat) {
    const std::string name = inFormat.iformat->name;
    return name == "image2" || name.find("_pipe") != std::string::npos;
}

void CopyGrey(const AVFrame& inFrame, Frame& outFrame) {
    outFrame.mGrey.resize(outFrame.PixelCount());
    std::uint8_t* target = outFrame.mPixels.data();
    for (int y = 0; y < inFrame.height; ++y) {
        const std::uint8_t* const row =
            inFrame.data[0] + std::ptrdiff_t(y) * inFrame.linesize[0];
        std::memcpy(outFrame.mGrey.data() + std::size_t(y) * std::size_t(inFrame.width), row,
                    std::size_t(inFrame.width));
        for (int x = 0; x < inFrame.width; ++x, target += 4) {
            target[0] = target[1] = target[2] = row[x];
            target[3] = 255;
        }
    }
}

// The decoder's colours are those of the matrix and range that the file names.
void SetColours(SwsContext* ioScaler, const AVFrame& inFrame) {
    const int matrix = inFrame.colorspace == AVCOL_SPC_UNSPECIFIED && inFrame.height >= 720
                           ? int(AVCOL_SPC_BT709)
                           : int(inFrame.colorspace);
    const int* const coefficients = sws_getCoefficients(matrix);
    const bool full = inFrame.color_range == AVCOL_RANGE_JPEG;
    sws_setColorspaceDetails(ioScaler, coefficients, full, sws_getCoefficients(SWS_CS_DEFAULT),
                             1, 0, 1 << 16, 1 << 16);
}

// The old names of full-range formats draw a warning from the scaler.
AVPixelFormat PlainFormat(int inFormat) {
    switch (inFormat) {
        case AV_PIX_FMT_YUVJ420P:
            return AV_PIX_FMT_YUV420P;
        case AV_PIX_FMT_YUVJ422P:
            return AV_PIX_FMT_YUV422P;
        case AV_PIX_FMT_YUVJ444P:
            return AV_PIX_FMT_YUV444P;
        case AV_PIX_FMT_YUVJ440P:
            return AV_PIX_FMT_YUV440P;
        default:
            return AVPixelFormat(inFormat);
    }
}

}  // namespace

void AvDeleter::operator()(AVFormatContext* inContext) const {
    avformat_close_input(&inContext);
}
void AvDeleter::operator()(AVCodecContext* inContext) const {
    avcodec_free_context(&inContext);
}
void AvDeleter::operator()(AVFrame* inFrame) const { av_frame_free(&inFrame); }
void AvDeleter::operator()(AVPacket* inPacket) const { av_packet_free(&inPacket); }
void AvDeleter::operator()(SwsContext* inContext) const { sws_freeContext(inContext); }

std::string AvErrorText(int inError) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(inError, text, sizeof text);
    return text;
}

MediaFile::MediaFile(const std::string& inFile)
    : mFile(inFile),
      mDecoded(av_frame_alloc()),
      mConverted(av_frame_alloc()),
      mPacket(av_packet_alloc()) {
    av_log_set_level(AV_LOG_QUIET);  // what matters is said by our own one line

    // A percent sign in a picture's name is a letter like others here.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "pattern_type", "none", 0);
    AVFormatContext* format = nullptr;
    const int opened = avformat_open_input(&format, inFile.c_str(), nullptr, &options);
    av_dict_free(&options);
    if (opened < 0) Fail("is not a video or picture that can be read", opened);
    mFormat.reset(format);

    const int probed = avformat_find_stream_info(format, nullptr);
    if (probed < 0) Fail("cannot be read", probed);
    const AVCodec* decoder = nullptr;
    mStream = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (mStream < 0 || !decoder) Fail("has no pictures in it", AVERROR_STREAM_NOT_FOUND);

    mCodec.reset(avcodec_alloc_context3(decoder));
    avcodec_parameters_to_context(mCodec.get(), format->streams[mStream]->codecpar);
    // Half a picture is refused where it is the whole file. A video may start with frames
    // whose neighbours are missing, and is shown as far as it goes.
    if (IsStillPicture(*format)) mCodec->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
    const int ready = avcodec_open2(mCodec.get(), decoder, nullptr);
    if (ready < 0) Fail("cannot be decoded", ready);
}

void MediaFile::Fail(const std::string& inWhat, int inError) const {
    throw UserError("'" + mFile + "' " + inWhat + ": " + AvErrorText(inError));
}

bool MediaFile::Read(Frame& outFrame) {
    if (!Decode()) return false;
    ++mFramesRead;
    Convert(outFrame);
    return true;
}

bool MediaFile::Decode() {
    for (;;) {
        const int received = avcodec_receive_frame(mCodec.get(), mDecoded.get());
        if (received == 0) return true;
        if (received == AVERROR_EOF) return false;
        const std::string frame =
            "has a frame that cannot be read, number " + std::to_string(mFramesRead + 1);
        if (received != AVERROR(EAGAIN)) Fail(frame, received);
        if (mDraining) return false;

        const int got = av_read_frame(mFormat.get(), mPacket.get());
        if (got < 0 && got != AVERROR_EOF) Fail(frame, got);
        mDraining = got < 0;
        int sent = 0;
        if (mDraining)
            sent = avcodec_send_packet(mCodec.get(), nullptr);
        else if (mPacket->stream_index == mStream)
            sent = avcodec_send_packet(mCodec.get(), mPacket.get());
        av_packet_unref(mPacket.get());
        if (sent < 0 && sent != AVERROR_EOF) Fail(frame, sent);
    }
}

void MediaFile::Convert(Frame& outFrame) {
    AVFrame& decoded = *mDecoded;
    outFrame.Resize(decoded.width, decoded.height);
    if (decoded.format == AV_PIX_FMT_GRAY8) {
        CopyGrey(decoded, outFrame);
        outFrame.Finish();
        return;
    }

    // The scaler may write a little past a row's end, so it gets rows of its own.
    av_frame_unref(mConverted.get());
    mConverted->format = AV_PIX_FMT_BGRA;
    mConverted->width = decoded.width;
    mConverted->height = decoded.height;
    const int allocated = av_frame_get_buffer(mConverted.get(), 64);
    if (allocated < 0) Fail("is too large", allocated);
    mScaler.reset(sws_getCachedContext(
        mScaler.release(), decoded.width, decoded.height, PlainFormat(decoded.format),
        decoded.width, decoded.height, AV_PIX_FMT_BGRA,
        SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_BITEXACT, nullptr, nullptr,
        nullptr));
    if (!mScaler) Fail("has pixels of a format that cannot be converted", AVERROR(ENOSYS));
    SetColours(mScaler.get(), decoded);
    sws_scale(mScaler.get(), decoded.data, decoded.linesize, 0, decoded.height,
              mConverted->data, mConverted->linesize);
    av_image_copy_plane(outFrame.mPixels.data(), outFrame.RowBytes(), mConverted->data[0],
                        mConverted->linesize[0], outFrame.RowBytes(), outFrame.mHeight);
    outFrame.Finish();
}

double MediaFile::FrameRate() const {
    AVStream* const stream = mFormat->streams[mStream];
    const double rate = av_q2d(av_guess_frame_rate(mFormat.get(), stream, nullptr));
    return rate >= 1.0 && rate <= 240.0 ? rate : 25.0;
}

long long MediaFile::FrameCount() const {
    const AVStream& stream = *mFormat->streams[mStream];
    if (stream.nb_frames > 0) return stream.nb_frames;
    if (IsStillPicture(*mFormat)) return 1;
    if (mFormat->duration <= 0) return 0;
    return (long long)(double(mFormat->duration) / AV_TIME_BASE * FrameRate() + 0.5);
}

}  // namespace Host
