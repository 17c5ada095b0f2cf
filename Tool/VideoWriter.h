// VideoWriter: frames into a video file, by FFmpeg's libraries.

#pragma once

#include <map>
#include <optional>
#include <string>

#include "Canvas.h"
#include "MediaFile.h"
#include "OutputFile.h"

namespace Host {

class FrameSource;

/// What a video is made of.
struct VideoShape {
    /// Size of the pictures, with times and sound as the source has them.
    VideoShape(int inWidth, int inHeight, const FrameSource& inSource);
    VideoShape(int inWidth, int inHeight, double inFrameRate, TimeBase inTimeBase)
        : mWidth(inWidth), mHeight(inHeight), mFrameRate(inFrameRate), mTimeBase(inTimeBase) {}

    int mWidth, mHeight;
    double mFrameRate;
    TimeBase mTimeBase;
    const AVStream* mSound = nullptr;
};

/// Writes an MP4 file: H.264 where FFmpeg was built with it, else MPEG-4. Sound is copied as
/// it is, where an MP4 file may hold it.
///
/// Ownership: plain object, one owner. The destructor ends the file as `Finish` does, so
///   that what was written so far can be played whatever ended the run.
/// Threads: one thread at a time.
/// Errors: a file that cannot be written throws `UserError`.
class VideoWriter {
public:
    /// Sides that are odd are made even by a further column or row.
    VideoWriter(const std::string& inFile, const VideoShape& inShape);
    ~VideoWriter();
    VideoWriter(const VideoWriter&) = delete;
    VideoWriter& operator=(const VideoWriter&) = delete;

    /// The picture has the size that the writer was made with. Time and duration count the
    /// source's time base; a time that is not above the last one is moved behind it.
    void Write(const Canvas& inPicture, std::int64_t inTime, std::int64_t inDuration);
    void WriteSound(const SoundPackets& inSound);
    void Finish();

    const std::string& File() const { return mFile.Name(); }
    /// Whether there is sound that this kind of file cannot hold.
    bool LeavesSoundOut() const { return mShape.mSound && !mSound; }

private:
    void OpenEncoder(int inWidth, int inHeight);
    void OpenFile();
    void AddSound();
    void Encode(AVFrame* inFrame);
    void Check(int inResult) const;

    VideoShape mShape;
    OutputFile mFile;
    AvPtr<AVCodecContext> mCodec;
    AvPtr<AVFrame> mFrame;
    AvPtr<AVPacket> mPacket;
    AvPtr<SwsContext> mScaler;
    AVFormatContext* mFormat = nullptr;  // an output context is freed in another way
    AVStream* mStream = nullptr;
    AVStream* mSound = nullptr;
    std::map<std::int64_t, std::int64_t> mDurations;  // by time: encoders drop them
    std::int64_t mLastTime = 0;
    bool mHasFrames = false, mOpen = false;
};

/// Says where the sound was left out.
void ReportSound(const std::optional<VideoWriter>& inVideo);

}  // namespace Host
