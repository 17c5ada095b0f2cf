// HeldClip: frames that are held in memory, to be shown in any order.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FrameSource.h"

namespace Host {

/// The frames of a source, as many as 2 GiB have room for, and a source of them once more.
///
/// Ownership: plain object, one owner; the source that it was read from must outlive it.
/// Threads: the frames are read only; `Read` one thread at a time.
class HeldClip final : public FrameSource {
public:
    /// Says on standard error where not all have room.
    explicit HeldClip(FrameSource& ioSource);

    const Frame& At(long long inFrame) const { return *mFrames[std::size_t(inFrame)]; }

    bool Read(Frame& outFrame) override;
    int Width() const override { return mSource.Width(); }
    int Height() const override { return mSource.Height(); }
    double FrameRate() const override { return mSource.FrameRate(); }
    TimeBase GetTimeBase() const override { return mSource.GetTimeBase(); }
    const AVStream* Sound() const override { return mSource.Sound(); }
    long long FrameCount() const override { return (long long)mFrames.size(); }
    std::string Name() const override { return mSource.Name(); }
    std::string Note() const override { return mSource.Note(); }
    std::string Trouble() const override { return mSource.Trouble(); }
    const RenderedClip* Truth() const override { return mSource.Truth(); }

private:
    FrameSource& mSource;
    std::vector<std::unique_ptr<Frame>> mFrames;
    SoundPackets mLastSound;
    std::size_t mNext = 0;
};

}  // namespace Host
