// PlainAlignment: the alignment of a point as one would tell it, over whole pyramids. The
// order of the sums is the library's: element i of a channel to partial sum i mod 16, the
// sixteen folded in halves.

#pragma once

#include <vector>

#include "APT/APTPatchAlignment.h"
#include "ColourPyramid/ColourPyramidData.h"

namespace Testing {

class PlainAlignment {
public:
    PlainAlignment(const DP::APTPatchShape& inShape, const DP::ColourPyramidData& inPrevious,
                   const DP::ColourPyramidData& inCurrent)
        : mShape(inShape), mPrevious(inPrevious), mCurrent(inCurrent) {}

    /// As `DP::AlignPatch` for a point of the previous frame.
    int Align(float inX, float inY, const float* inStart, float* outResult,
              DP::APTMotionModel inModel, const DP::APTTolerances& inTolerances,
              float inCorrelationLimit, int inIterationLimit);

private:
    struct Templates {
        std::vector<float> mT, mGx, mGy;
    };

    bool SampleTemplate(float inX, float inY, int inLevel, Templates& outTemplates) const;
    bool SamplePatch(float inX, float inY, int inLevel, std::vector<float>& outPatch) const;
    int SolveLevel(const Templates& inTemplates, float inX, float inY, int inLevel,
                   std::vector<float>& ioParameters, DP::APTMotionModel inModel,
                   const DP::APTTolerances& inTolerances, int inIterationLimit);
    std::vector<float> Interpolate(const DP::ColourPyramidData& inPyramid, int inLevel,
                                   int inLeft, int inTop, int inCols, int inRows, float inFX,
                                   float inFY) const;
    template <class Term>
    float Sum(int inChannel, Term inTerm) const;
    float Correlation(const std::vector<float>& inA, const std::vector<float>& inB) const;

    DP::APTPatchShape mShape;
    const DP::ColourPyramidData& mPrevious;
    const DP::ColourPyramidData& mCurrent;
    std::vector<float> mPatch;  // sampled last
};

}  // namespace Testing
