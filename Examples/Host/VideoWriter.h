// VideoWriter: frames into a video file, by FFmpeg's libraries.

#pragma once

#include <string>

#include "Canvas.h"
#include "MediaFile.h"

struct AVStream;

namespace Host {

/// Writes an MP4 file: H.264 where FFmpeg was built with it, else MPEG-4.
///
/// Ownership: plain object, one owner. The destructor ends the file as `Finish` does, so
///   that what was written so far can be played whatever ended the run.
/// Threads: one thread at a time.
/// Errors: a file that cannot be written throws `UserError`.
class VideoWriter {
public:
    /// Sides that are odd are made even by a further column or row.
    VideoWriter(const std::string& inFile, int inWidth, int inHeight, double inFrameRate);
    ~VideoWriter();
    VideoWriter(const VideoWriter&) = delete;
    VideoWriter& operator=(const VideoWriter&) = delete;

    /// The picture has the size that the writer was made with.
    void Write(const Canvas& inPicture);
    void Finish();

    const std::string& File() const { return mFile; }

private:
    void OpenEncoder(int inWidth, int inHeight, double inFrameRate);
    void OpenFile();
    void Encode(AVFrame* inFrame);
    void Check(int inResult) const;

    std::string mFile;
    AvPtr<AVCodecContext> mCodec;
    AvPtr<AVFrame> mFrame;
    AvPtr<AVPacket> mPacket;
    AvPtr<SwsContext> mScaler;
    AVFormatContext* mFormat = nullptr;  // an output context is freed in another way
    AVStream* mStream = nullptr;
    int mWidth, mHeight;
    long long mFramesWritten = 0;
    bool mOpen = false;
};

}  // namespace Host
