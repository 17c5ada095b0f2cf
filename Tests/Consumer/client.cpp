// What a first program of a stranger does with the client layer: a rectangle over two frames.

#include <descriptor/client.h>

#include <cstdio>
#include <vector>

int main() {
    std::vector<unsigned char> pixels;
    for (int i = 0; i < 96 * 64; ++i)
        pixels.push_back(static_cast<unsigned char>((i % 96 / 8 * 53 + i / 768 * 97) % 200));
    descriptor::RegionTracker tracker({.x = 20, .y = 10, .width = 50, .height = 40});
    const descriptor::Frame frame{.pixels = pixels.data(),
                                  .format = descriptor::PixelFormat::grey8,
                                  .width = 96,
                                  .height = 64};
    tracker.advance(frame);
    std::printf("%s\n", to_string(tracker.advance(frame).state));
    bool caught = false;
    try {
        descriptor::PointTracker points({.max_points = 0});
    } catch (const descriptor::ArgumentError& error) {
        caught = error.argument() == "settings.max_points";
    }
    return tracker.result().rect.y == 10 && caught ? 0 : 1;
}
