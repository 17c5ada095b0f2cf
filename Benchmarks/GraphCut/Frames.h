// The frames that the benchmarks of the graph cut run on, and what they measure with.

#pragma once

#include <map>
#include <string>
#include <vector>

#include "image/IPImage.h"

namespace Bench {

using ByteImage = IP::ImagePtr<unsigned char>;

/// Four bytes a pixel and one more, with strokes: a dab in the middle is foreground, a rim
/// along the sides background.
struct Frame {
    std::string mName;
    int mColumns = 0;
    int mRows = 0;
    std::vector<unsigned char> mPixels;
    ByteImage mForeground;
    ByteImage mBackground;

    unsigned int RowBytes() const { return static_cast<unsigned int>(mColumns) * 4; }
};

/// The pictures at the paths, each scaled to the size; without paths (or without OpenCV to
/// read them) the rendered scene of the tests.
std::vector<Frame> LoadFrames(const std::vector<std::string>& inPaths, int inColumns,
                              int inRows);

/// Times of the thread by name, in milliseconds: what others do on the machine is not
/// counted. Things to be compared are measured in turns, and what is reported of each is
/// the median.
class Times {
public:
    template <class Run>
    double Measure(const std::string& inName, Run inRun) {
        const double start = ThreadTime();
        inRun();
        const double time = ThreadTime() - start;
        mTimes[inName].push_back(time);
        return time;
    }
    double Median(const std::string& inName) const;
    const std::map<std::string, std::vector<double>>& All() const { return mTimes; }

private:
    static double ThreadTime();

    std::map<std::string, std::vector<double>> mTimes;
};

}  // namespace Bench
