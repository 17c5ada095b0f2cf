// A rectangle carried through a clip. Docs/Client.md quotes `Track`.

#include <descriptor/client.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kFrames = 20;

// A bright pattern that moves by 2 pixels to the right and 1 down before a dim one that
// stands still; 8-bit grey.
std::vector<unsigned char> Render(int inFrame) {
    std::vector<unsigned char> pixels;
    for (int row = 0; row < kHeight; ++row)
        for (int column = 0; column < kWidth; ++column) {
            const int x = column - 100 - 2 * inFrame;
            const int y = row - 80 - inFrame;
            const bool inside = x >= 0 && y >= 0 && x < 80 && y < 60;
            const float u = float(inside ? x : column) * 0.31f;
            const float v = float(inside ? y : row) * 0.27f;
            const float wave =
                std::sin(u + 2 * std::sin(0.2f * v)) * std::sin(v + 2 * std::sin(0.23f * u));
            pixels.push_back(
                static_cast<unsigned char>(inside ? 170 + 70 * wave : 90 + 40 * wave));
        }
    return pixels;
}

bool ReadFrame(std::vector<unsigned char>& outPixels) {
    static int sFrame = 0;
    if (sFrame == kFrames) return false;
    outPixels = Render(sFrame++);
    return true;
}

// [track]
descriptor::Rect Track(const descriptor::Rect& inStart) {
    descriptor::RegionTracker tracker(inStart);
    std::vector<unsigned char> pixels;
    while (ReadFrame(pixels)) {
        const auto& result = tracker.advance({.pixels = pixels.data(),
                                              .format = descriptor::PixelFormat::grey8,
                                              .width = kWidth,
                                              .height = kHeight});
        std::printf("%5.1f %5.1f %s\n", result.rect.x, result.rect.y, to_string(result.state));
    }
    return tracker.result().rect;
}
// [track]

}  // namespace

int main() {
    const descriptor::Rect last = Track({.x = 100, .y = 80, .width = 80, .height = 60});
    const bool right =
        std::hypot(last.x - 100 - 2 * (kFrames - 1), last.y - 80 - (kFrames - 1)) < 2;
    std::puts(right ? "found" : "lost its way");
    return right ? 0 : 1;
}
