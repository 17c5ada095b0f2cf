// Pictures for a developer, as PPM files. They are written from the last row to the first: in
// a viewer they stand on their heads, and rows count upward as rectangles do.

#include "Image.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "TVK/ContractCheck.h"
#include "TVK/MakeStdString.h"
#include "image/Saturate.h"
#include "platform/Files.h"

namespace CAFU {
namespace {

struct Closer {
    void operator()(std::FILE* inFile) const { std::fclose(inFile); }
};
using File = std::unique_ptr<std::FILE, Closer>;

// The placeholder is not filled: a report is told by its place and not by its path.
constexpr const char* kCannotOpen =
    "(WritePPMFileRGB) Can't open file named '%s' for writing\n";

File OpenForWriting(const char* inPath) { return File(platform::OpenForWriting(inPath)); }

unsigned char ToByte(unsigned char inValue) { return inValue; }
unsigned char ToByte(float inValue) {
    return static_cast<unsigned char>(IP::TruncateNaNLowest(double{inValue}) & 0xff);
}

// Header and pixels, a row at a time from the last row to the first.
template <class T>
void WritePPM(std::FILE* inFile, const T* inRedimg, const T* inGreenimg, const T* inBlueimg,
              int inCols, int inRows) {
    ContractCheck(inRedimg != NULL);
    ContractCheck(inGreenimg != NULL);
    ContractCheck(inBlueimg != NULL);

    std::fprintf(inFile, "P6\n%d %d\n255\n", inCols, inRows);
    const std::size_t cols = static_cast<std::size_t>(std::max(inCols, 0));
    // One row of the file: red, green and blue of each pixel.
    std::vector<unsigned char> row(3 * cols);
    if (row.empty()) return;
    for (int y = inRows - 1; y >= 0; --y) {
        const std::size_t start = static_cast<std::size_t>(y) * cols;
        for (std::size_t x = 0; x < cols; ++x) {
            row[3 * x] = ToByte(inRedimg[start + x]);
            row[3 * x + 1] = ToByte(inGreenimg[start + x]);
            row[3 * x + 2] = ToByte(inBlueimg[start + x]);
        }
        std::fwrite(row.data(), 1, row.size(), inFile);
    }
}

// One report, and so one hide flag, for each pixel type.
template <class T>
void WriteGrey(const char* inPath, const T* inGreyimg, int inCols, int inRows) {
    const File file = OpenForWriting(inPath);
    if (!file) {
        AssertWithMessage("CAFU::WritePPMFileGrey", kCannotOpen);
        return;
    }
    WritePPM(file.get(), inGreyimg, inGreyimg, inGreyimg, inCols, inRows);
}

}  // namespace

// ---- Files ---------------------------------------------------------------------------

void WritePPMFileRGB(const char* inPath, const unsigned char* inRedimg,
                     const unsigned char* inGreenimg, const unsigned char* inBlueimg,
                     int inCols, int inRows) {
    const File file = OpenForWriting(inPath);
    if (!file) {
        AssertWithMessage("CAFU::WritePPMFileRGB", kCannotOpen);
        return;
    }
    WritePPM(file.get(), inRedimg, inGreenimg, inBlueimg, inCols, inRows);
}

void WritePPMFileGrey(const char* inPath, const unsigned char* inGreyimg, int inCols,
                      int inRows) {
    WriteGrey(inPath, inGreyimg, inCols, inRows);
}

void WritePPMFileGrey(const char* inPath, const float* inGreyimg, int inCols, int inRows) {
    WriteGrey(inPath, inGreyimg, inCols, inRows);
}

// ---- A frame in planes ---------------------------------------------------------------

void SplitPackedPixels(const unsigned char* inPixels, int inRows, int inColumns, int inRowBytes,
                       unsigned char* outRed, unsigned char* outGreen, unsigned char* outBlue) {
    for (std::ptrdiff_t y = 0; y < inRows; ++y)
        for (std::ptrdiff_t x = 0; x < inColumns; ++x) {
            const unsigned char* const pixel = inPixels + y * inRowBytes + 4 * x;
            *outBlue++ = pixel[0];
            *outGreen++ = pixel[2];
            *outRed++ = pixel[4];
        }
}

// ---- Overlays ------------------------------------------------------------------------

FeatureOverlay::FeatureOverlay(const unsigned char* inImage, int inCols, int inRows)
    : mCols(inCols), mRows(inRows) {
    for (auto& plane : mPlanes)
        plane = TVK::MakeObject<IP::Image<unsigned char>>(inCols, inRows);
    if (!HasPlanes()) return;
    const std::size_t bytes = static_cast<std::size_t>(inCols) * static_cast<unsigned>(inRows);
    for (const auto& plane : mPlanes)
        if (bytes != 0) std::memcpy(plane->GetData(), inImage, bytes);
}

bool FeatureOverlay::HasPlanes() const {
    return std::all_of(std::begin(mPlanes), std::end(mPlanes),
                       [](const auto& inPlane) { return inPlane->GetData() != nullptr; });
}

// Bytes that wrap, taken once more modulo 255: no plane of a mark is ever pure 255.
void FeatureOverlay::DrawFeature(unsigned int inIndex, float inX, float inY) {
    const auto shade = [&](unsigned int inStep, unsigned int inStart) {
        return static_cast<unsigned char>((inStep * inIndex + inStart) % 256 % 255);
    };
    FillSquare(kRed, inX, inY, shade(50, 75));
    FillSquare(kGreen, inX, inY, shade(20, 256 - 41));
    FillSquare(kBlue, inX, inY, shade(40, 65));
}

void FeatureOverlay::DrawFeature(Plane inPlane, float inX, float inY) {
    FillSquare(inPlane, inX, inY, 255);
}

void FeatureOverlay::Write(const char* inPath) const {
    WritePPMFileRGB(inPath, GetPlane(kRed), GetPlane(kGreen), GetPlane(kBlue), mCols, mRows);
}

void FeatureOverlay::FillSquare(Plane inPlane, float inX, float inY, unsigned char inValue) {
    if (!HasPlanes()) return;
    const std::int64_t centreX = IP::TruncateNaNLowest(inX + 0.5);
    const std::int64_t centreY = IP::TruncateNaNLowest(inY + 0.5);
    for (std::int64_t y = centreY - 1; y <= centreY + 1; ++y)
        for (std::int64_t x = centreX - 1; x <= centreX + 1; ++x)
            if (x >= 0 && x < mCols && y >= 0 && y < mRows)
                GetPlane(inPlane)[y * mCols + x] = inValue;
}

}  // namespace CAFU

namespace IP {

void WriteImageToPPM(const Image<unsigned char>& inImage, const quillet::WideString& inPath) {
    CAFU::WritePPMFileGrey(TVK::MakeStdString(inPath).c_str(), inImage.GetData(),
                           inImage.GetColumns(), inImage.GetRows());
}

}  // namespace IP
