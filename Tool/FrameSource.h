// FrameSource: where frames come from.

#pragma once

#include <memory>
#include <string>

#include "Frame.h"

struct AVStream;

namespace Host {

class RenderedClip;

/// A run of frames of one size.
///
/// Ownership: plain objects, one owner.
/// Threads: one thread at a time.
/// Errors: an input that cannot be read throws `UserError`.
class FrameSource {
public:
    virtual ~FrameSource() = default;

    /// Gives the next frame, or returns false behind the last one; then `outFrame` holds the
    /// rest of the sound and nothing else that counts.
    virtual bool Read(Frame& outFrame) = 0;

    virtual int Width() const = 0;
    virtual int Height() const = 0;
    /// Frames a second on average; each frame has a time of its own.
    virtual double FrameRate() const = 0;
    /// What the times of the frames count.
    virtual TimeBase GetTimeBase() const = 0;
    /// Where the sound of the frames comes from; null where there is none.
    virtual const AVStream* Sound() const { return nullptr; }
    /// How many frames there will be; 0 where that is not known.
    virtual long long FrameCount() const = 0;
    /// What the user would call it.
    virtual std::string Name() const = 0;

    /// What was done to the pictures on the way, as one line; empty for nothing.
    virtual std::string Note() const { return {}; }

    /// What was wrong with the input so far, as one line; empty where nothing was.
    virtual std::string Trouble() const { return {}; }

    /// The clip whose true motion is known; null for a file.
    virtual const RenderedClip* Truth() const { return nullptr; }
};

}  // namespace Host
