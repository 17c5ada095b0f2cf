#include "Client/ClientFrames.h"
#include "DP/DescriptorFactory.h"
#include "Support/GuardedMemory.h"
#include "Support/Test.h"
#include "descriptor/Caches.h"
#include "descriptor/GreyFrames.h"
#include "descriptor/PointTracker.h"
#include "descriptor/Selection.h"

namespace {

using namespace descriptor;
using namespace Testing;

constexpr int kWidth = 37;
constexpr int kHeight = 23;

struct Colour {
    unsigned char mBlue, mGreen, mRed;
};
Colour ColourAt(int inX, int inY) {
    const auto byte = [](int inValue) {
        return static_cast<unsigned char>(inValue % 256);
    };
    return {byte(inX * 7 + inY), byte(inX + inY * 11), byte(255 - inX * 3 + inY)};
}

void Put(PixelFormat inFormat, Colour inColour, unsigned char* outPixel) {
    switch (inFormat) {
        case PixelFormat::bgra:
            outPixel[3] = 1;
            [[fallthrough]];
        case PixelFormat::bgr:
            outPixel[0] = inColour.mBlue, outPixel[1] = inColour.mGreen,
            outPixel[2] = inColour.mRed;
            break;
        case PixelFormat::rgba:
            outPixel[3] = 1;
            [[fallthrough]];
        case PixelFormat::rgb:
            outPixel[0] = inColour.mRed, outPixel[1] = inColour.mGreen,
            outPixel[2] = inColour.mBlue;
            break;
        case PixelFormat::grey8:
            *outPixel = inColour.mGreen;
            break;
        case PixelFormat::grey_float: {
            const auto value = float(inColour.mGreen);
            std::memcpy(outPixel, &value, sizeof value);
        }
    }
}

// The same picture in a format, with a gap of `inGap` bytes between rows; the last row has
// none, so that it ends at the guard.
struct Sample {
    Sample(PixelFormat inFormat, int inGap, bool inUpsideDown)
        : mRow(kWidth * bytes_per_pixel(inFormat)),
          mMemory(std::size_t((mRow + inGap) * (kHeight - 1) + mRow)) {
        const int stride = mRow + inGap;
        for (int y = 0; y < kHeight; ++y) {
            unsigned char* const row =
                mMemory.begin() + (inUpsideDown ? kHeight - 1 - y : y) * stride;
            for (int x = 0; x < kWidth; ++x)
                Put(inFormat, ColourAt(x, y), row + x * bytes_per_pixel(inFormat));
        }
        mFrame = {.pixels = mMemory.begin() + (inUpsideDown ? (kHeight - 1) * stride : 0),
                  .format = inFormat,
                  .width = kWidth,
                  .height = kHeight,
                  .stride = inUpsideDown ? -stride : stride};
    }
    int mRow;
    Testing::GuardedMemory mMemory;
    Frame mFrame;
};

class EveryLayout : public testing::TestWithParam<std::tuple<PixelFormat, int, bool>> {};
INSTANTIATE_TEST_SUITE_P(Frames, EveryLayout,
                         testing::Combine(testing::Values(PixelFormat::bgra, PixelFormat::rgba,
                                                          PixelFormat::bgr, PixelFormat::rgb,
                                                          PixelFormat::grey8,
                                                          PixelFormat::grey_float),
                                          testing::Values(0, 1, 7), testing::Bool()));

TEST_P(EveryLayout, GivesTheSameGreyAndReadsNoByteTooMany) {
    const auto [format, gap, isUpsideDown] = GetParam();
    const Sample sample(format, gap, isUpsideDown);
    const GreyFrames grey;
    const Frame bytes = grey.grey8(sample.mFrame);
    const Frame floats = grey.grey_float(sample.mFrame);
    const bool isGrey = format == PixelFormat::grey8 || format == PixelFormat::grey_float;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const Colour colour = ColourAt(x, y);
            const int luma =
                (3735 * colour.mBlue + 19235 * colour.mGreen + 9798 * colour.mRed + 16384) >>
                15;
            const auto value = reinterpret_cast<const float*>(floats.row(y))[x];
            ASSERT_EQ(bytes.row(y)[x], isGrey ? colour.mGreen : luma) << x << " " << y;
            ASSERT_EQ(value,
                      isGrey ? float(colour.mGreen)
                             : (0.114f * float(colour.mBlue) + 0.587f * float(colour.mGreen)) +
                                   0.299f * float(colour.mRed));
        }
}

