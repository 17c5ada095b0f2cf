#include "Insides.h"

#include "ClientFrames.h"
#include "External/graphcut/MaxFlowSolver.h"
#include "Src/GraphCut/GraphCutWrapper.h"
#include "descriptor/StrokeMasks.h"
#include "image/IPFramePyramids.h"
#include "image/IPRowKernels.h"

namespace Host {
namespace {

constexpr float kPyramidSigmaFactor = 0.9f;  // as the KLT tracker has it

IP::ImagePtr<unsigned char> ToImage(const descriptor::Frame& inMask) {
    auto image = TVK::MakeObject<IP::Image<unsigned char>>(inMask.width, inMask.height);
    std::copy_n(inMask.row(0), std::size_t(inMask.width) * inMask.height, image->GetData());
    return image;
}

std::vector<float> CopyPixels(const IP::ImagePtr<float>& inImage) {
    const float* const pixels = inImage->GetData();
    return {pixels, pixels + std::size_t(inImage->GetColumns()) * inImage->GetRows()};
}

}  // namespace

struct GraphInside::Wrapper {
    DP::GraphCutWrapper mGraphCut;

    const ImageGraph& Graph() const { return *mGraphCut.GetImageGraph(); }
};

GraphInside::GraphInside(const Frame& inPicture)
    : mPicture(inPicture),
      mWrapper(std::make_unique<Wrapper>()),
      mLabels(inPicture.mWidth, inPicture.mHeight) {}

GraphInside::~GraphInside() = default;

void GraphInside::Cut(const descriptor::Strokes& inStrokes) {
    const auto strokes = [&](descriptor::Label inLabel) {
        return ToImage(
            descriptor::mask_of(inStrokes, inLabel, mPicture.mWidth, mPicture.mHeight));
    };
    const auto labels = mWrapper->mGraphCut.ComputeLabelImage(
        mPicture.mPixels.data(), unsigned(mPicture.RowBytes()),
        strokes(descriptor::Label::foreground), strokes(descriptor::Label::background),
        mStarted ? ToImage(ViewOf(mLabels)) : IP::ImagePtr<unsigned char>());
    std::copy_n(labels->GetData(), mLabels.mBytes.size(), mLabels.mBytes.begin());
    mStarted = true;
}

unsigned GraphInside::Regions() const { return mWrapper->Graph().mRegionCount; }

std::size_t GraphInside::Links() const { return mWrapper->Graph().mFlowGraph->mLinkPairs; }

double GraphInside::Flow() const {
    return double(mWrapper->Graph().mFlowGraph->mSolver->GetFlow());
}

const unsigned* GraphInside::RegionOfPixels() const {
    return mWrapper->Graph().mNodeImage.get();
}

std::string KernelTarget() { return IP::GetRowKernels().mName; }

std::vector<PyramidLevel> ComputePyramids(const std::uint8_t* inGrey, int inWidth, int inHeight,
                                          const PyramidSettings& inSettings) {
    IP::FramePyramidSettings settings;
    settings.mGradientSigma = inSettings.mGradientSigma;
    settings.mSmoothSigma = inSettings.mSmoothSigma;
    settings.mPyramidSigmaFactor = kPyramidSigmaFactor;
    settings.mSubsampling = inSettings.mSubsampling;
    settings.mLevelCount = inSettings.mLevels;
    const IP::FramePyramids pyramids =
        IP::ComputeFramePyramids({inGrey, inWidth, inHeight}, settings);

    std::vector<PyramidLevel> levels;
    for (int i = 0; i < inSettings.mLevels; ++i) {
        const IP::ImagePtr<float> smoothed = pyramids.mSmoothed->GetLevel(i);
        levels.push_back({smoothed->GetColumns(), smoothed->GetRows(), CopyPixels(smoothed),
                          CopyPixels(pyramids.mGradientX->GetLevel(i)),
                          CopyPixels(pyramids.mGradientY->GetLevel(i))});
    }
    return levels;
}

}  // namespace Host
