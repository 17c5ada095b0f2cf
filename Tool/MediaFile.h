// MediaFile: the frames of one file, by FFmpeg's libraries.

#pragma once

#include <memory>
#include <string>

#include "Frame.h"
#include "PipeInput.h"

struct AVFormatContext;
struct AVCodecContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;
struct AVStream;
struct SwsContext;

namespace Host {

struct AvDeleter {
    void operator()(AVFormatContext* inContext) const;
    void operator()(AVCodecContext* inContext) const;
    void operator()(AVFrame* inFrame) const;
    void operator()(AVIOContext* inContext) const;
    void operator()(AVPacket* inPacket) const;
    void operator()(SwsContext* inContext) const;
};
template <class T>
using AvPtr = std::unique_ptr<T, AvDeleter>;

/// False where the program was built without FFmpeg's libraries: then pictures are PNG files,
/// and there are no videos.
bool CanWriteVideo();

/// What FFmpeg says of an error number.
std::string AvErrorText(int inError);

/// How a stored picture is turned to be looked at: transposed first, then mirrored.
struct Turn {
    bool mTransposed = false, mMirroredX = false, mMirroredY = false;

    bool IsNone() const { return !mTransposed && !mMirroredX && !mMirroredY; }
};

/// One open video or picture.
///
/// Frames come as a player shows them: turned as the file asks for (by multiples of 90
/// degrees, and mirrored), and widened where the pixels of a video are not square.
///
/// Ownership: plain object, one owner.
/// Threads: one thread at a time.
/// Errors: what cannot be opened, or has no frame that can be decoded, throws `UserError`
///   with the file's name in it. Damage behind the first frame, lost frames, and an end before
///   the one that the file announces, are told by `Trouble`; what can be decoded is given.
class MediaFile {
public:
    explicit MediaFile(const std::string& inFile);

    /// Gives the next frame as BGRA, or returns false behind the last one.
    bool Read(Frame& outFrame);

    double FrameRate() const;
    TimeBase GetTimeBase() const;
    /// The number of frames as far as the file tells; 0 where it does not.
    long long FrameCount() const;
    const AVStream* Sound() const;
    const std::string& Note() const { return mNote; }
    std::string Trouble() const;

private:
    void OpenFormat();
    void OpenDecoder();
    bool Decode();
    bool FeedDecoder();
    void KeepSound();
    void Convert(Frame& outFrame);
    void CopyTurned(const Turn& inTurn, Frame& outFrame) const;
    Turn TurnOfFrame();
    int ShownWidth() const;
    void SetTime(Frame& outFrame);
    void NoteDamage(const std::string& inWhere);
    void NoteGap(std::int64_t inTime, std::int64_t inUsual);
    void CheckEnd(int inError);
    std::string Seconds(std::int64_t inTime) const;
    [[noreturn]] void Fail(const std::string& inWhat, int inError) const;

    std::string mFile;
    std::unique_ptr<PipeInput> mPipe;  // where the file is one
    AvPtr<AVIOContext> mPipeContext;
    AvPtr<AVFormatContext> mFormat;
    AvPtr<AVCodecContext> mCodec;
    AvPtr<AVFrame> mDecoded;
    AvPtr<AVFrame> mConverted;
    AvPtr<AVPacket> mPacket;
    AvPtr<SwsContext> mScaler;
    int mStream = -1, mSoundStream = -1;
    SoundPackets mSound;  // since the last frame
    std::string mNote, mDamage, mEarlyEnd;
    std::string mGap, mJump;  // the first ones
    long long mDamages = 0, mGaps = 0, mMissing = 0, mPackets = 0, mFramesRead = 0;
    std::int64_t mNextTime = 0;  // the end of the last frame
    double mLastPacketEnd = 0.0;
    bool mIsStill = false, mDraining = false;
};

}  // namespace Host