TEST_P(EveryLayout, IsSelectedInTheSameWay) {
    const auto [format, gap, isUpsideDown] = GetParam();
    const bool isGrey = format == PixelFormat::grey8 || format == PixelFormat::grey_float;
    const auto maskOf = [](const Frame& inFrame) {
        Selection selection(inFrame);
        selection.add({{.path = {{5, 5}, {12, 9}}, .radius = 2},
                       {.path = {{30, 2}, {30, 20}}, .radius = 2, .label = Label::background}});
        const Frame mask = selection.mask();
        return std::vector<unsigned char>(mask.row(0), mask.row(kHeight));
    };
    const Sample sample(format, gap, isUpsideDown);
    const Sample plain(isGrey ? PixelFormat::grey8 : PixelFormat::bgra, 0, false);
    EXPECT_EQ(maskOf(sample.mFrame), maskOf(plain.mFrame));
}

TEST(Frames, AreKeptForANamedSourceAloneAndOnlyByNumber) {
    clear_caches();
    const Sample sample(PixelFormat::bgra, 0, false);
    const auto ask = [&](const GreyFrames& inGrey, std::optional<std::int64_t> inNumber) {
        Frame frame = sample.mFrame;
        frame.number = inNumber;
        return inGrey.grey8(frame).pixels;
    };
    const GreyFrames clip(Source("clip"));
    const GreyFrames other;
    const std::uint64_t hits = cache_figures().hits;
    const void* const first = ask(clip, 3);
    EXPECT_EQ(ask(GreyFrames(Source("clip")), 3), first);
    EXPECT_NE(ask(clip, 4), first);
    EXPECT_EQ(cache_figures(Kind::grey).hits, 1u);
    ask(clip, {});
    ask(clip, {});
    ask(other, 3);
    ask(other, 3);
    EXPECT_EQ(cache_figures().hits, hits + 1);
    EXPECT_EQ(cache_figures(Kind::grey).bytes, std::uint64_t{2 * kWidth * kHeight});
}

void ExpectRefused(Frame inFrame, const std::string& inText) {
    try {
        GreyFrames().grey8(inFrame);
        ADD_FAILURE() << inText;
    } catch (const ArgumentError& error) {
        EXPECT_EQ(error.what(), inText);
        EXPECT_EQ(inText.find(error.argument() + ": "), 0u);
    }
}

TEST(Frames, ThatCannotBeAreRefusedByName) {
    const Sample sample(PixelFormat::rgb, 0, false);
    const auto with = [&](auto inChange) {
        Frame frame = sample.mFrame;
        inChange(frame);
        return frame;
    };
    ExpectRefused({}, "frame.pixels: there are none");
    ExpectRefused(with([](Frame& f) { f.width = 0; }), "frame.width: 0 is not in 1 to 65535");
    ExpectRefused(with([](Frame& f) { f.height = 65536; }),
                  "frame.height: 65536 is not in 1 to 65535");
    ExpectRefused(with([](Frame& f) { f.stride = -110; }),
                  "frame.stride: -110 is less than a row, 111 bytes");
    ExpectRefused(with([](Frame& f) { f.format = static_cast<PixelFormat>(6); }),
                  "frame.format: there is no such");
    std::vector<float> values(6, 1.0f);
    values[4] = std::numeric_limits<float>::quiet_NaN();
    ExpectRefused(FrameOf(values, 3, 2),
                  "frame.pixels: the value at (1, 1) is not a finite number");
}

}  // namespace
