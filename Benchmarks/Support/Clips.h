// The frames that all benchmarks run on: real clips from a folder, else a rendered one.
//
//     --clips=PATH     a picture, a film, a folder of pictures, or a folder of such folders
//     --size=WxH       may be given often; else 854x480, 1280x720 and 1920x1080
//     --frames=N       frames of a run; 24 without it
//     --brief          one size, four frames: whether it runs at all
//
// Files count in the order of their names. In a folder whose pictures are numbered (0001.jpg,
// frame10.png) these are the frames of one clip; in any other each picture without an
// underscore in its name is a clip of one frame. Everything is scaled to the size asked for.
// A clip that is shorter than the run is played forth and back.

#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Support/Box.h"
#include "image/IPImage.h"

namespace Bench {

using Size = std::pair<int, int>;  // columns, rows

struct Options {
    std::string mClips;
    std::vector<Size> mSizes;
    int mFrames = 24;
};

/// What the command line said.
const Options& TheOptions();

/// Takes the options above, and those of the benchmark library, from the command line. False
/// if something is left over, which has been reported then.
bool ReadOptions(int inCount, char** inArguments);

using Testing::Box;

/// A clip at one size. Row 0 is the top row everywhere.
class Clip {
public:
    Clip(std::string inName, Size inSize) : mName(std::move(inName)), mSize(inSize) {}

    /// Four bytes a pixel (blue, green, red, 255) and one byte more behind the last row.
    using Pixels = std::vector<unsigned char>;

    void Add(Pixels inFrame);

    const std::string& GetName() const { return mName; }
    int GetColumns() const { return mSize.first; }
    int GetRows() const { return mSize.second; }
    std::size_t GetLength() const { return mColour.size(); }

    /// Frames from 0 on without an end. Grey is the library's own conversion of the colours.
    const Pixels& Colour(int inFrame) const { return mColour[At(inFrame)]; }
    const IP::ImagePtr<unsigned char>& Grey(int inFrame) const { return mGrey[At(inFrame)]; }
    const IP::ImagePtr<float>& FloatGrey(int inFrame) const { return mFloats[At(inFrame)]; }

    /// What is to be followed: from the clip's boxes.txt, else the middle ninth, which says
    /// nothing about later frames.
    bool HasTrueBoxes() const { return mBoxes.size() >= mColour.size(); }
    Box GetBox(int inFrame) const;
    void AddBox(const Box& inBox) { mBoxes.push_back(inBox); }

private:
    std::size_t At(int inFrame) const;

    std::string mName;
    Size mSize;
    std::vector<Pixels> mColour;
    std::vector<IP::ImagePtr<unsigned char>> mGrey;
    std::vector<IP::ImagePtr<float>> mFloats;
    std::vector<Box> mBoxes;
};

/// The names of all clips, that is the paths they come from; "rendered" where there is none.
std::vector<std::string> FindClips();

/// Reads a clip. The last one read is kept, so that benchmarks in a row read it once.
const Clip& LoadClip(const std::string& inPath, Size inSize);

/// "FOLDER/clip_cows" -> "clip_cows".
std::string NameOf(const std::string& inPath);

}  // namespace Bench
