// GraphCutWrapper: strokes on a frame to a label image, and what is kept between strokes.

#pragma once

#include <cstdint>
#include <vector>

#include "External/graphcut/imgraphcut.h"
#include "image/IPImage.h"

namespace DP {

/// Right and bottom are exclusive; y runs downward.
struct FrameBounds {
    std::int32_t mLeft = 0;
    std::int32_t mTop = 0;
    std::int32_t mRight = 0;
    std::int32_t mBottom = 0;

    std::int64_t Height() const { return std::int64_t{mBottom} - mTop; }
    std::int64_t Width() const { return std::int64_t{mRight} - mLeft; }
};

/// Selects a foreground. There is no colour model: strokes bind pixels, every other pixel
/// has one small bias to the background, and all that is seen in the picture is in the
/// links between neighbouring regions.
///
/// Two states. Without a current label image a call starts a **new frame**: it drops the
/// kept graph and builds one. With one it goes on with the **kept frame**: only terminal
/// capacities change and the same maximum flow is resumed.
///
/// Ownership: keeps the graph of one frame and its labels, until the next new frame or its
///   own end. Of the caller's pictures none is kept, but copies of stopped strokes.
/// Threads: one computation at a time in the process.
/// Errors: a broken precondition throws the contract error; the kept graph and the caller's
///   images stay as they were. `std::bad_alloc` passes through; what was half built is
///   dropped by the next new frame, and until then no stroke is taken. `IP::Interrupted`
///   (image/Interruption.h) drops a new frame, and leaves a kept frame whole, with what of the
///   stroke is bound, a copy of the rest, and its flow so far; the next call brings that to
///   its end before it applies its own stroke, and does not apply it where it is stopped in
///   this.
/// Frozen: the order of the members.
class GraphCutWrapper {
public:
    using Image = IP::ImagePtr<unsigned char>;

    /// The one of the process, which lives as long as the library is loaded.
    static GraphCutWrapper& Instance();

    GraphCutWrapper() = default;
    GraphCutWrapper(const GraphCutWrapper&) = delete;
    GraphCutWrapper& operator=(const GraphCutWrapper&) = delete;

    /// Returns a new image, 255 for foreground and 0 for all else. All sizes come from the
    /// foreground stroke image.
    /// @param inRGBImage  four bytes a pixel and one more; not read for a kept frame.
    /// @param inRowBytes  from the start of a row to the start of the next: at least four
    ///        bytes a pixel, and at most 2^31 - 1; any value for a kept frame.
    /// @param inCurrentLabelImage  may be null; else the strokes are merged into it.
    Image ComputeLabelImage(const unsigned char* inRGBImage, unsigned int inRowBytes,
                            Image inForegroundStrokeImage, Image inBackgroundStrokeImage,
                            Image inCurrentLabelImage);

    /// Cuts the frame into regions and weighs their links, unless a graph is kept.
    void BuildImageGraph(const unsigned char* inRGBImage, const FrameBounds& inRGBImageBounds,
                         unsigned int inRowBytes);

    /// Labels become 255 where the foreground is.
    void MergeForegroundIntoLabel(Image inForegroundImage, Image ioLabelImage);

    const ImageGraph* GetImageGraph() const { return mImageGraph.Get(); }

private:
    Image Cut(const unsigned char* inRGBImage, unsigned int inRowBytes,
              Image inForegroundStrokeImage, Image inBackgroundStrokeImage,
              Image inCurrentLabelImage);
    void DropFrame();
    void BindStrokes(const Image& inForeground, const Image& inBackground);
    void KeepStrokes(const Image& inForeground, const Image& inBackground);
    void FinishFlow();
    void FinishOwed();
    bool KeepsFrame(int inColumns, int inRows) const;
    void SetEnergies(const Image& inForeground, const Image& inBackground,
                     const Image& inCurrentLabel);

    TVK::ObjectPtr<ImageGraph> mImageGraph;
    Image mUnused[3];  // no operation sets them

    // What a stroke that was stopped still has to do: the rows of its images that are not
    // bound yet, if there are any, and the flow behind that. The rows lie in `mLabels`, those
    // of the foreground, and in `mFit`.
    struct Owed {
        bool mStrokes = false;
        int mBoundRows = 0;
        bool mFlow = false;
    };

    // Of the kept frame: a fit of nothing but 0, the labels of the last cut with the
    // segments that they show, and what its last stroke owes.
    Image mFit;
    Image mLabels;
    std::vector<unsigned char> mSegments;
    Owed mOwed;
};

}  // namespace DP
