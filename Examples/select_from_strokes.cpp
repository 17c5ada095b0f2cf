// A foreground selection as a user draws it: two strokes on a picture of two discs select the
// large one, a further stroke, which goes on from the first cut, adds the small one, and undo
// takes it away again.

#include <descriptor/client.h>

#include <cstdio>
#include <vector>

namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 64;

bool InDisc(int inX, int inY, int inCentreX, int inRadius) {
    const int x = inX - inCentreX;
    const int y = inY - kHeight / 2;
    return x * x + y * y < inRadius * inRadius;
}
bool InLarge(int inX, int inY) { return InDisc(inX, inY, 32, 20); }
bool InEither(int inX, int inY) { return InLarge(inX, inY) || InDisc(inX, inY, 76, 11); }

// 8-bit BGRA.
std::vector<unsigned char> Render() {
    std::vector<unsigned char> pixels;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const bool disc = InEither(x, y);
            const int grain = (x * 7 + y * 13) % 11;
            for (const int value : {disc ? 40 : 120, disc ? 90 : 110, disc ? 210 : 60, 245})
                pixels.push_back(static_cast<unsigned char>(value + grain));
        }
    return pixels;
}

// Prints the selection and how many pixels of it are not as they should be.
bool IsRight(const char* inTitle, const descriptor::Frame& inMask,
             bool (*inExpected)(int, int)) {
    int wrong = 0;
    std::puts(inTitle);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const bool selected = inMask.row(y)[x] != 0;
            wrong += selected != inExpected(x, y);
            if (y % 4 == 0 && x % 2 == 0) std::putchar(selected ? '#' : '.');
            if (y % 4 == 0 && x == kWidth - 1) std::putchar('\n');
        }
    std::printf("%d of %d pixels are wrong\n", wrong, kWidth * kHeight);
    return wrong == 0;
}

}  // namespace

int main() {
    const std::vector<unsigned char> pixels = Render();
    descriptor::Selection selection(
        {.pixels = pixels.data(), .width = kWidth, .height = kHeight});

    selection.add(
        {{.path = {{24, 32}, {40, 32}}, .radius = 1},
         {.path = {{8, 4}, {88, 4}}, .radius = 1, .label = descriptor::Label::background}});
    bool right = IsRight("A stroke inside and one above:", selection.mask(), InLarge);

    selection.add({{.path = {{70, 32}, {82, 32}}, .radius = 1}});
    right = IsRight("And one in the small disc:", selection.mask(), InEither) && right;

    selection.undo();
    right = IsRight("Undone:", selection.mask(), InLarge) && right;
    return right ? 0 : 1;
}
