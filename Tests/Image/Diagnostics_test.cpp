// The diagnostic writers: every byte of their files, what they report, the planes of a
// packed frame, and the marks that show features.

#include "Image.h"
#include "Support/Images.h"
#include "Support/PictureFile.h"
#include "Support/Test.h"
#include "quillet/Error.h"
#include "quillet/UTF8ToUTF16.h"

namespace {

using namespace Testing;

Bytes Joined(const std::string& inHeader, const Bytes& inPixels) {
    Bytes all(inHeader.begin(), inHeader.end());
    all.insert(all.end(), inPixels.begin(), inPixels.end());
    return all;
}

// ---- Pictures ------------------------------------------------------------------------

using Overlay = CAFU::FeatureOverlay;

const unsigned char kBytes[] = {1, 2, 3, 4};
const unsigned char kRed[] = {1, 2, 3}, kGreen[] = {11, 12, 13}, kBlue[] = {21, 22, 23};
const float kFloats[] = {0.99f, 254.9f,  256.0f, 257.5f, -0.9f,
                         -1.0f, -257.0f, 3e9f,   kNaN,   kInfinity};

// A picture of zeros, 3 by 3 pixels, with a feature of slot `inIndex` at (inX, inY).
void WriteOverlay(const char* inPath, unsigned inIndex, float inX, float inY) {
    const Bytes picture(9, 0);
    Overlay overlay(picture.data(), 3, 3);
    overlay.DrawFeature(inIndex, inX, inY);
    overlay.Write(inPath);
}

struct Picture {
    const char* mName;
    std::function<void(const char* inPath)> mWrite;
    std::string mHeader;
    Bytes mPixels;               // from the last row to the first, red, green, blue
    const char* mContract = "";  // that the writing breaks, with an empty file
};

const Picture kPictures[] = {
    {"grey",
     [](const char* p) { CAFU::WritePPMFileGrey(p, kBytes, 2, 2); },
     "P6\n2 2\n255\n",
     {3, 3, 3, 4, 4, 4, 1, 1, 1, 2, 2, 2}},
    {"rgb",
     [](const char* p) { CAFU::WritePPMFileRGB(p, kRed, kGreen, kBlue, 3, 1); },
     "P6\n3 1\n255\n",
     {1, 11, 21, 2, 12, 22, 3, 13, 23}},
    {"floats are truncated and cut to their low byte",
     [](const char* p) { CAFU::WritePPMFileGrey(p, kFloats, 10, 1); },
     "P6\n10 1\n255\n",
     {0,   0,   0,   254, 254, 254, 0, 0, 0, 1, 1, 1, 0, 0, 0,
      255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"no rows",
     [](const char* p) { CAFU::WritePPMFileGrey(p, kBytes, 3, -2); },
     "P6\n3 -2\n255\n",
     {}},
    {"no columns",
     [](const char* p) { CAFU::WritePPMFileGrey(p, kBytes, 0, 3); },
     "P6\n0 3\n255\n",
     {}},
    {"wide path",
     [](const char* p) {
         IP::WriteImageToPPM(*ImageOf<unsigned char>(2, 1, {8, 9}),
                             quillet::utility::UTF8ToUTF16(p));
     },
     "P6\n2 1\n255\n",
     {8, 8, 8, 9, 9, 9}},
    {"no red",
     [](const char* p) { CAFU::WritePPMFileRGB(p, nullptr, nullptr, nullptr, 2, 1); },
     "",
     {},
     "inRedimg != NULL"},
    {"no green",
     [](const char* p) { CAFU::WritePPMFileRGB(p, kRed, nullptr, nullptr, 2, 1); },
     "",
     {},
     "inGreenimg != NULL"},
    {"no blue",
     [](const char* p) { CAFU::WritePPMFileRGB(p, kRed, kGreen, nullptr, 2, 1); },
     "",
     {},
     "inBlueimg != NULL"},
    {"no floats",
     [](const char* p) { CAFU::WritePPMFileGrey(p, static_cast<const float*>(nullptr), 2, 1); },
     "",
     {},
     "inRedimg != NULL"},
    {"feature of slot 0, rounded up to the corner",
     [](const char* p) { WriteOverlay(p, 0, 1.5f, 1.75f); },
     "P6\n3 3\n255\n",
     {0,  0,  0,   75, 215, 65, 75, 215, 65, 0, 0, 0, 75, 215,
      65, 75, 215, 65, 0,   0,  0,  0,   0,  0, 0, 0, 0}},
    {"feature of slot 2, whose green wraps to 255 and so to 0; cut off at the left",
     [](const char* p) { WriteOverlay(p, 2, -1.0f, 0.49f); },
     "P6\n3 3\n255\n",
     {0,   0, 0, 0, 0,   0, 0,   0,   0, 175, 0, 145, 175, 0,
      145, 0, 0, 0, 175, 0, 145, 175, 0, 145, 0, 0,   0}},
    {"mark on one plane alone",
     [](const char* p) {
         const Bytes picture = {1, 2, 3, 4, 5, 6, 7, 8};
         Overlay overlay(picture.data(), 4, 2);
         overlay.DrawFeature(Overlay::kBlue, 0.0f, 0.0f);
         overlay.Write(p);
     },
     "P6\n4 2\n255\n",
     {5, 5, 255, 6, 6, 255, 7, 7, 7, 8, 8, 8, 1, 1, 255, 2, 2, 255, 3, 3, 3, 4, 4, 4}},
    {"feature that is no number", [](const char* p) { WriteOverlay(p, 0, kNaN, 1.0f); },
     "P6\n3 3\n255\n", Bytes(27, 0)},
    {"feature far out", [](const char* p) { WriteOverlay(p, 0, 1.0f, 1e30f); },
     "P6\n3 3\n255\n", Bytes(27, 0)},
    {"overlay without planes",
     [](const char* p) {
         Overlay overlay(nullptr, -1, 4);
         EXPECT_FALSE(overlay.HasPlanes());
         overlay.DrawFeature(0u, 1.0f, 1.0f);
         overlay.Write(p);
     },
     "",
     {},
     "inRedimg != NULL"},
};

TEST(Pictures, HaveTheseBytesOrBreakThisContract) {
    for (const Picture& picture : kPictures) {
        SCOPED_TRACE(picture.mName);
        const PictureFile file;
        const RecordedReports reports;
        if (*picture.mContract) {
            EXPECT_THROW(picture.mWrite(file.Path()), quillet::config::ReportedError);
            EXPECT_EQ(reports.Broken(),
                      "Src/Image.cpp: " + std::string(picture.mContract) + "\n");
            EXPECT_TRUE(file.Exists());
        } else {
            picture.mWrite(file.Path());
        }
        EXPECT_EQ(file.Content(), Joined(picture.mHeader, picture.mPixels));
    }
}

TEST(Pictures, EachWriterTellsOfAFileItCannotOpenOnceAndUnderItsName) {
    const std::string path =
        (std::filesystem::temp_directory_path() / "no such folder" / "x.ppm").string();
    const RecordedReports reports;
    for (int twice = 0; twice < 2; ++twice) {
        CAFU::WritePPMFileRGB(path.c_str(), kRed, kGreen, kBlue, 1, 1);
        CAFU::WritePPMFileGrey(path.c_str(), kBytes, 1, 1);
        CAFU::WritePPMFileGrey(path.c_str(), kFloats, 1, 1);
    }
    ASSERT_EQ(reports.Asserts().size(), 3u);
    EXPECT_EQ(reports.Asserts()[0].mFunction, "CAFU::WritePPMFileRGB");
    for (const auto& report : reports.Asserts()) {
        EXPECT_EQ(report.mText,
                  "(WritePPMFileRGB) Can't open file named '%s' for writing\n\r\n");
        EXPECT_TRUE(report.mFunction == "CAFU::WritePPMFileRGB" ||
                    report.mFunction == "CAFU::WritePPMFileGrey");
    }
}

// ---- A frame in planes -----------------------------------------------------------------

// Bytes 0, 1, 2 ... over two rows with 3 bytes of padding: each sample says where it is from.
TEST(SplitPackedPixels, TakesBytesZeroTwoAndFourOfEachPixel) {
    const int rows = 2, cols = 3, rowBytes = 15;
    Bytes frame(std::size_t(rows * rowBytes));
    for (std::size_t i = 0; i < frame.size(); ++i)
        frame[i] = static_cast<unsigned char>(i);
    Bytes red(6), green(6), blue(6);
    CAFU::SplitPackedPixels(frame.data(), rows, cols, rowBytes, red.data(), green.data(),
                            blue.data());
    EXPECT_EQ(blue, (Bytes{0, 4, 8, 15, 19, 23}));
    EXPECT_EQ(green, (Bytes{2, 6, 10, 17, 21, 25}));
    EXPECT_EQ(red, (Bytes{4, 8, 12, 19, 23, 27}));
}

// The vector holds exactly the one byte more: an address sanitizer sees a second one.
TEST(SplitPackedPixels, ReadsOneByteBehindTheFrameAndNoMore) {
    Bytes frame(2 * 2 * 4 + 1, 1);
    frame.back() = 99;
    Bytes red(4), green(4), blue(4);
    CAFU::SplitPackedPixels(frame.data(), 2, 2, 8, red.data(), green.data(), blue.data());
    EXPECT_EQ(red, (Bytes{1, 1, 1, 99}));
}

TEST(SplitPackedPixels, WithoutRowsTouchesNothing) {
    CAFU::SplitPackedPixels(nullptr, 0, 5, 20, nullptr, nullptr, nullptr);
    CAFU::SplitPackedPixels(nullptr, -3, 5, 20, nullptr, nullptr, nullptr);
}

}  // namespace
