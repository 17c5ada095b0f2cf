// The shortest whole program: the grey image of one frame, asked for twice.

#include <descriptor/client.h>

#include <cstdio>

int main() {
    // Four pixels in a row, red, green and blue of each: blue, green, red, white.
    const unsigned char pixels[] = {0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255};
    const descriptor::Frame frame{.pixels = pixels,
                                  .format = descriptor::PixelFormat::rgb,
                                  .width = 4,
                                  .height = 1,
                                  .number = 0};

    // Numbered frames of a named source are computed once and kept.
    const descriptor::GreyFrames frames(descriptor::Source("four pixels"));
    const unsigned char* const grey = frames.grey8(frame).row(0);
    std::printf("blue %d, green %d, red %d, white %d\n", grey[0], grey[1], grey[2], grey[3]);

    const bool shared = frames.grey8(frame).row(0) == grey;
    std::printf("asked again: %s\n", shared ? "the same image" : "another image");
    const bool right = grey[0] == 29 && grey[1] == 150 && grey[2] == 76 && grey[3] == 255;
    return right && shared ? 0 : 1;
}
