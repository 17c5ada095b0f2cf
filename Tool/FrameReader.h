// FrameReader: frames from a video file, a picture, a folder of pictures or a pattern.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FrameSource.h"

namespace Host {

class MediaFile;

/// The files that an input names: itself, the pictures of a folder, or those of a pattern.
/// @throws UserError if there are none.
std::vector<std::string> FindFiles(const std::string& inInput);

/// Reads what FFmpeg's libraries can read. Pictures of a folder or a pattern are taken in
/// the order of the numbers in their names; each must have the size of the first.
///
/// Ownership: plain object, one owner.
/// Threads: one thread at a time.
/// Errors: what cannot be opened, is empty, has no frame that can be decoded or changes its
///   size throws `UserError` with the file's name in it; `Trouble` tells of damage behind
///   the first frame and of an early end.
class FrameReader final : public FrameSource {
public:
    /// @param inInput  a file; a folder; or a path with one `%d` or `%04d` in its name.
    /// @param inMaxFrames  stops after so many frames; 0 reads all.
    FrameReader(const std::string& inInput, long long inMaxFrames);
    ~FrameReader() override;

    bool Read(Frame& outFrame) override;
    int Width() const override { return mFirst.mWidth; }
    int Height() const override { return mFirst.mHeight; }
    double FrameRate() const override { return mFrameRate; }
    TimeBase GetTimeBase() const override { return mTimeBase; }
    const AVStream* Sound() const override;
    long long FrameCount() const override;
    std::string Note() const override;
    std::string Trouble() const override;
    std::string Name() const override { return mName; }

private:
    bool ReadFromFiles(Frame& outFrame);

    std::string mName;
    std::vector<std::string> mFiles;
    std::size_t mNextFile = 0;
    std::unique_ptr<MediaFile> mFile;
    Frame mFirst;  // decoded when the reader is made, so that its size is known
    bool mFirstGiven = false;
    double mFrameRate = 25.0;
    TimeBase mTimeBase;
    std::string mTrouble;
    long long mFrameCount = 0;
    long long mMaxFrames = 0;
    long long mFramesRead = 0;
};

/// Reads one picture.
Frame ReadPicture(const std::string& inFile);

}  // namespace Host
