// The scenarios behind the public interfaces: pyramids pixel by pixel, the measure of APT's
// corners, and the tiled graph.

#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include "APT/APTCornerStream.h"
#include "APT/APTTrackerParams.h"
#include "Clip.h"
#include "ColourPyramid/ColourPyramidDescriptorData.h"
#include "ColourPyramid/ColourPyramidDescriptorDataKey.h"
#include "ColourPyramid/ColourPyramidDescriptorWorkerItem.h"
#include "DP/DescriptorFactory.h"
#include "External/graphcut/MaxFlowSolver.h"
#include "External/graphcut/imgraphcut.h"
#include "Pyramid/ImagePyramidDescriptorData.h"
#include "Pyramid/ImagePyramidDescriptorDataKey.h"
#include "Pyramid/ImagePyramidDescriptorWorkerItem.h"
#include "Scenario.h"
#include "quillet/WideString.h"

namespace Scenarios {
namespace {

using DP::Ref;

Ref<DP::IDescriptorData> Request(const std::string& inName, DP::DescriptorDataType inType,
                                 const Ref<DP::IDescriptorDataKey>& inKey,
                                 const Ref<DP::IDescriptorWorkerItem>& inItem) {
    inItem->SetDataKey(inKey);
    return DP::CreateDescriptorComputer(
               DP::CreateDescriptorProperty(quillet::utility::AsciiToUTF16(inName.c_str()),
                                            inType))
        ->GetDescriptorData(inItem, true);
}

// ---- Image pyramids ------------------------------------------------------------------

struct ImagePyramidRun {
    const char* mName;
    Clip mClip;
    float mGradientSigma = 1.0f;
    float mSmoothSigma = 0.7f;
    float mPyramidSigmaFactor = 0.9f;
    int mSubsampling = 4;
    int mLevels = 2;
};

constexpr ImagePyramidRun kImagePyramidRuns[] = {
    {.mName = "defaults", .mClip = {.mColumns = 160, .mRows = 120}},
    {.mName = "odd", .mClip = {.mColumns = 131, .mRows = 77}},
    {.mName = "by-two",
     .mClip = {.mColumns = 97, .mRows = 64},
     .mSubsampling = 2,
     .mLevels = 4},
    {.mName = "wide", .mClip = {}, .mGradientSigma = 2.3f, .mSmoothSigma = 3.6f},
    {.mName = "narrow",
     .mClip = {},
     .mGradientSigma = 0.5f,
     .mSmoothSigma = 0.3f,
     .mLevels = 1},
    {.mName = "narrower-than-kernel", .mClip = {.mColumns = 6, .mRows = 5}},
    {.mName = "large", .mClip = {.mColumns = 641, .mRows = 479}},
};

void AddPyramid(Digest& ioDigest, const IP::PyramidPtr<float>& inPyramid) {
    if (inPyramid == NULL) throw std::bad_alloc();
    for (int i = 0; i < inPyramid->GetLevelCount(); ++i) {
        const auto level = inPyramid->GetLevel(i);
        if (!level->GetData()) throw std::bad_alloc();
        ioDigest.AddPixels(level->GetData(),
                           std::size_t(level->GetColumns()) * std::size_t(level->GetRows()));
    }
}

void RunImagePyramid(Digest& ioDigest, const std::string& inName,
                     const ImagePyramidRun& inRun) {
    const auto frame = inRun.mClip.Bytes(1);
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeImagePyramid);
    Ref<DP::ImagePyramidDescriptorWorkerItem>(item)->SetPyramidImage(frame->GetData());
    const Ref<DP::ImagePyramidDescriptorData> data(
        Request(inName, DP::kDescriptorDataTypeImagePyramid,
                DP::CreateImagePyramidDescriptorDataKey(
                    quillet::utility::AsciiToUTF16(inName.c_str()), 1, inRun.mGradientSigma,
                    inRun.mSmoothSigma, inRun.mPyramidSigmaFactor, inRun.mSubsampling,
                    inRun.mLevels, inRun.mClip.mColumns, inRun.mClip.mRows),
                item));
    AddPyramid(ioDigest, data->GetSmoothedPyramid());
    AddPyramid(ioDigest, data->GetGradientXPyramid());
    AddPyramid(ioDigest, data->GetGradientYPyramid());
}

// ---- Colour pyramids -----------------------------------------------------------------

struct ColourPyramidRun {
    Clip mClip;
    unsigned int mLevels = 3;
    unsigned int mChannels = 1;
};

constexpr ColourPyramidRun kColourPyramidRuns[] = {
    {.mClip = {.mColumns = 160, .mRows = 120}},
    {.mClip = {.mColumns = 131, .mRows = 77}, .mLevels = 5, .mChannels = 3},
    {.mClip = {.mColumns = 64, .mRows = 33}, .mChannels = 4},
    {.mClip = {.mColumns = 1, .mRows = 1}, .mLevels = 2},
    {.mClip = {.mColumns = 3, .mRows = 40}, .mLevels = 4},
    {.mClip = {.mColumns = 640, .mRows = 360}, .mLevels = 4},
};

void RunColourPyramid(Digest& ioDigest, const std::string& inName,
                      const ColourPyramidRun& inRun) {
    Clip planes = inRun.mClip;  // channels side by side: any pixels will do
    planes.mColumns *= static_cast<int>(inRun.mChannels);
    const auto frame = planes.Floats(1);
    const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeColourPyramid);
    Ref<DP::ColourPyramidDescriptorWorkerItem>(item)->SetCurrImage(frame->GetData());
    const Ref<DP::ColourPyramidDescriptorData> data(Request(
        inName, DP::kDescriptorDataTypeColourPyramid,
        DP::CreateColourPyramidDescriptorDataKey(quillet::utility::AsciiToUTF16(inName.c_str()),
                                                 1, inRun.mClip.mRows, inRun.mClip.mColumns, 0,
                                                 inRun.mLevels, inRun.mChannels),
        item));
    ioDigest.AddPixels(data->GetLevelData(0), data->GetShape().TotalFloats());
}

