// FrameSource: where frames come from.

#pragma once

#include <memory>
#include <string>

#include "Frame.h"

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

    /// Gives the next frame, or returns false behind the last one.
    virtual bool Read(Frame& outFrame) = 0;

    virtual int Width() const = 0;
    virtual int Height() const = 0;
    /// Frames a second, for playback.
    virtual double FrameRate() const = 0;
    /// How many frames there will be; 0 where that is not known.
    virtual long long FrameCount() const = 0;
    /// What the user would call it.
    virtual std::string Name() const = 0;

    /// What was wrong with the end of the input, as one line; empty where nothing was.
    virtual std::string Trouble() const { return {}; }

    /// The clip whose true motion is known; null for a file.
    virtual const RenderedClip* Truth() const { return nullptr; }
};

}  // namespace Host
