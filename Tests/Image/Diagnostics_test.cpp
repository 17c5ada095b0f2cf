// The diagnostic writers: every byte of their files, what they report, the planes of a
// packed frame, and the marks that show features.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "Image.h"
#include "Support/Images.h"
#include "Support/Reports.h"
#include "Support/Textures.h"
#include "Support/WideStrings.h"
#include "quillet/Error.h"

namespace {

using Bytes = std::vector<unsigned char>;

// A path of the test's own; the file is gone afterwards.
class TemporaryFile {
public:
    TemporaryFile() {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        mPath = (std::filesystem::temp_directory_path() /
                 (std::string("dp_diagnostics_") + test->name() + ".ppm"))
                    .string();
        std::filesystem::remove(mPath);
    }
    ~TemporaryFile() { std::filesystem::remove(mPath); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const char* Path() const { return mPath.c_str(); }
    bool Exists() const { return std::filesystem::exists(mPath); }
    Bytes Content() const {
        std::ifstream stream(mPath, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

private:
    std::string mPath;
};

Bytes Joined(const std::string& inHeader, const Bytes& inPixels) {
    Bytes all(inHeader.begin(), inHeader.end());
    all.insert(all.end(), inPixels.begin(), inPixels.end());
    return all;
}

// ---- Files -----------------------------------------------------------------------------

TEST(PPMFiles, GreyGoesThreeTimesAndFromTheLastRowToTheFirst) {
    const TemporaryFile file;
    const unsigned char pixels[] = {1, 2, 3, 4};
    CAFU::WritePPMFileGrey(file.Path(), pixels, 2, 2);
    EXPECT_EQ(file.Content(), Joined("P6\n2 2\n255\n", {3, 3, 3, 4, 4, 4, 1, 1, 1, 2, 2, 2}));
}

TEST(PPMFiles, RGBTakesOneBytePerPlane) {
    const TemporaryFile file;
    const unsigned char red[] = {1, 2, 3}, green[] = {11, 12, 13}, blue[] = {21, 22, 23};
    CAFU::WritePPMFileRGB(file.Path(), red, green, blue, 3, 1);
    EXPECT_EQ(file.Content(), Joined("P6\n3 1\n255\n", {1, 11, 21, 2, 12, 22, 3, 13, 23}));
}

TEST(PPMFiles, FloatsAreTruncatedAndCutToTheirLowByte) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> values = {0.0f,   0.99f,         254.9f, 255.0f,   256.0f,
                                       257.5f, -0.9f,         -1.0f,  -255.0f,  -257.0f,
                                       3e9f,   -2147483648.f, nan,    infinity, -infinity};
    const Bytes expected = {0, 0, 254, 255, 0, 1, 0, 255, 1, 255, 0, 0, 0, 0, 0};
    const TemporaryFile file;
    CAFU::WritePPMFileGrey(file.Path(), values.data(), static_cast<int>(values.size()), 1);

    Bytes tripled;
    for (const unsigned char byte : expected)
        tripled.insert(tripled.end(), 3, byte);
    EXPECT_EQ(file.Content(), Joined("P6\n15 1\n255\n", tripled));
}

TEST(PPMFiles, AHeaderStatesColumnsBeforeRows) {
    const TemporaryFile file;
    const Bytes pixels = Testing::NoiseBytes(640 * 480, 3);
    CAFU::WritePPMFileGrey(file.Path(), pixels.data(), 640, 480);
    const Bytes content = file.Content();
    const std::string header = "P6\n640 480\n255\n";
    ASSERT_EQ(content.size(), header.size() + 3 * pixels.size());
    EXPECT_EQ(std::string(content.begin(), content.begin() + std::ptrdiff_t(header.size())),
              header);
    EXPECT_EQ(content.back(), pixels[639]) << "the file ends with the first row's last pixel";
}

TEST(PPMFiles, WithoutRowsOrColumnsThereIsOnlyAHeader) {
    const unsigned char pixel = 7;
    for (const auto& [cols, rows] : {std::pair{3, 0}, {3, -2}, {0, 3}, {-1, 3}}) {
        const TemporaryFile file;
        CAFU::WritePPMFileGrey(file.Path(), &pixel, cols, rows);
        const std::string size = std::to_string(cols) + " " + std::to_string(rows);
        EXPECT_EQ(file.Content(), Joined("P6\n" + size + "\n255\n", {}));
    }
}

TEST(PPMFiles, AnImageGoesToAWidePath) {
    const TemporaryFile file;
    const auto image = Testing::ImageOf<unsigned char>(2, 1, {8, 9});
    IP::WriteImageToPPM(*image, Testing::Wide(file.Path()));
    EXPECT_EQ(file.Content(), Joined("P6\n2 1\n255\n", {8, 8, 8, 9, 9, 9}));
}

// ---- What goes wrong -------------------------------------------------------------------

TEST(PPMReports, ANullPlaneBreaksTheContractAndLeavesAnEmptyFile) {
    const unsigned char plane[] = {1, 2};
    const char* const conditions[] = {"inRedimg != NULL", "inGreenimg != NULL",
                                      "inBlueimg != NULL"};
    for (int missing = 0; missing < 3; ++missing) {
        SCOPED_TRACE(conditions[missing]);
        const TemporaryFile file;
        const Testing::RecordedReports reports;
        // The planes behind a missing one are missing too: the first is the one reported.
        EXPECT_THROW(CAFU::WritePPMFileRGB(file.Path(), missing > 0 ? plane : nullptr,
                                           missing > 1 ? plane : nullptr, nullptr, 2, 1),
                     quillet::config::ReportedError);
        ASSERT_EQ(reports.Contracts().size(), 1u);
        EXPECT_EQ(reports.Contracts()[0].mText, conditions[missing]);
        EXPECT_EQ(reports.Contracts()[0].mFile, "Src/Image.cpp");
        EXPECT_TRUE(file.Exists());
        EXPECT_EQ(file.Content(), Bytes{});
    }
    const TemporaryFile file;
    EXPECT_THROW(CAFU::WritePPMFileGrey(file.Path(), static_cast<const float*>(nullptr), 2, 1),
                 quillet::config::ReportedError);
}

TEST(PPMReports, EachWriterTellsOfAFileItCannotOpenOnceAndUnderItsName) {
    const std::string path =
        (std::filesystem::temp_directory_path() / "no such folder" / "x.ppm").string();
    const unsigned char bytes[] = {1};
    const float floats[] = {1.0f};
    const std::pair<const char*, std::function<void()>> writers[] = {
        {"CAFU::WritePPMFileRGB",
         [&] {
             CAFU::WritePPMFileRGB(path.c_str(), bytes, bytes, bytes, 1, 1);
         }},
        {"CAFU::WritePPMFileGrey",
         [&] {
             CAFU::WritePPMFileGrey(path.c_str(), bytes, 1, 1);
         }},
        {"CAFU::WritePPMFileGrey",
         [&] {
             CAFU::WritePPMFileGrey(path.c_str(), floats, 1, 1);
         }},
    };
    const Testing::RecordedReports reports;
    std::size_t count = 0;
    for (const auto& [name, write] : writers) {
        write();
        write();
        ASSERT_EQ(reports.Asserts().size(), ++count);
        EXPECT_EQ(reports.Asserts().back().mFunction, name);
        EXPECT_EQ(reports.Asserts().back().mText,
                  "(WritePPMFileRGB) Can't open file named '%s' for writing\n\r\n");
    }
    EXPECT_FALSE(std::filesystem::exists(path));
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

// ---- Overlays --------------------------------------------------------------------------

using Overlay = CAFU::FeatureOverlay;

unsigned char At(const Overlay& inOverlay, Overlay::Plane inPlane, int inX, int inY,
                 int inCols) {
    return inOverlay.GetPlane(inPlane)[inY * inCols + inX];
}

TEST(FeatureOverlay, StartsAsThePictureInAllPlanes) {
    const Bytes picture = Testing::NoiseBytes(7 * 5, 1);
    const Overlay overlay(picture.data(), 7, 5);
    ASSERT_TRUE(overlay.HasPlanes());
    for (const auto plane : {Overlay::kRed, Overlay::kGreen, Overlay::kBlue})
        EXPECT_EQ(Bytes(overlay.GetPlane(plane), overlay.GetPlane(plane) + 35), picture);
}

// The colours by the definition, in whole numbers of any size.
TEST(FeatureOverlay, ColoursFollowTheIndex) {
    const Bytes picture(9, 0);
    const auto wrapped = [](long long inValue) {
        return ((inValue % 256 + 256) % 256) % 255;
    };
    for (unsigned int i : {0u, 1u, 2u, 3u, 12u, 18u, 180u, 499u, 100000u}) {
        Overlay overlay(picture.data(), 3, 3);
        overlay.DrawFeature(i, 1.0f, 1.0f);
        EXPECT_EQ(At(overlay, Overlay::kRed, 1, 1, 3), wrapped(50ll * i + 75)) << i;
        EXPECT_EQ(At(overlay, Overlay::kGreen, 1, 1, 3), wrapped(20ll * i - 41)) << i;
        EXPECT_EQ(At(overlay, Overlay::kBlue, 1, 1, 3), wrapped(40ll * i + 65)) << i;
    }
    Overlay overlay(picture.data(), 3, 3);
    overlay.DrawFeature(0u, 1.0f, 1.0f);
    EXPECT_EQ(At(overlay, Overlay::kRed, 0, 2, 3), 75);
    EXPECT_EQ(At(overlay, Overlay::kGreen, 0, 2, 3), 215);
    EXPECT_EQ(At(overlay, Overlay::kBlue, 0, 2, 3), 65);
}

// Every position in and around a 6 by 5 picture, against the square spelled out.
TEST(FeatureOverlay, ASquareOfThreeIsCutOffAtTheEdges) {
    const int cols = 6, rows = 5;
    const Bytes picture(std::size_t(cols * rows), 10);
    for (float y = -3.0f; y < 9.0f; y += 0.25f)
        for (float x = -3.0f; x < 10.0f; x += 0.25f) {
            Overlay overlay(picture.data(), cols, rows);
            overlay.DrawFeature(Overlay::kGreen, x, y);
            const int centreX = static_cast<int>(x + 0.5), centreY = static_cast<int>(y + 0.5);
            for (int row = 0; row < rows; ++row)
                for (int col = 0; col < cols; ++col) {
                    const bool inside =
                        std::abs(col - centreX) <= 1 && std::abs(row - centreY) <= 1;
                    ASSERT_EQ(At(overlay, Overlay::kGreen, col, row, cols), inside ? 255 : 10)
                        << col << ", " << row << " for " << x << ", " << y;
                    ASSERT_EQ(At(overlay, Overlay::kRed, col, row, cols), 10);
                }
        }
}

TEST(FeatureOverlay, PositionsThatAreNoNumbersDrawNothing) {
    const Bytes picture = Testing::NoiseBytes(16, 1);
    Overlay overlay(picture.data(), 4, 4);
    for (const float odd : {std::numeric_limits<float>::quiet_NaN(), 1e30f, -1e30f,
                            2147483520.0f, std::numeric_limits<float>::infinity()}) {
        overlay.DrawFeature(0u, odd, 1.0f);
        overlay.DrawFeature(0u, 1.0f, odd);
    }
    EXPECT_EQ(Bytes(overlay.GetPlane(Overlay::kRed), overlay.GetPlane(Overlay::kRed) + 16),
              picture);
}

TEST(FeatureOverlay, IsWrittenLikeAnyOtherPicture) {
    const TemporaryFile file;
    const Bytes picture = {1, 2, 3, 4, 5, 6, 7, 8};
    Overlay overlay(picture.data(), 4, 2);
    overlay.DrawFeature(Overlay::kBlue, 0.0f, 0.0f);
    overlay.Write(file.Path());
    EXPECT_EQ(file.Content(),
              Joined("P6\n4 2\n255\n", {5, 5, 255, 6, 6, 255, 7, 7, 7, 8, 8, 8,  //
                                        1, 1, 255, 2, 2, 255, 3, 3, 3, 4, 4, 4}));
}

TEST(FeatureOverlay, WithoutPlanesDrawsNothingAndCannotBeWritten) {
    const TemporaryFile file;
    Overlay overlay(nullptr, -1, 4);
    EXPECT_FALSE(overlay.HasPlanes());
    overlay.DrawFeature(0u, 1.0f, 1.0f);
    EXPECT_THROW(overlay.Write(file.Path()), quillet::config::ReportedError);
}

}  // namespace
