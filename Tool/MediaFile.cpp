#include "MediaFile.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Interrupt.h"
#include "UserError.h"
#include "YuvToBgra.h"

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
int MatrixOf(const AVFrame& inFrame) {
    return inFrame.colorspace == AVCOL_SPC_UNSPECIFIED && inFrame.height >= 720
               ? int(AVCOL_SPC_BT709)
               : int(inFrame.colorspace);
}
bool IsFullRange(const AVFrame& inFrame) {
    return inFrame.color_range == AVCOL_RANGE_JPEG || inFrame.format == AV_PIX_FMT_YUVJ420P;
}

// What nearly all videos are: 4:2:0 in bytes, by one of the two usual matrices.
bool IsPlainVideo(const AVFrame& inFrame) {
    const int matrix = MatrixOf(inFrame);
    return (inFrame.format == AV_PIX_FMT_YUV420P || inFrame.format == AV_PIX_FMT_YUVJ420P) &&
           (matrix == AVCOL_SPC_BT709 || matrix == AVCOL_SPC_UNSPECIFIED ||
            matrix == AVCOL_SPC_BT470BG || matrix == AVCOL_SPC_SMPTE170M);
}
void ConvertPlainVideo(const AVFrame& inFrame, Frame& outFrame) {
    const YuvCoefficients coefficients =
        MatrixOf(inFrame) == AVCOL_SPC_BT709
            ? YuvCoefficients(0.2126, 0.0722, IsFullRange(inFrame))
            : YuvCoefficients(0.299, 0.114, IsFullRange(inFrame));
    outFrame.Resize(inFrame.width, inFrame.height);
    YuvToBgra({{inFrame.data[0], inFrame.data[1], inFrame.data[2]},
               {inFrame.linesize[0], inFrame.linesize[1], inFrame.linesize[2]},
               inFrame.width,
               inFrame.height},
              coefficients, outFrame.mPixels.data());
}

void SetColours(SwsContext* ioScaler, const AVFrame& inFrame) {
    const int* const coefficients = sws_getCoefficients(MatrixOf(inFrame));
    const bool full = IsFullRange(inFrame);
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

// The matrix of a file says where a stored pixel is shown: x' = ax + cy, y' = bx + dy.
Turn TurnOfMatrix(const std::int32_t* inMatrix) {
    const std::int32_t a = inMatrix[0], b = inMatrix[1], c = inMatrix[3], d = inMatrix[4];
    if (std::llabs(b) + std::llabs(c) > std::llabs(a) + std::llabs(d))
        return {true, c < 0, b < 0};
    return {false, a < 0, d < 0};
}

int ReadPipe(void* inPipe, std::uint8_t* outBytes, int inMost) {
    try {
        const std::size_t got =
            static_cast<PipeInput*>(inPipe)->Read(outBytes, std::size_t(inMost));
        return got > 0 ? int(got) : AVERROR_EOF;
    } catch (const UserError&) {
        return AVERROR(EIO);
    }
}

int WantsToStop(void*) { return Interrupted() ? 1 : 0; }

bool IsDamaged(const AVFrame& inFrame) {
    return inFrame.decode_error_flags != 0 || (inFrame.flags & AV_FRAME_FLAG_CORRUPT) != 0;
}

}  // namespace

void AvDeleter::operator()(AVFormatContext* inContext) const {
    avformat_close_input(&inContext);
}
void AvDeleter::operator()(AVIOContext* inContext) const {
    av_freep(&inContext->buffer);
    avio_context_free(&inContext);
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
    OpenFormat();
    OpenDecoder();
}

void MediaFile::OpenFormat() {
    AVFormatContext* format = avformat_alloc_context();
    format->interrupt_callback.callback = &WantsToStop;
    if (IsPipe(mFile)) {
        constexpr int kBytes = 1 << 16;
        mPipe = std::make_unique<PipeInput>(mFile);
        mPipeContext.reset(avio_alloc_context(static_cast<unsigned char*>(av_malloc(kBytes)),
                                              kBytes, 0, mPipe.get(), &ReadPipe, nullptr,
                                              nullptr));
        format->pb = mPipeContext.get();
    }
    // A percent sign in a picture's name is a letter like others here.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "pattern_type", "none", 0);
    const int opened = avformat_open_input(&format, mFile.c_str(), nullptr, &options);
    av_dict_free(&options);
    if (opened < 0) Fail("is not a video or picture that can be read", opened);
    mFormat.reset(format);
    const int probed = avformat_find_stream_info(format, nullptr);
    if (probed < 0) Fail("cannot be read", probed);
    mIsStill = IsStillPicture(*format);
}

