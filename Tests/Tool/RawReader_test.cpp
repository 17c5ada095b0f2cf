// Raw frames: how bytes become pixels, and how a pipe's pieces become frames.

#include "RawReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <thread>

#include "UserError.h"

namespace {

using Host::Frame;
using Host::RawFormat;
using Host::RawReader;
using Pixels = RawFormat::Pixels;

class RawReaderTest : public testing::Test {
protected:
    ~RawReaderTest() override { std::remove(mPath.c_str()); }

    Frame ReadOne(Pixels inPixels, const std::string& inBytes) const {
        std::ofstream(mPath, std::ios::binary) << inBytes;
        RawReader reader(mPath, {2, 1, inPixels, 25.0}, 0);
        Frame frame;
        EXPECT_TRUE(reader.Read(frame));
        EXPECT_FALSE(reader.Read(frame));
        EXPECT_EQ(reader.Trouble(), "");
        return frame;
    }
    std::string mPath = testing::TempDir() + "raw-reader-" + std::to_string(getpid()) + ".raw";
};

TEST_F(RawReaderTest, EachFormatBecomesBgra) {
    struct Case {
        Pixels mPixels;
        std::string mBytes, mExpected;
    };
    // The byte behind the pixels is the last pixel's blue.
    for (const Case& one : {Case{Pixels::kBgra, "abcdefgh", "abcdefghe"},
                            Case{Pixels::kRgb24, "abcdef",
                                 "cba\xff"
                                 "fed\xff"
                                 "f"},
                            Case{Pixels::kGray8, "ab",
                                 "aaa\xff"
                                 "bbb\xff"
                                 "b"}}) {
        const Frame frame = ReadOne(one.mPixels, one.mBytes);
        EXPECT_EQ(std::string(frame.mPixels.begin(), frame.mPixels.end()), one.mExpected);
        const std::string grey(frame.mGrey.begin(), frame.mGrey.end());
        EXPECT_EQ(grey, one.mPixels == Pixels::kGray8 ? one.mBytes : "");
    }
}

TEST_F(RawReaderTest, FramesThatComeInPiecesAreWhole) {
    ASSERT_EQ(mkfifo(mPath.c_str(), 0600), 0);
    std::jthread feeder([&] {
        std::ofstream pipe(mPath, std::ios::binary);
        for (const char* piece : {"a", "bcd", "e", "fgh", "i"}) {
            pipe << piece << std::flush;
            std::this_thread::yield();
        }
    });
    RawReader reader(mPath, {2, 2, Pixels::kGray8, 25.0}, 0);
    std::string grey;
    Frame frame;
    while (reader.Read(frame))
        grey.append(frame.mGrey.begin(), frame.mGrey.end());
    EXPECT_EQ(grey, "abcdefgh");
    EXPECT_NE(reader.Trouble().find("inside frame 2 (0.080 s): it has 1 of 4 bytes"),
              std::string::npos)
        << reader.Trouble();
}

TEST_F(RawReaderTest, AsManyFramesAsAskedForAreRead) {
    std::ofstream(mPath, std::ios::binary) << "abcdefg";
    RawReader reader(mPath, {1, 1, Pixels::kGray8, 25.0}, 3);
    Frame frame;
    int count = 0;
    while (reader.Read(frame))
        ++count;
    EXPECT_EQ(count, 3);
}

}  // namespace
