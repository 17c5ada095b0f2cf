// Selection: a foreground cut out of one picture, stroke by stroke.

#pragma once

#include <string>

#include "DP/IGraphCutDescriptor.h"
#include "ImageRequest.h"
#include "RenderedScene.h"

namespace Host {

/// Asks the library for the selection on one picture. The first strokes start the picture,
/// further ones go on from the last cut; each is a request with a key of its own.
///
/// Ownership: the picture must outlive the selection.
/// Threads: one thread at a time, and one selection at a time in the process, since the
///   library keeps the graph of one picture.
/// Errors: what the library throws.
class Selection {
public:
    Selection(const Frame& inPicture, const std::string& inName);

    /// Cuts with these strokes added; earlier ones stay in force.
    void Cut(const Strokes& inStrokes);

    /// Forgets all strokes: the next cut is a first one.
    void StartOver() { mLabels = nullptr; }

    bool IsStarted() const { return mLabels != nullptr; }
    /// 255 where a pixel is selected; empty before the first cut.
    const Mask& Labels() const { return mMask; }
    /// How long the last cut took in the library.
    double Milliseconds() const { return mMilliseconds; }

private:
    const Frame& mPicture;
    quillet::WideString mSource;
    DP::Ref<DP::IDescriptorComputer> mComputer;
    IP::ImagePtr<unsigned char> mLabels;
    Mask mMask;
    double mMilliseconds = 0.0;
    long long mRequests = 0;
};

}  // namespace Host