void MediaFile::OpenDecoder() {
    AVFormatContext* const format = mFormat.get();
    const AVCodec* decoder = nullptr;
    mStream = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (mStream < 0 || !decoder) Fail("has no pictures in it", AVERROR_STREAM_NOT_FOUND);
    mSoundStream = av_find_best_stream(format, AVMEDIA_TYPE_AUDIO, -1, mStream, nullptr, 0);
    for (int i = 0; i < int(format->nb_streams); ++i)
        if (i != mStream && i != mSoundStream) format->streams[i]->discard = AVDISCARD_ALL;

    mCodec.reset(avcodec_alloc_context3(decoder));
    avcodec_parameters_to_context(mCodec.get(), format->streams[mStream]->codecpar);
    // Half a picture is refused where it is the whole file. A video may start with frames
    // whose neighbours are missing, and is shown as far as it goes.
    if (mIsStill) mCodec->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
    const int ready = avcodec_open2(mCodec.get(), decoder, nullptr);
    if (ready < 0) Fail("cannot be decoded", ready);
}

void MediaFile::Fail(const std::string& inWhat, int inError) const {
    throw UserError("'" + mFile + "' " + inWhat + ": " + AvErrorText(inError));
}

std::string MediaFile::Seconds(std::int64_t inTime) const {
    char text[40];
    std::snprintf(text, sizeof text, "%.3f s", GetTimeBase().Seconds(inTime));
    return text;
}

void MediaFile::NoteDamage(const std::string& inWhere) {
    if (++mDamages == 1) mDamage = inWhere;
}

std::string MediaFile::Trouble() const {
    std::string trouble;
    if (mDamages > 0) trouble = "is damaged " + mDamage;
    if (mDamages > 1) trouble += " and in " + std::to_string(mDamages - 1) + " more places";
    // Frames that step often come at any time: such a clip lacks none.
    if (mGaps > 0 && (mDamages > 0 || mGaps <= 1 + mFramesRead / 200))
        trouble += (mDamages > 0 ? ", and " : "misses frames: ") + std::to_string(mMissing) +
                   (mMissing == 1 ? " frame is" : " frames are") + " missing" + mGap +
                   (mGaps > 1 ? " and later on" : "");
    for (const std::string& what : {mJump, mEarlyEnd})
        if (!what.empty()) trouble += (trouble.empty() ? "" : ", and ") + what;
    return trouble.empty() ? trouble : "'" + mFile + "' " + trouble;
}

bool MediaFile::Read(Frame& outFrame) {
    if (!Decode()) {
        outFrame.mSound = std::move(mSound);
        mSound.clear();
        return false;
    }
    Convert(outFrame);
    SetTime(outFrame);
    if (IsDamaged(*mDecoded))
        NoteDamage("in frame " + std::to_string(mFramesRead) + " (" + Seconds(outFrame.mTime) +
                   ")");
    outFrame.mSound = std::move(mSound);
    mSound.clear();
    ++mFramesRead;
    return true;
}

bool MediaFile::Decode() {
    for (;;) {
        const int received = avcodec_receive_frame(mCodec.get(), mDecoded.get());
        if (received == 0) return true;
        if (received == AVERROR_EOF || Interrupted()) return false;
        if (received == AVERROR(EAGAIN)) {
            if (mDraining || !FeedDecoder()) return false;
        } else {
            if (mIsStill) Fail("cannot be decoded", received);
            NoteDamage("behind " + Seconds(mNextTime));
        }
    }
}

// Hands the decoder one packet, or the word that there are no more. False if the user asked
// to stop.
bool MediaFile::FeedDecoder() {
    const int got = av_read_frame(mFormat.get(), mPacket.get());
    if (Interrupted()) return false;
    if (got < 0) {
        mDraining = true;
        CheckEnd(got);
        avcodec_send_packet(mCodec.get(), nullptr);
        return true;
    }
    if (mPacket->stream_index == mSoundStream) KeepSound();
    int sent = 0;
    if (mPacket->stream_index == mStream) {
        ++mPackets;
        sent = avcodec_send_packet(mCodec.get(), mPacket.get());
        const std::int64_t time = mPacket->pts;
        if (sent < 0 && mIsStill) Fail("cannot be decoded", sent);
        if (sent < 0 || (mPacket->flags & AV_PKT_FLAG_CORRUPT) != 0)
            NoteDamage("at " + Seconds(time != AV_NOPTS_VALUE ? time : mNextTime) +
                       ", behind " + std::to_string(mFramesRead) + " frames");
    }
    if (mPacket->pts != AV_NOPTS_VALUE && mPacket->stream_index >= 0)
        mLastPacketEnd = std::max(
            mLastPacketEnd, double(mPacket->pts + mPacket->duration) *
                                av_q2d(mFormat->streams[mPacket->stream_index]->time_base));
    av_packet_unref(mPacket.get());
    return true;
}

