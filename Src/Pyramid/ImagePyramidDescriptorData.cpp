// The gradients of level 0 are two planes as large as the frame, and a tracker that samples
// windows never asks for them: they are left out and made when somebody wants a whole plane.
// The pyramids that are handed in then fill up behind a result that looks the same to all who
// hold it; every other level is written once, before the data is stored.

#include "Pyramid/ImagePyramidDescriptorData.h"

namespace DP {

void ImagePyramidDescriptorData::SetPyramids(IP::PyramidPtr<float> inSmoothed,
                                             IP::PyramidPtr<float> inGradientX,
                                             IP::PyramidPtr<float> inGradientY) {
    SetSmoothedPyramid(inSmoothed);
    SetGradientXPyramid(inGradientX);
    SetGradientYPyramid(inGradientY);
}

void ImagePyramidDescriptorData::SetFramePyramids(const IP::FramePyramids& inPyramids,
                                                  float inGradientSigma) {
    SetPyramids(inPyramids.mSmoothed, inPyramids.mGradientX, inPyramids.mGradientY);
    mGradientSigma = inGradientSigma;
    mMakesGradientsLater = IP::LacksLevelZeroGradients(inPyramids);
}

IP::PyramidPtr<float> ImagePyramidDescriptorData::GetGradientXPyramid() const {
    MakeLevelZeroGradients();
    return mGradientX;
}

IP::PyramidPtr<float> ImagePyramidDescriptorData::GetGradientYPyramid() const {
    MakeLevelZeroGradients();
    return mGradientY;
}

void ImagePyramidDescriptorData::MakeLevelZeroGradients() const {
    if (!mMakesGradientsLater) return;
    // Several trackers may ask at the same time for what one cache holds: the first makes them,
    // the others wait.
    std::call_once(mLevelZeroGradients,
                   [this] { IP::AddLevelZeroGradients(GetFramePyramids(), mGradientSigma); });
}

// Level 0 has the pyramid's size, and is not looked at: its gradients may be in the making.
unsigned int ImagePyramidDescriptorData::GetDataSize() {
    constexpr unsigned int kPixelBytes = sizeof(float);
    unsigned int size = 0;
    for (const auto& pyramid : {mSmoothed, mGradientX, mGradientY}) {
        if (pyramid == NULL) continue;
        for (int level = 0; level < pyramid->GetLevelCount(); ++level) {
            const auto image = level > 0 ? pyramid->GetLevel(level) : IP::ImagePtr<float>();
            const int cols = level > 0 ? image->GetColumns() : pyramid->GetColumns();
            const int rows = level > 0 ? image->GetRows() : pyramid->GetRows();
            size +=
                static_cast<unsigned int>(cols) * static_cast<unsigned int>(rows) * kPixelBytes;
        }
    }
    return size;
}

}  // namespace DP
