// ImagePyramidDescriptorData: the pyramids of one frame.

#pragma once

#include <mutex>

#include "DescriptorObjects.h"
#include "image/IPFramePyramids.h"

namespace DP {

/// No interface of its own: whoever wants the pyramids converts to the class. A reader
/// shares them, so they outlive the cache's entry for as long as it needs.
///
/// Threads: the setters before the data is shared; any number of readers after that.
class ImagePyramidDescriptorData
    : public TVK::Object<ImagePyramidDescriptorData, DescriptorData> {
public:
    void SetPyramids(IP::PyramidPtr<float> inSmoothed, IP::PyramidPtr<float> inGradientX,
                     IP::PyramidPtr<float> inGradientY);
    void SetSmoothedPyramid(IP::PyramidPtr<float> inPyramid) { mSmoothed = inPyramid; }
    void SetGradientXPyramid(IP::PyramidPtr<float> inPyramid) { mGradientX = inPyramid; }
    void SetGradientYPyramid(IP::PyramidPtr<float> inPyramid) { mGradientY = inPyramid; }

    /// Pyramids that may lack the gradients of level 0: those are made, once, when somebody
    /// asks for a gradient pyramid.
    void SetFramePyramids(const IP::FramePyramids& inPyramids, float inGradientSigma);

    /// Null where the frame was missing. Each call gives the same object.
    IP::PyramidPtr<float> GetSmoothedPyramid() const { return mSmoothed; }
    IP::PyramidPtr<float> GetGradientXPyramid() const;
    IP::PyramidPtr<float> GetGradientYPyramid() const;

    /// For who can do without the gradients of level 0 (see `MakesGradientsLater`), which
    /// must not be read: another thread may be making them.
    IP::FramePyramids GetFramePyramids() const { return {mSmoothed, mGradientX, mGradientY}; }
    bool MakesGradientsLater() const { return mMakesGradientsLater; }

    /// The pixels of all levels of the pyramids that are there, made yet or not.
    unsigned int GetDataSize() override;

private:
    void MakeLevelZeroGradients() const;

    IP::PyramidPtr<float> mSmoothed;
    IP::PyramidPtr<float> mGradientX;
    IP::PyramidPtr<float> mGradientY;
    float mGradientSigma = 0.0f;
    bool mMakesGradientsLater = false;
    mutable std::once_flag mLevelZeroGradients;
};

}  // namespace DP
