// Image: pictures for a developer to look at, and a host frame split into planes.
//
// Nothing here is needed to compute a descriptor, but for `SplitPackedPixels`: the writers
// dump intermediates of the trackers and of the graph cut as binary PPM files.

#pragma once

#include "image/IPImage.h"
#include "quillet/WideString.h"

namespace CAFU {

/// @name P6 files, 3 bytes a pixel in the order red, green, blue, at most 255
///
/// **The first row of a file is the last row of the planes**: a picture whose row 0 is the
/// top row comes out upside down. A plane has no gaps between its rows. With rows below 1
/// a file is its header alone.
///
/// Errors: a file that cannot be opened is reported once per writer and nothing is
///   written; a failure to write is not told at all. A null plane breaks the contract; the
///   file has been emptied by then.
/// Threads: any, as long as nobody writes the planes or the file meanwhile.
/// @{

void WritePPMFileRGB(const char* inPath, const unsigned char* inRedimg,
                     const unsigned char* inGreenimg, const unsigned char* inBlueimg,
                     int inCols, int inRows);

void WritePPMFileGrey(const char* inPath, const unsigned char* inGreyimg, int inCols,
                      int inRows);

/// A pixel is the low 8 bits of its value truncated toward zero, without clamping: 256.0
/// is 0 and -1.0 is 255. NaN, and what is outside the 32-bit integers, is 0.
void WritePPMFileGrey(const char* inPath, const float* inGreyimg, int inCols, int inRows);

/// @}

/// Splits a frame of 4-byte pixels into planes of one byte a pixel: blue is byte 0 of a
/// pixel, green byte 2, and red byte 4, which is **byte 0 of the pixel to the right**. The
/// regions and link weights of the graph cut come from exactly these samples.
///
/// @param inPixels  **one byte more than the frame is read**: a caller provides a readable
///        byte behind the last pixel, be it row padding or a byte of its own.
/// @param inRowBytes  bytes from the start of a row to the start of the next.
/// @param outRed,outGreen,outBlue  `inRows` times `inColumns` bytes each. With rows below 1
///        nothing is read or written.
void SplitPackedPixels(const unsigned char* inPixels, int inRows, int inColumns, int inRowBytes,
                       unsigned char* outRed, unsigned char* outGreen, unsigned char* outBlue);

/// A grey picture in three planes with marks drawn on it: what the trackers dump to show
/// their features. A feature is a square of 3 by 3 pixels, cut off at the picture's edges,
/// around its position rounded to whole pixels, **y downward from the top row**.
///
/// Ownership: the planes are the overlay's own, from the recycler; the picture is copied.
/// Threads: one thread at a time.
/// Errors: where the recycler has no planes, `HasPlanes` says so, for the tracker to report
///   under its own name. Drawing then does nothing, and `Write` breaks the contract.
class FeatureOverlay {
public:
    enum Plane { kRed, kGreen, kBlue, kPlaneCount };

    /// What a tracker reports when there are no planes.
    static constexpr const char* kOutOfMemory = "(WriteFeaturesToPPM)  Out of memory\n";

    FeatureOverlay(const unsigned char* inImage, int inCols, int inRows);

    bool HasPlanes() const;

    /// In a colour that comes from the place in the list, so that a feature keeps its
    /// colour through the frames.
    void DrawFeature(unsigned int inIndex, float inX, float inY);

    /// In 255 on one plane; the other two keep what they show.
    void DrawFeature(Plane inPlane, float inX, float inY);

    /// The pixels of a plane, for what else there is to draw.
    unsigned char* GetPlane(Plane inPlane) const { return mPlanes[inPlane]->GetData(); }

    void Write(const char* inPath) const;

private:
    void FillSquare(Plane inPlane, float inX, float inY, unsigned char inValue);

    int mCols;
    int mRows;
    IP::ImagePtr<unsigned char> mPlanes[kPlaneCount];
};

}  // namespace CAFU

namespace IP {

/// `CAFU::WritePPMFileGrey` for an image and a wide path. It stands beside the image, not
/// in it: the image is a header that hosts compile, the writer is the library's own.
void WriteImageToPPM(const Image<unsigned char>& inImage, const quillet::WideString& inPath);

}  // namespace IP
