// The runs of test_same_bits.py, made in C++: same_bits FRAMES OUTPUT_FOLDER.
//
// FRAMES has "width height count" in a line and then BGR frames. Each run writes the bytes of
// its results, column by column, into a file of its name.

#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "descriptor/client.h"

namespace {

using namespace descriptor;

struct Clip {
    int mWidth = 0, mHeight = 0, mCount = 0;
    std::vector<unsigned char> mPixels;

    Frame at(int inNumber) const {
        const std::size_t size = std::size_t(mWidth) * std::size_t(mHeight) * 3;
        return {.pixels = mPixels.data() + std::size_t(inNumber) * size,
                .format = PixelFormat::bgr,
                .width = mWidth,
                .height = mHeight,
                .time = inNumber / 8.0};
    }
};

Clip read_clip(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    Clip clip;
    std::string line;
    std::getline(file, line);
    std::istringstream(line) >> clip.mWidth >> clip.mHeight >> clip.mCount;
    clip.mPixels.assign(std::istreambuf_iterator<char>(file), {});
    return clip;
}

class Bytes {
public:
    template <class T>
    void add(const T& inValue) {
        mBytes.append(reinterpret_cast<const char*>(&inValue), sizeof inValue);
    }
    void add(const std::vector<Point>& inPoints) {
        const auto column = [&](auto Point::*inColumn) {
            for (const Point& point : inPoints)
                add(point.*inColumn);
        };
        column(&Point::id);
        column(&Point::slot);
        column(&Point::status);
        column(&Point::x);
        column(&Point::y);
        column(&Point::dx);
        column(&Point::dy);
        column(&Point::age);
        column(&Point::score);
        column(&Point::round_trip);
        column(&Point::came_back);
    }
    void add(const RegionResult& inResult) {
        for (const double side :
             {inResult.rect.x, inResult.rect.y, inResult.rect.width, inResult.rect.height})
            add(side);
        add(inResult.state);
        add(inResult.lost_since.value_or(-1));
        add(inResult.points);
    }
    void add_pixels(const Frame& inFrame) {
        mBytes.append(reinterpret_cast<const char*>(inFrame.pixels),
                      std::size_t(inFrame.height) * std::size_t(inFrame.row_bytes()));
    }
    void write(const std::string& inPath) const {
        std::ofstream(inPath, std::ios::binary) << mBytes;
    }

private:
    std::string mBytes;
};

void points(const Clip& inClip, const PointSettings& inSettings, Bytes& outBytes) {
    PointTracker tracker(inSettings);
    for (int n = 0; n < inClip.mCount; ++n) {
        const FramePoints frame = tracker.advance(inClip.at(n));
        outBytes.add(frame.live);
        outBytes.add(frame.lost);
        outBytes.add(frame.frame);
        outBytes.add(frame.time.value_or(-1.0));
        outBytes.add(frame.is_repeated);
        outBytes.add(frame.is_cut);
    }
}

const Rect kStart{60, 50, 70, 60};

void region(const Clip& inClip, Bytes& outBytes) {
    RegionTracker tracker(kStart, {.max_points = 200, .hold_frames = 0});
    for (int n = 0; n < inClip.mCount; ++n)
        outBytes.add(tracker.advance(inClip.at(n)));
    outBytes.add(tracker.correct({20.5, 30.25, 80, 70}));
    outBytes.add(tracker.advance(inClip.at(0)));
}

void between(const Clip& inClip, Bytes& outBytes) {
    const std::vector<KeyFrame> keys{{0, kStart}, {3, {66, 53, 70, 60}}, {5, {70, 55, 70, 60}}};
    for (const RegionResult& result :
         track_between([&](std::int64_t inNumber) { return inClip.at(int(inNumber)); }, keys))
        outBytes.add(result);
}

void selection(const Clip& inClip, Bytes& outBytes) {
    Selection selection(inClip.at(0));
    selection.add({{.path = {{60.5, 50}, {90, 70.25}}, .radius = 6},
                   {.path = {{5, 5}, {200, 5}}, .radius = 4.5, .label = Label::background}});
    outBytes.add_pixels(selection.mask());
    selection.add({.path = {{120, 100}}, .radius = 9});
    outBytes.add_pixels(selection.mask());
    selection.undo();
    selection.add({.path = {{100, 40}}, .radius = 3, .label = Label::background});
    outBytes.add_pixels(selection.mask());
    for (const Polyline& line : selection.outline())
        for (const Position& place : line)
            outBytes.add(place);
}

void grey(const Clip& inClip, Bytes& outBytes) {
    const GreyFrames greys;
    for (int n = 0; n < inClip.mCount; ++n) {
        outBytes.add_pixels(greys.grey8(inClip.at(n)));
        outBytes.add_pixels(greys.grey_float(inClip.at(n)));
    }
}

}  // namespace

int main(int inCount, char** inArguments) {
    if (inCount != 3) return 2;
    const Clip clip = read_clip(inArguments[1]);
    const auto run = [&](const char* inName, const std::function<void(Bytes&)>& inRun) {
        Bytes bytes;
        inRun(bytes);
        bytes.write(std::string(inArguments[2]) + "/" + inName);
    };
    const auto pointRun = [&](const char* inName, const PointSettings& inSettings) {
        run(inName, [&](Bytes& outBytes) { points(clip, inSettings, outBytes); });
    };
    pointRun("apt", {});
    pointRun("apt verified", {.max_points = 60,
                              .min_points = 10,
                              .min_distance = 5,
                              .stationary_limit = 0.5f,
                              .verify = true,
                              .round_trip = 0.25});
    pointRun("klt", {.engine = Engine::klt, .max_points = 90, .round_trip = 0.5});
    run("region", [&](Bytes& outBytes) { region(clip, outBytes); });
    run("between", [&](Bytes& outBytes) { between(clip, outBytes); });
    run("selection", [&](Bytes& outBytes) { selection(clip, outBytes); });
    run("grey", [&](Bytes& outBytes) { grey(clip, outBytes); });
    return 0;
}
