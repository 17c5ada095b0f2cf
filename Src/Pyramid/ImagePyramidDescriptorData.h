// ImagePyramidDescriptorData: the pyramids of one frame.

#pragma once

#include "DescriptorObjects.h"
#include "image/IPFramePyramids.h"

namespace DP {

/// No interface of its own: whoever wants the pyramids converts to the class. A reader
/// shares them, so they outlive the cache's entry for as long as it needs.
class ImagePyramidDescriptorData
    : public TVK::Object<ImagePyramidDescriptorData, DescriptorData> {
public:
    void SetPyramids(IP::PyramidPtr<float> inSmoothed, IP::PyramidPtr<float> inGradientX,
                     IP::PyramidPtr<float> inGradientY);
    void SetSmoothedPyramid(IP::PyramidPtr<float> inPyramid) { mSmoothed = inPyramid; }
    void SetGradientXPyramid(IP::PyramidPtr<float> inPyramid) { mGradientX = inPyramid; }
    void SetGradientYPyramid(IP::PyramidPtr<float> inPyramid) { mGradientY = inPyramid; }

    /// Null where the frame was missing.
    IP::PyramidPtr<float> GetSmoothedPyramid() const { return mSmoothed; }
    IP::PyramidPtr<float> GetGradientXPyramid() const { return mGradientX; }
    IP::PyramidPtr<float> GetGradientYPyramid() const { return mGradientY; }

    /// The pixels of all levels of the pyramids that are there.
    unsigned int GetDataSize() override;

private:
    IP::PyramidPtr<float> mSmoothed;
    IP::PyramidPtr<float> mGradientX;
    IP::PyramidPtr<float> mGradientY;
};

}  // namespace DP
