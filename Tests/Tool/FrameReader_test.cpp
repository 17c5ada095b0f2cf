// Reading frames, and writing what is read again.

#include "FrameReader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Canvas.h"
#include "Options.h"
#include "UserError.h"
#include "VideoWriter.h"

namespace {

namespace fs = std::filesystem;
using Host::Frame;
using Host::FrameReader;

std::string Numbered(int inNumber) {
    std::ostringstream name;
    name << "f" << inNumber << ".pgm";
    return name.str();
}

class FrameReaderTest : public testing::Test {
protected:
    void SetUp() override {
        const auto* const info = testing::UnitTest::GetInstance()->current_test_info();
        mFolder = fs::path(testing::TempDir()) / (std::string("frame-reader-") + info->name() +
                                                  "-" + std::to_string(getpid()));
        fs::create_directories(mFolder);
    }
    void TearDown() override { fs::remove_all(mFolder); }

    std::string Path(const std::string& inName) const { return (mFolder / inName).string(); }
    void WriteFile(const std::string& inName, const std::string& inBytes) const {
        std::ofstream(Path(inName), std::ios::binary) << inBytes;
    }
    // A PGM whose pixels count up from `inFirst`.
    void WritePgm(const std::string& inName, int inWidth, int inHeight, int inFirst) const {
        std::ostringstream head;
        head << "P5\n" << inWidth << " " << inHeight << "\n255\n";
        std::string bytes = head.str();
        for (int i = 0; i < inWidth * inHeight; ++i)
            bytes += char((inFirst + i) & 0xff);
        WriteFile(inName, bytes);
    }
    std::string Complaint(const std::string& inInput) const {
        try {
            FrameReader reader(inInput, 0);
            Frame frame;
            while (reader.Read(frame)) {
            }
        } catch (const Host::UserError& error) {
            return error.what();
        }
        return "";
    }

    fs::path mFolder;
};

TEST_F(FrameReaderTest, PgmBytesAreTakenAsTheyAre) {
    WritePgm("one.pgm", 23, 11, 0);
    const Frame frame = Host::ReadPicture(Path("one.pgm"));
    ASSERT_EQ(frame.mWidth, 23);
    ASSERT_EQ(frame.mHeight, 11);
    ASSERT_EQ(frame.mGrey.size(), 253u);
    for (int i = 0; i < 253; ++i) {
        EXPECT_EQ(frame.mGrey[std::size_t(i)], i);
        const std::uint8_t* const pixel = frame.mPixels.data() + i * 4;
        EXPECT_TRUE(pixel[0] == i && pixel[1] == i && pixel[2] == i && pixel[3] == 255);
    }
}

TEST_F(FrameReaderTest, PicturesOfAFolderComeInTheOrderOfTheirNumbers) {
    for (const int number : {10, 9, 1, 100})
        WritePgm(Numbered(number), 8, 8, number);
    WriteFile("notes.txt", "no picture");
    for (const std::string& input : {mFolder.string(), Path("f%d.pgm"), Path("f%03d.pgm")}) {
        FrameReader reader(input, 0);
        EXPECT_EQ(reader.FrameCount(), 4);
        Frame frame;
        std::vector<int> order;
        while (reader.Read(frame))
            order.push_back(frame.mGrey[0]);
        EXPECT_EQ(order, (std::vector<int>{1, 9, 10, 100}));
    }
}

TEST_F(FrameReaderTest, AsManyFramesAsAskedForAreRead) {
    for (int number = 0; number < 5; ++number)
        WritePgm(Numbered(number), 8, 8, number);
    FrameReader reader(mFolder.string(), 3);
    EXPECT_EQ(reader.FrameCount(), 3);
    Frame frame;
    int count = 0;
    while (reader.Read(frame))
        ++count;
    EXPECT_EQ(count, 3);
}

TEST_F(FrameReaderTest, AWrittenVideoReadsBackWithAllItsFramesAndColours) {
    {
        Host::VideoWriter writer(Path("v.mp4"), {65, 47, 25.0, {1, 1000}});
        for (int number = 0; number < 9; ++number) {
            Host::Canvas canvas(65, 47);
            canvas.Fill({40.0 + 20.0 * number, 120.0, 60.0});
            writer.Write(canvas, number * 40, 40);
        }
    }  // the file is ended by the destructor too
    FrameReader reader(Path("v.mp4"), 0);
    EXPECT_NEAR(reader.FrameRate(), 25.0, 1e-6);
    EXPECT_EQ(reader.FrameCount(), 9);
    Frame frame;
    int count = 0;
    for (; reader.Read(frame); ++count) {
        const std::uint8_t* const pixel = frame.Pixel(20, 20);
        EXPECT_NEAR(pixel[2], 40 + 20 * count, 6) << "frame " << count;
        EXPECT_NEAR(pixel[1], 120, 6);
        EXPECT_NEAR(pixel[0], 60, 6);
    }
    EXPECT_EQ(count, 9);
}

TEST_F(FrameReaderTest, BadInputIsRefusedInOneLineThatNamesIt) {
    WriteFile("text.png", "this is no picture");
    WriteFile("empty.mp4", "");
    WritePgm("a1.pgm", 8, 8, 0);
    WritePgm("a2.pgm", 8, 9, 0);
    WriteFile("short.pgm", "P5\n64 64\n255\nabc");
    fs::create_directories(mFolder / "none");
    for (const char* input : {"text.png", "empty.mp4", "nosuch.mp4", "short.pgm", "none",
                              "a%d.pgm", "b%d.pgm", "nosuch/f%d.pgm"}) {
        const std::string complaint = Complaint(Path(input));
        EXPECT_FALSE(complaint.empty()) << input;
        EXPECT_EQ(complaint.find('\n'), std::string::npos);
        EXPECT_NE(complaint.find(mFolder.string()), std::string::npos) << complaint;
    }
}

TEST(ParseSize, TakesTwoNumbersAndNothingElse) {
    EXPECT_EQ(Host::ParseSize("640x480").mWidth, 640);
    EXPECT_EQ(Host::ParseSize("640x480").mHeight, 480);
    for (const char* text : {"", "x", "640", "640x", "x480", "0x0", "-5x9", "640x480x2",
                             "99999x20", "640 x 480", "1e3x20"})
        EXPECT_THROW(Host::ParseSize(text), Host::UserError) << text;
}

}  // namespace