// ---- The measure of APT's corners ----------------------------------------------------

// Selection only ranks these values, so the points that come out of it say little about
// their last bits: an error of 1e-6 in the smoothing's taps moves no point of any run.
void RunAptCornerness(Digest& ioDigest, const Clip& inClip, unsigned int inPatchHalf) {
    DP::APTTrackerParams params;
    params.mPatchHalfWidth = params.mPatchHalfHeight = inPatchHalf;
    DP::APTCornerStream stream;
    stream.ApplyParams(params);
    const auto frame = inClip.Floats(1);
    const DP::APTPixelRange range = stream.GetScanRange(inClip.mColumns, inClip.mRows);
    stream.Start(frame->GetData(), inClip.mColumns, inClip.mRows, range);
    while (stream.NextRow())
        ioDigest.AddPixels(stream.GetRow(stream.GetRowNumber()) + range.mLeft - 1,
                           static_cast<std::size_t>(range.mRight - range.mLeft + 2));
}

// ---- The tiled graph -----------------------------------------------------------------

void RunTiledGraph(Digest& ioDigest, unsigned short inNeighborhood) {
    const Clip clip{.mColumns = 53, .mRows = 41, .mNoise = 5};
    const auto frame = clip.Bytes(0);
    TiledImageGraph tiles(GraphRect{0, 0, clip.mRows, clip.mColumns}, 16, inNeighborhood);
    for (int tile = 0; tile < tiles.mGrid.mTileCount; tile += tile == 3 ? 2 : 1)
        tiles.ActivateTile(tile);
    tiles.AddPixelNodes();
    unsigned int links = 0;
    tiles.BuildLinksAndSetNeighborEnergies(frame->GetData(), nullptr, nullptr, nullptr,
                                           clip.mRows, clip.mColumns, 0, 0, clip.mColumns, 1, 8,
                                           &links, 500, 16.0 / 255, 0.5, true);
    for (int i = 0; i < 8; ++i) {
        tiles.SetForegroundPixel(20 + i, 20);
        tiles.SetBackgroundPixel(2 + i, 38);
    }
    RunMaxFlow(*tiles.mFlowGraph, tiles.mSourceNode, tiles.mSinkNode, *tiles.mSegments, -1,
               nullptr);
    ioDigest.AddInteger(links);
    ioDigest.AddPixels(tiles.mSegments->data(), tiles.mSegments->size());
}

}  // namespace

std::vector<Scenario> InsideScenarios() {
    std::vector<Scenario> scenarios;
    for (const ImagePyramidRun& run : kImagePyramidRuns) {
        const std::string name = std::string("image-pyramid/") + run.mName;
        scenarios.push_back({.mName = name, .mRun = [=](Digest& ioDigest) {
                                 RunImagePyramid(ioDigest, name, run);
                             }});
    }
    for (const ColourPyramidRun& run : kColourPyramidRuns) {
        const std::string name = "colour-pyramid/" + std::to_string(run.mClip.mColumns) + "x" +
                                 std::to_string(run.mClip.mRows);
        scenarios.push_back({.mName = name, .mRun = [=](Digest& ioDigest) {
                                 RunColourPyramid(ioDigest, name, run);
                             }});
    }
    constexpr unsigned int kPatchHalves[] = {3, 5, 12};  // by turns narrow and wide taps
    for (const unsigned int half : kPatchHalves)
        scenarios.push_back(
            {.mName = "apt-cornerness/" + std::to_string(half), .mRun = [=](Digest& ioDigest) {
                 RunAptCornerness(ioDigest, {.mColumns = 131, .mRows = 77}, half);
             }});
    constexpr unsigned short kNeighborhoods[] = {4, 8, 20};
    for (const unsigned short neighborhood : kNeighborhoods)
        scenarios.push_back({.mName = "tiled-graph/" + std::to_string(neighborhood),
                             .mRunsAlone = true,
                             .mRun = [=](Digest& ioDigest) {
                                 RunTiledGraph(ioDigest, neighborhood);
                             }});
    return scenarios;
}

}  // namespace Scenarios
