// Stands in for what FFmpeg's libraries do where those were not found: pictures are PNG files,
// read by libpng, and no video is read or written.

#include <png.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "MediaFile.h"
#include "Path.h"
#include "UserError.h"
#include "VideoWriter.h"

namespace Host {
namespace {

constexpr char kWithout[] = "this program was built without FFmpeg's libraries";

[[noreturn]] const std::string& RefuseVideo() {
    throw UserError(std::string("no video can be written: ") + kWithout);
}

}  // namespace

// There is nothing of FFmpeg's to give back.
void AvDeleter::operator()(AVFormatContext*) const {}
void AvDeleter::operator()(AVIOContext*) const {}
void AvDeleter::operator()(AVCodecContext*) const {}
void AvDeleter::operator()(AVFrame*) const {}
void AvDeleter::operator()(AVPacket*) const {}
void AvDeleter::operator()(SwsContext*) const {}

MediaFile::MediaFile(const std::string& inFile) : mFile(inFile), mIsStill(true) {}

bool MediaFile::Read(Frame& outFrame) {
    if (mFramesRead++ > 0) return false;
    std::ifstream file(PathOf(mFile), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    png_image picture = {};
    picture.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&picture, bytes.data(), bytes.size()))
        throw UserError("'" + mFile + "' is no PNG picture that can be read (" +
                        picture.message + "), and " + kWithout +
                        ", which read others: give bare frames, by --raw");
    const bool isGrey = picture.format == PNG_FORMAT_GRAY;
    picture.format = PNG_FORMAT_BGRA;
    outFrame.Resize(int(picture.width), int(picture.height));
    if (!png_image_finish_read(&picture, nullptr, outFrame.mPixels.data(), 0, nullptr))
        throw UserError("'" + mFile + "' cannot be decoded: " + picture.message);
    if (isGrey)
        for (std::size_t i = 0; i < outFrame.PixelCount(); ++i)
            outFrame.mGrey.push_back(outFrame.mPixels[i * 4]);
    outFrame.Finish();
    return true;
}

TimeBase MediaFile::GetTimeBase() const { return {}; }
const AVStream* MediaFile::Sound() const { return nullptr; }
double MediaFile::FrameRate() const { return 25.0; }
long long MediaFile::FrameCount() const { return 1; }
std::string MediaFile::Trouble() const { return {}; }

bool CanWriteVideo() { return false; }

VideoShape::VideoShape(int inWidth, int inHeight, const FrameSource&)
    : VideoShape(inWidth, inHeight, 25.0, {}) {}

VideoWriter::VideoWriter(const std::string&, const VideoShape& inShape)
    : mShape(inShape), mFile(RefuseVideo()) {}
VideoWriter::~VideoWriter() = default;
void VideoWriter::Write(const Canvas&, std::int64_t, std::int64_t) {}
void VideoWriter::WriteSound(const SoundPackets&) {}
void VideoWriter::Finish() {}

void ReportSound(const std::optional<VideoWriter>&) {
    std::printf("  no video is written: %s\n", kWithout);
}

}  // namespace Host