void MediaFile::KeepSound() {
    mSound.emplace_back(av_packet_clone(mPacket.get()),
                        [](AVPacket* inPacket) { av_packet_free(&inPacket); });
}

// What the container announces is compared with what came: the packets in its index where
// that is complete, else its length.
void MediaFile::CheckEnd(int inError) {
    if (mIsStill) return;
    const AVStream* const stream = mFormat->streams[mStream];
    const bool hasIndex = std::strncmp(mFormat->iformat->name, "mov", 3) == 0;
    const int indexed = hasIndex ? avformat_index_get_entries_count(stream) : 0;
    const double start = mFormat->start_time == AV_NOPTS_VALUE
                             ? 0.0
                             : double(mFormat->start_time) / AV_TIME_BASE;
    const double length =
        mFormat->duration == AV_NOPTS_VALUE ? 0.0 : double(mFormat->duration) / AV_TIME_BASE;
    constexpr double kTolerance = 0.5;  // lengths in headers are rounded, or of the sound
    const bool isShort =
        mPackets < indexed || (indexed == 0 && mLastPacketEnd < start + length - kTolerance);
    if (inError == AVERROR_EOF && !isShort) return;
    char announced[64];
    std::snprintf(announced, sizeof announced, "of %.3f s", length);
    mEarlyEnd = "ends early: at " +
                Seconds(std::llround(mLastPacketEnd / av_q2d(stream->time_base))) + " " +
                announced;
    if (indexed > 0)
        mEarlyEnd +=
            ", with " + std::to_string(mPackets) + " of " + std::to_string(indexed) + " frames";
    if (inError != AVERROR_EOF) mEarlyEnd += " (" + AvErrorText(inError) + ")";
}

// What a broadcast lost leaves no packet behind; it shows as a step in time. Only streams of
// bare packets lose frames so. A time that is guessed tells nothing.
void MediaFile::NoteGap(std::int64_t inTime, std::int64_t inUsual) {
    const std::int64_t missing = (inTime - mNextTime + inUsual / 2) / inUsual;
    if (mFramesRead == 0 || missing < 1 || std::strncmp(mFormat->iformat->name, "mpeg", 4) != 0)
        return;
    constexpr double kLongestGap = 60.0;  // behind more seconds another recording begins
    if (GetTimeBase().Seconds(inTime - mNextTime) > kLongestGap) {
        if (mJump.empty())
            mJump = "jumps in time from " + Seconds(mNextTime) + " to " + Seconds(inTime);
        return;
    }
    if (++mGaps == 1)
        mGap = " between " + Seconds(mNextTime - inUsual) + " and " + Seconds(inTime);
    mMissing += missing;
}

// A frame without a time of its own follows the one before.
void MediaFile::SetTime(Frame& outFrame) {
    const AVFrame& decoded = *mDecoded;
    const TimeBase base = GetTimeBase();
    const std::int64_t usual = std::max<std::int64_t>(
        1, std::llround(double(base.mDenominator) / base.mNumerator / FrameRate()));
    outFrame.mTime = decoded.best_effort_timestamp != AV_NOPTS_VALUE
                         ? decoded.best_effort_timestamp
                         : mNextTime;
    if (decoded.pts != AV_NOPTS_VALUE) NoteGap(decoded.pts, usual);
    outFrame.mDuration = decoded.pkt_duration;
    mNextTime = outFrame.mTime + (outFrame.mDuration > 0 ? outFrame.mDuration : usual);
}

// A picture that the camera turned says so itself, a video once for all frames.
Turn MediaFile::TurnOfFrame() {
    const AVFrameSideData* const side =
        av_frame_get_side_data(mDecoded.get(), AV_FRAME_DATA_DISPLAYMATRIX);
    const std::uint8_t* matrix =
        side ? side->data
             : av_stream_get_side_data(mFormat->streams[mStream], AV_PKT_DATA_DISPLAYMATRIX,
                                       nullptr);
    return matrix ? TurnOfMatrix(reinterpret_cast<const std::int32_t*>(matrix)) : Turn{};
}

