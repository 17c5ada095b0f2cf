// MediaFile: the frames of one file, by FFmpeg's libraries.

#pragma once

#include <memory>
#include <string>

#include "Frame.h"

struct AVFormatContext;
struct AVCodecContext;
struct AVFrame;
struct AVPacket;
struct SwsContext;

namespace Host {

struct AvDeleter {
    void operator()(AVFormatContext* inContext) const;
    void operator()(AVCodecContext* inContext) const;
    void operator()(AVFrame* inFrame) const;
    void operator()(AVPacket* inPacket) const;
    void operator()(SwsContext* inContext) const;
};
template <class T>
using AvPtr = std::unique_ptr<T, AvDeleter>;

/// What FFmpeg says of an error number.
std::string AvErrorText(int inError);

/// One open video or picture.
///
/// Ownership: plain object, one owner.
/// Threads: one thread at a time.
/// Errors: throws `UserError` with the file's name in it.
class MediaFile {
public:
    explicit MediaFile(const std::string& inFile);

    /// Gives the next frame as BGRA, or returns false behind the last one.
    bool Read(Frame& outFrame);

    double FrameRate() const;
    /// The number of frames as far as the file tells; 0 where it does not.
    long long FrameCount() const;

private:
    bool Decode();
    void Convert(Frame& outFrame);
    [[noreturn]] void Fail(const std::string& inWhat, int inError) const;

    std::string mFile;
    AvPtr<AVFormatContext> mFormat;
    AvPtr<AVCodecContext> mCodec;
    AvPtr<AVFrame> mDecoded;
    AvPtr<AVFrame> mConverted;
    AvPtr<AVPacket> mPacket;
    AvPtr<SwsContext> mScaler;
    int mStream = -1;
    bool mDraining = false;
    long long mFramesRead = 0;
};

}  // namespace Host
