// RawReader: bare pixels from a pipe or a file, frame after frame.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "FrameSource.h"
#include "PipeInput.h"

namespace Host {

/// What the bytes of a raw input mean. Rows lie one behind the other without padding.
struct RawFormat {
    enum class Pixels { kBgra, kRgb24, kGray8 };

    int mWidth = 0;
    int mHeight = 0;
    Pixels mPixels = Pixels::kBgra;
    double mFrameRate = 25.0;

    int BytesPerPixel() const;
    std::size_t FrameBytes() const;
};

/// @throws UserError for anything but `bgra`, `rgb24` and `gray8`.
RawFormat::Pixels ParsePixels(const std::string& inText);

/// Reads frames as `ffmpeg -f rawvideo` writes them.
///
/// Ownership: plain object, one owner.
/// Threads: one thread at a time.
/// Errors: an input that cannot be opened or read, or ends before a first frame, throws
///   `UserError`. One that ends inside a later frame ends the run there, and `Trouble`
///   says so: what was computed of the frames before stays.
class RawReader final : public FrameSource {
public:
    /// @param inInput  a file or a named pipe; `-` is standard input.
    /// @param inMaxFrames  stops after so many frames; 0 reads all.
    RawReader(const std::string& inInput, const RawFormat& inFormat, long long inMaxFrames);

    /// Also returns false when the user asked to stop while the pipe was silent.
    bool Read(Frame& outFrame) override;
    int Width() const override { return mFormat.mWidth; }
    int Height() const override { return mFormat.mHeight; }
    double FrameRate() const override { return mFormat.mFrameRate; }
    TimeBase GetTimeBase() const override { return mTimeBase; }
    long long FrameCount() const override { return mMaxFrames; }
    std::string Name() const override { return mInput.Name(); }
    std::string Trouble() const override { return mTrouble; }

private:
    std::size_t FillBytes();
    void Convert(Frame& outFrame) const;
    void NoteShortFrame(std::size_t inBytes);

    PipeInput mInput;
    RawFormat mFormat;
    long long mMaxFrames;
    long long mFramesRead = 0;
    TimeBase mTimeBase;
    std::vector<std::uint8_t> mBytes;
    std::string mTrouble;
};

}  // namespace Host
