// One process has one graph, that of the last frame that was begun. A request with a label
// image is a further stroke on it; one without begins a new frame:
//
//     planes -> regions -> links between them -> terminal capacities -> cut -> labels
//
// The cut is that of Y. Boykov and M.-P. Jolly, "Interactive graph cuts for optimal boundary
// and region segmentation of objects in N-D images" (2001), over small regions in place of
// pixels as in Y. Li et al., "Lazy snapping" (2004), and without a colour model: links alone
// know the picture.
//
// All images have one byte a pixel, rows from the top and no gaps; the frame itself is BGRA
// with a stride of the caller's.

#include "GraphCut/GraphCutWrapper.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "External/graphcut/MaxFlowSolver.h"
#include "Image.h"
#include "TVK/ContractCheck.h"
#include "image/Interruption.h"
#include "platform/Files.h"

namespace DP {
namespace {

constexpr unsigned short kGraphCutNeighborhood = 8;
constexpr int kGraphCutPlaneCount = 3;
constexpr int kGraphCutBitDepth = 8;

// Single precision on purpose: they are widened where a double is asked for.
constexpr float kRegionColourTolerance = 10.0f / 255.0f;
constexpr int kRegionRadius = 5;
constexpr float kNeighborEnergyScale = 500.0f;
constexpr float kNeighborEnergySigma = 16.0f / 255.0f;
constexpr float kNeighborEnergyExponent = 0.5f;
constexpr float kStrokeThreshold = 0.5f;
constexpr float kTerminalBiasWeight = 0.5f;
constexpr bool kBiasTowardSource = true;

static_assert(std::bit_cast<std::uint32_t>(kRegionColourTolerance) == 0x3d20a0a1);
static_assert(std::bit_cast<std::uint32_t>(kNeighborEnergySigma) == 0x3d808081);

constexpr auto kStrokeThreshold8Bit = static_cast<unsigned char>(kStrokeThreshold * 255 + 0.5);

// A label that a foreground stroke must exceed to reach the caller's label image.
constexpr unsigned char kMergeThreshold = 254;

using Image = GraphCutWrapper::Image;

Image NewImage(int inColumns, int inRows) {
    const auto image = TVK::MakeObject<IP::Image<unsigned char>>(inColumns, inRows);
    if (!image->GetData()) throw std::bad_alloc();
    return image;
}

std::size_t PixelCount(const Image& inImage) {
    return static_cast<std::size_t>(inImage->GetRows()) *
           static_cast<std::size_t>(inImage->GetColumns());
}

Image NewClearedImage(int inColumns, int inRows) {
    const Image image = NewImage(inColumns, inRows);
    IP::FillPages(image->GetData(), PixelCount(image), static_cast<unsigned char>(0));
    return image;
}

void CopyPixels(const Image& inImage, const Image& outImage) {
    IP::ForPages<unsigned char>(PixelCount(inImage), [&](std::size_t inAt, std::size_t inNow) {
        std::memcpy(outImage->GetData() + inAt, inImage->GetData() + inAt, inNow);
    });
}

// A diagnostic file: the same plane for red, green and blue.
void WritePicture(const char* inPath, const Image& inImage) {
    CAFU::WritePPMFileRGB(inPath, inImage->GetData(), inImage->GetData(), inImage->GetData(),
                          inImage->GetColumns(), inImage->GetRows());
}

bool CheckStrokes(const Image& inForegroundStrokeImage, const Image& inBackgroundStrokeImage,
                  const Image& inCurrentLabelImage) {
    ContractCheck(inForegroundStrokeImage != NULL, false);
    ContractCheck(inBackgroundStrokeImage != NULL, false);
    ContractCheck(
        (inForegroundStrokeImage->GetColumns() == inBackgroundStrokeImage->GetColumns()) &&
            (inForegroundStrokeImage->GetRows() == inBackgroundStrokeImage->GetRows()),
        false);
    ContractCheck(
        inCurrentLabelImage == NULL ||
            ((inCurrentLabelImage != NULL &&
              (inForegroundStrokeImage->GetColumns() == inCurrentLabelImage->GetColumns()) &&
              (inForegroundStrokeImage->GetRows() == inCurrentLabelImage->GetRows()))),
        false);
    return true;
}

bool CheckFrame(const unsigned char* inRGBImage, const FrameBounds& inRGBImageBounds) {
    ContractCheck(inRGBImage != NULL, false);
    ContractCheck(inRGBImageBounds.Height() > 0 && inRGBImageBounds.Width() > 0, false);
    ContractCheck(inRGBImageBounds.Height() * inRGBImageBounds.Width() <= INT32_MAX, false);
    return true;
}

// Of a frame that passed `CheckFrame`: no row begins before the one above it has ended.
bool CheckRowBytes(const FrameBounds& inRGBImageBounds, unsigned int inRowBytes) {
    ContractCheck(inRowBytes <= INT32_MAX && inRowBytes >= 4 * inRGBImageBounds.Width(), false);
    return true;
}

// A flow that is stopped leaves trees to go on with, so it must not be left by an exception.
class WatchedFlow final : public AbortCallback {
public:
    bool ShouldAbort(int) override {
        constexpr unsigned int kPathsAtOnce = 64;
        if (!mIsStopped && mAsked++ % kPathsAtOnce == 0) mIsStopped = !IP::GoesOn(0, 1);
        return mIsStopped;
    }
    bool Pauses() const override { return true; }
    bool mIsStopped = false;

private:
    unsigned int mAsked = 0;
};

}  // namespace

GraphCutWrapper& GraphCutWrapper::Instance() {
    static GraphCutWrapper sInstance;
    return sInstance;
}

// Whether the kept graph has the frame's size and is whole.
bool GraphCutWrapper::KeepsFrame(int inColumns, int inRows) const {
    return mImageGraph != NULL && mImageGraph->mValid && mImageGraph->mColumns == inColumns &&
           mImageGraph->mRows == inRows && mImageGraph->mLinksBuilt;
}

Image GraphCutWrapper::ComputeLabelImage(const unsigned char* inRGBImage,
                                         unsigned int inRowBytes, Image inForegroundStrokeImage,
                                         Image inBackgroundStrokeImage,
                                         Image inCurrentLabelImage) {
    try {
        return Cut(inRGBImage, inRowBytes, inForegroundStrokeImage, inBackgroundStrokeImage,
                   inCurrentLabelImage);
    } catch (const IP::Interrupted&) {
        if (inCurrentLabelImage == NULL) DropFrame();
        throw;
    }
}

void GraphCutWrapper::DropFrame() {
    if (mImageGraph != NULL) mImageGraph->ReleaseGraph();
    mImageGraph = nullptr;
    mOwed = {};
}

Image GraphCutWrapper::Cut(const unsigned char* inRGBImage, unsigned int inRowBytes,
                           Image inForegroundStrokeImage, Image inBackgroundStrokeImage,
                           Image inCurrentLabelImage) {
    if (!CheckStrokes(inForegroundStrokeImage, inBackgroundStrokeImage, inCurrentLabelImage))
        return {};
    const int columns = inForegroundStrokeImage->GetColumns();
    const int rows = inForegroundStrokeImage->GetRows();
    const FrameBounds bounds{0, 0, columns, rows};
    const bool isNewFrame = inCurrentLabelImage == NULL;
    if (isNewFrame) {
        if (!CheckFrame(inRGBImage, bounds)) return {};
    } else {
        ContractCheck(KeepsFrame(columns, rows), {});
    }
    ContractCheck(inForegroundStrokeImage->GetData() != NULL, {});
    ContractCheck(inBackgroundStrokeImage->GetData() != NULL, {});
    if (isNewFrame && !CheckRowBytes(bounds, inRowBytes)) return {};

    const Image result = NewImage(columns, rows);
    if (isNewFrame) {
        // The old graph goes before the new one is made: a large frame need not hold both.
        DropFrame();
        BuildImageGraph(inRGBImage, bounds, inRowBytes);
        if (!KeepsFrame(columns, rows)) return {};
        mImageGraph->mValid = false;  // until its strokes are bound
        inCurrentLabelImage = NewImage(columns, rows);
        CopyPixels(inForegroundStrokeImage, inCurrentLabelImage);
    } else {
        FinishOwed();
        MergeForegroundIntoLabel(inForegroundStrokeImage, inCurrentLabelImage);
    }

    WritePicture(PLATFORM_CALL_FOLDER "ForegroundImage.ppm", inForegroundStrokeImage);
    WritePicture(PLATFORM_CALL_FOLDER "BackgroundImage.ppm", inBackgroundStrokeImage);
    WritePicture(PLATFORM_CALL_FOLDER "FitImage.ppm", mFit);
    WritePicture(PLATFORM_CALL_FOLDER "CurrentSelectionImage.ppm", inCurrentLabelImage);

    SetEnergies(inForegroundStrokeImage, inBackgroundStrokeImage, inCurrentLabelImage);
    IP::EnterStage(isNewFrame ? 0.9 : 0.0, 1.0);
    if (isNewFrame) IP::Checkpoint(0, 1);
    FinishFlow();
    mImageGraph->UpdateLabels(mLabels->GetData(), mSegments);
    CopyPixels(mLabels, result);
    return result;
}

// How a flow rounds depends on the order in which strokes and paths come: one that was stopped
// comes to its end before anything new is bound.
void GraphCutWrapper::FinishOwed() {
    if (mOwed.mStrokes) {
        BindStrokes(mLabels, mFit);
        std::memset(mFit->GetData(), 0, PixelCount(mFit));
    }
    if (mOwed.mFlow) FinishFlow();
}

// Runs the flow to its end, or to where it is stopped. The graph is whole behind either.
void GraphCutWrapper::FinishFlow() {
    constexpr double kNoTimeLimit = -1.0;
    WatchedFlow watched;
    mImageGraph->mValid = false;
    RunMaxFlow(*mImageGraph->mFlowGraph, mImageGraph->mSourceNode, mImageGraph->mSinkNode,
               *mImageGraph->mSegments, kNoTimeLimit, IP::IsWatched() ? &watched : nullptr);
    mImageGraph->mValid = true;
    mOwed.mFlow = watched.mIsStopped;
    if (mOwed.mFlow) throw IP::Interrupted();
}

// In the two images of the frame that can be made anew, so that a stop waits for no memory.
void GraphCutWrapper::KeepStrokes(const Image& inForeground, const Image& inBackground) {
    const auto bound = std::size_t(mOwed.mBoundRows) * std::size_t(inForeground->GetColumns());
    const std::size_t rest = PixelCount(inForeground) - bound;
    mSegments.clear();  // the labels show nothing any more
    std::memcpy(mLabels->GetData() + bound, inForeground->GetData() + bound, rest);
    std::memcpy(mFit->GetData() + bound, inBackground->GetData() + bound, rest);
    mOwed.mStrokes = true;
}

// Row after row, from the first that is not bound yet. Where this is stopped the next call
// goes on with copies of the strokes, since the host may paint on in its images.
void GraphCutWrapper::BindStrokes(const Image& inForeground, const Image& inBackground) {
    constexpr int kRowsAtOnce = 16;
    const int rows = inForeground->GetRows();
    const int columns = inForeground->GetColumns();
    mImageGraph->mValid = false;
    while (mOwed.mBoundRows < rows) {
        if (!IP::GoesOn(0, 1)) {
            if (!mOwed.mStrokes) KeepStrokes(inForeground, inBackground);
            mImageGraph->mValid = true;
            throw IP::Interrupted();
        }
        const int rowsNow = std::min(kRowsAtOnce, rows - mOwed.mBoundRows);
        const std::ptrdiff_t place = std::ptrdiff_t{mOwed.mBoundRows} * columns;
        mImageGraph->SetStrokeEnergies(inForeground->GetData() + place,
                                       inBackground->GetData() + place, kStrokeThreshold8Bit,
                                       rowsNow, columns, 0, mOwed.mBoundRows, columns, columns);
        mOwed.mBoundRows += rowsNow;
    }
    mOwed = {};
    mOwed.mFlow = true;
}

// All pixels once per frame, and after that those under the strokes alone. One that runs out
// of memory leaves capacities between two strokes: the graph is whole again only behind the
// flow, and until then a further stroke is refused.
void GraphCutWrapper::SetEnergies(const Image& inForeground, const Image& inBackground,
                                  const Image& inCurrentLabel) {
    ImageGraph& graph = *mImageGraph;
    const int rows = inForeground->GetRows();
    const int columns = inForeground->GetColumns();
    if (graph.mTerminalEnergiesSet && graph.mBiasTowardSource == kBiasTowardSource) {
        BindStrokes(inForeground, inBackground);
    } else {
        graph.mValid = false;
        graph.SetTerminalEnergies(inCurrentLabel->GetData(), mFit->GetData(),
                                  inForeground->GetData(), inBackground->GetData(),
                                  double{kTerminalBiasWeight}, kTerminalEnergyStrokesOnly,
                                  kBiasTowardSource, kStrokeThreshold8Bit, rows, columns, 0, 0,
                                  columns, columns, columns, columns);
    }
    graph.mTerminalEnergiesSet = true;
    graph.mBiasTowardSource = kBiasTowardSource;
}

// Red, green and blue as planes without gaps; regions from them, and then links, each pair of
// neighbours weighed by its colours. The planes go when the graph is built.
void GraphCutWrapper::BuildImageGraph(const unsigned char* inRGBImage,
                                      const FrameBounds& inRGBImageBounds,
                                      unsigned int inRowBytes) {
    if (!CheckFrame(inRGBImage, inRGBImageBounds)) return;
    if (mImageGraph != NULL) return;
    if (!CheckRowBytes(inRGBImageBounds, inRowBytes)) return;
    const int height = static_cast<int>(inRGBImageBounds.Height());
    const int width = static_cast<int>(inRGBImageBounds.Width());

    mSegments.clear();
    mFit = NewClearedImage(width, height);
    mLabels = NewImage(width, height);
    IP::Checkpoint(0, 0);
    mImageGraph = TVK::MakeObject<ImageGraph>();
    mImageGraph->Initialize(GraphRect{0, 0, height, width}, nullptr, kGraphCutNeighborhood,
                            nullptr, 0, 1);
    if (!mImageGraph->mValid) return;

    const Image red = NewImage(width, height);
    const Image green = NewImage(width, height);
    const Image blue = NewImage(width, height);
    constexpr int kRowsAtOnce = 64;
    for (int rows = 0, y = 0; y < height; y += rows) {
        const std::ptrdiff_t place = std::ptrdiff_t{y} * width;
        IP::Checkpoint(0, 1);
        rows = std::min(kRowsAtOnce, height - y);
        CAFU::SplitPackedPixels(inRGBImage + std::ptrdiff_t{y} * inRowBytes, rows, width,
                                static_cast<int>(inRowBytes), red->GetData() + place,
                                green->GetData() + place, blue->GetData() + place);
    }
    using quillet::utility::AsciiToUTF16;
    IP::WriteImageToPPM(*red, AsciiToUTF16(PLATFORM_FRAME_FOLDER "RedComOriginalImage.ppm"));
    IP::WriteImageToPPM(*green,
                        AsciiToUTF16(PLATFORM_FRAME_FOLDER "GreenComOriginalImage.ppm"));
    IP::WriteImageToPPM(*blue, AsciiToUTF16(PLATFORM_FRAME_FOLDER "BlueComOriginalImage.ppm"));

    IP::EnterStage(0.0, 0.7);
    mImageGraph->BuildRegionGraph(red->GetData(), green->GetData(), blue->GetData(), nullptr,
                                  height, width, 0, 0, width, kGraphCutPlaneCount,
                                  kGraphCutBitDepth, kRegionColourTolerance, kRegionRadius);
    IP::EnterStage(0.7, 0.9);
    mImageGraph->SetNeighborEnergies(
        red->GetData(), green->GetData(), blue->GetData(), nullptr, height, width, 0, 0, width,
        kGraphCutPlaneCount, kGraphCutBitDepth, double{kNeighborEnergyScale},
        double{kNeighborEnergySigma}, double{kNeighborEnergyExponent}, true);
}

void GraphCutWrapper::MergeForegroundIntoLabel(Image inForegroundImage, Image ioLabelImage) {
    ContractCheck(inForegroundImage->GetData() != NULL);
    ContractCheck(ioLabelImage->GetData() != NULL);
    ContractCheck(inForegroundImage->GetRows() == ioLabelImage->GetRows() &&
                  inForegroundImage->GetColumns() == ioLabelImage->GetColumns());
    const unsigned char* const foreground = inForegroundImage->GetData();
    unsigned char* const labels = ioLabelImage->GetData();
    const std::size_t count = PixelCount(inForegroundImage);
    // Most of a stroke image is empty: the labels under it are not even read.
    constexpr std::size_t kBlock = 1024;
    for (std::size_t begin = 0; begin < count; begin += kBlock) {
        const std::size_t end = std::min(begin + kBlock, count);
        unsigned char most = 0;
        for (std::size_t i = begin; i < end; ++i)
            most = std::max(most, foreground[i]);
        for (std::size_t i = begin; most > kMergeThreshold && i < end; ++i)
            labels[i] = foreground[i] > kMergeThreshold ? 255 : labels[i];
    }
}

}  // namespace DP
