// A run of frames that is made again costs nothing: its results are in the cache.
//
// The clip is a rendered pattern that moves by 2 pixels to the right and 1 down from frame to
// frame, tracked by the KLT engine.

#include <descriptor/client.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kWidth = 240;
constexpr int kHeight = 180;

// Squares of many shades, one in each field of 16 by 16 pixels.
std::vector<unsigned char> Render(int inFrame) {
    std::vector<unsigned char> pixels;
    for (int row = 0; row < kHeight; ++row)
        for (int column = 0; column < kWidth; ++column) {
            const int x = column - 2 * inFrame + 160;
            const int y = row - inFrame + 160;
            const int shade = 70 + (x / 16 * 53 + y / 16 * 97) % 180;
            pixels.push_back(
                static_cast<unsigned char>(x % 16 >= 5 && y % 16 >= 5 ? shade : 20));
        }
    return pixels;
}

// Whether all points moved as the pattern does.
bool Run() {
    // A source with a name says: frame 3 of it is frame 3 of it, whoever asks.
    descriptor::PointTracker tracker(
        {.engine = descriptor::Engine::klt, .max_points = 60, .min_points = 40},
        descriptor::Source("moving squares"));
    bool right = true;
    for (int n = 0; n < 6; ++n) {
        const std::vector<unsigned char> pixels = Render(n);
        int carried = 0;
        for (const descriptor::Point& point : tracker.advance({.pixels = pixels.data(),
                                              .format = descriptor::PixelFormat::grey8,
                                              .width = kWidth,
                                              .height = kHeight,
                                              .number = n})) {
            if (point.age == 0) continue;
            ++carried;
            right = right && std::hypot(point.dx - 2, point.dy - 1) < 0.1f;
        }
        right = right && (n == 0 || carried >= 30);
    }
    return right;
}

}  // namespace

int main() {
    const bool right = Run() && Run();
    const auto figures = descriptor::cache_figures(descriptor::Kind::klt_points);
    std::printf("%d results computed, %d from the cache, which holds %d bytes\n",
                int(figures.misses), int(figures.hits), int(figures.bytes));
    return right && figures.misses == 6 && figures.hits == 6 ? 0 : 1;
}
