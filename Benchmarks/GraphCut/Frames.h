// A frame of a clip as the benchmarks of the graph cut take it.

#pragma once

#include <string>
#include <vector>

#include "Benchmarks/Support/Clips.h"

namespace Bench {

using ByteImage = IP::ImagePtr<unsigned char>;

/// Four bytes a pixel and one more, with strokes: a dab in the middle is foreground, a rim
/// along the sides background.
struct Frame {
    explicit Frame(const Clip& inClip);

    unsigned int RowBytes() const { return static_cast<unsigned int>(mColumns) * 4; }

    std::string mName;
    int mColumns = 0;
    int mRows = 0;
    const std::vector<unsigned char>& mPixels;
    ByteImage mForeground;
    ByteImage mBackground;
};

}  // namespace Bench