// The width in square pixels. Pictures name densities that mean nothing.
int MediaFile::ShownWidth() const {
    const AVRational aspect =
        av_guess_sample_aspect_ratio(mFormat.get(), mFormat->streams[mStream], mDecoded.get());
    const double wide = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1.0;
    if (mIsStill || wide < 0.2 || wide > 5.0) return mDecoded->width;
    return std::max(1, int(std::lround(mDecoded->width * wide)));
}

void MediaFile::Convert(Frame& outFrame) {
    AVFrame& decoded = *mDecoded;
    const Turn turn = TurnOfFrame();
    const int width = ShownWidth();
    if (mFramesRead == 0 && width != decoded.width)
        mNote = "pixels made square, from a width of " + std::to_string(decoded.width);
    if (mFramesRead == 0 && !turn.IsNone())
        mNote += std::string(mNote.empty() ? "" : "; ") + "turned as the file asks for";
    if (decoded.format == AV_PIX_FMT_GRAY8 && width == decoded.width && turn.IsNone()) {
        outFrame.Resize(decoded.width, decoded.height);
        CopyGrey(decoded, outFrame);
        outFrame.Finish();
        return;
    }

    if (IsPlainVideo(decoded) && width == decoded.width && turn.IsNone()) {
        ConvertPlainVideo(decoded, outFrame);
        outFrame.Finish();
        return;
    }

    // The scaler may write a little past a row's end, so it gets rows of its own.
    av_frame_unref(mConverted.get());
    mConverted->format = AV_PIX_FMT_BGRA;
    mConverted->width = width;
    mConverted->height = decoded.height;
    const int allocated = av_frame_get_buffer(mConverted.get(), 64);
    if (allocated < 0) Fail("is too large", allocated);
    mScaler.reset(sws_getCachedContext(
        mScaler.release(), decoded.width, decoded.height, PlainFormat(decoded.format), width,
        decoded.height, AV_PIX_FMT_BGRA,
        SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_BITEXACT, nullptr, nullptr,
        nullptr));
    if (!mScaler) Fail("has pixels of a format that cannot be converted", AVERROR(ENOSYS));
    SetColours(mScaler.get(), decoded);
    sws_scale(mScaler.get(), decoded.data, decoded.linesize, 0, decoded.height,
              mConverted->data, mConverted->linesize);
    CopyTurned(turn, outFrame);
    outFrame.Finish();
}

void MediaFile::CopyTurned(const Turn& inTurn, Frame& outFrame) const {
    const AVFrame& from = *mConverted;
    const int width = inTurn.mTransposed ? from.height : from.width;
    const int height = inTurn.mTransposed ? from.width : from.height;
    outFrame.Resize(width, height);
    if (inTurn.IsNone()) {
        av_image_copy_plane(outFrame.mPixels.data(), outFrame.RowBytes(), from.data[0],
                            from.linesize[0], outFrame.RowBytes(), height);
        return;
    }
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int shownX = inTurn.mMirroredX ? width - 1 - x : x;
            const int shownY = inTurn.mMirroredY ? height - 1 - y : y;
            const int row = inTurn.mTransposed ? shownX : shownY;
            const int column = inTurn.mTransposed ? shownY : shownX;
            std::memcpy(outFrame.Pixel(x, y),
                        from.data[0] + std::ptrdiff_t(row) * from.linesize[0] + column * 4, 4);
        }
}

TimeBase MediaFile::GetTimeBase() const {
    const AVRational base = mFormat->streams[mStream]->time_base;
    return {base.num, base.den};
}

const AVStream* MediaFile::Sound() const {
    return mSoundStream < 0 ? nullptr : mFormat->streams[mSoundStream];
}

double MediaFile::FrameRate() const {
    AVStream* const stream = mFormat->streams[mStream];
    const double rate = av_q2d(av_guess_frame_rate(mFormat.get(), stream, nullptr));
    return rate >= 1.0 && rate <= 240.0 ? rate : 25.0;
}

long long MediaFile::FrameCount() const {
    const AVStream& stream = *mFormat->streams[mStream];
    if (stream.nb_frames > 0) return stream.nb_frames;
    if (mIsStill) return 1;
    if (mFormat->duration <= 0) return 0;
    return (long long)(double(mFormat->duration) / AV_TIME_BASE * FrameRate() + 0.5);
}

}  // namespace Host
