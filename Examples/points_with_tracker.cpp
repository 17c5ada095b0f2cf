// Tracked points, one frame after the other. The clip is a rendered pattern that moves by 1.5
// pixels to the right and 0.75 up from frame to frame; the program finds that motion again.

#include <descriptor/client.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kWidth = 240;
constexpr int kHeight = 180;
constexpr float kMotionX = 1.5f;
constexpr float kMotionY = -0.75f;  // positions count y downward

// Waves that cross give corners everywhere, and can be moved by parts of a pixel.
std::vector<float> Render(int inFrame) {
    std::vector<float> pixels;
    for (int row = 0; row < kHeight; ++row)
        for (int column = 0; column < kWidth; ++column) {
            const float x = float(column) - kMotionX * float(inFrame);
            const float y = float(row) - kMotionY * float(inFrame);
            pixels.push_back(128.0f + 60.0f * std::sin(0.31f * x + 2.0f * std::sin(0.05f * y)) *
                                          std::sin(0.27f * y + 2.0f * std::sin(0.07f * x)));
        }
    return pixels;
}

}  // namespace

int main() {
    // Each point is also followed back into the frame before, to see whether it comes home.
    descriptor::PointTracker tracker({.max_points = 300, .round_trip = 0.5});
    bool right = true;
    for (int n = 0; n < 6; ++n) {
        const std::vector<float> pixels = Render(n);
        const auto& points = tracker.advance({.pixels = pixels.data(),
                                              .format = descriptor::PixelFormat::grey_float,
                                              .width = kWidth,
                                              .height = kHeight});
        int carried = 0;
        int astray = 0;
        for (const descriptor::Point& point : points) {
            if (point.age == 0 || !point.came_back) continue;
            ++carried;
            astray += std::hypot(point.dx - kMotionX, point.dy - kMotionY) > 0.1f;
        }
        std::printf("frame %d: %3d points, %3d carried over, %d of them astray\n", n,
                    int(points.size()), carried, astray);
        right = right && (n == 0 ? points.size() > 20 : carried > 20 && astray == 0);
    }
    return right ? 0 : 1;
}
