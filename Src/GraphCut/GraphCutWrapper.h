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
///   own end. Of the caller's pictures none is kept.
/// Threads: one computation at a time in the process.
/// Errors: a broken precondition throws the contract error; the kept graph and the caller's
///   images stay as they were. `std::bad_alloc` passes through; what was half built is
///   dropped by the next new frame. `IP::Interrupted` (image/Interruption.h) drops a new
///   frame, and leaves a kept frame whole, with the stroke's energies and its flow so far;
///   the next call brings that to its end before it applies its own stroke, and does not
///   apply it where it is stopped in this.
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
    void FinishFlow();
    bool KeepsFrame(int inColumns, int inRows) const;
    void SetEnergies(const Image& inForeground, const Image& inBackground,
                     const Image& inCurrentLabel);

    TVK::ObjectPtr<ImageGraph> mImageGraph;
    Image mUnused[3];  // no operation sets them

    // Of the kept frame: a fit of nothing but 0, the labels of the last cut with the
    // segments that they show, and whether the flow of the last stroke was stopped.
    Image mFit;
    Image mLabels;
    std::vector<unsigned char> mSegments;
    bool mOwesFlow = false;
};

}  // namespace DP
