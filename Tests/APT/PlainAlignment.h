// PlainAlignment: the alignments of a point as one would tell them, over whole pyramids. The
// order of the sums is the library's: element i of a channel to partial sum i mod 16, the
// sixteen folded in halves.

#pragma once

#include "APT/APTPatchAlignment.h"
#include "ColourPyramid/ColourPyramidData.h"
#include "Support/Test.h"

namespace Testing {

class PlainAlignment {
public:
    PlainAlignment(const DP::APTPatchShape& inShape, const DP::ColourPyramidData& inPrevious,
                   const DP::ColourPyramidData& inCurrent)
        : mShape(inShape), mPrevious(inPrevious), mCurrent(inCurrent) {}

    /// As `DP::AlignPatch` for a point of the previous frame.
    int Align(DP::APTPoint inPoint, const DP::APTSearch& inSearch, const float* inStart,
              float* outResult);

    /// As `DP::AlignReferencePatch` for templates of the previous frame.
    int AlignReference(DP::APTPoint inPoint, const DP::APTSearch& inSearch,
                       float* ioParameters);

private:
    struct Templates {
        std::vector<float> mT, mGx, mGy;
    };

    std::vector<Templates> SampleLevels(DP::APTPoint inPoint) const;
    bool SampleTemplate(float inX, float inY, int inLevel, Templates& outTemplates) const;
    bool SamplePatch(float inX, float inY, int inLevel, std::vector<float>& outPatch) const;
    int SolveLevel(const Templates& inTemplates, DP::APTPoint inPoint, int inLevel,
                   std::vector<float>& ioParameters, const DP::APTSearch& inSearch);
    bool SampleWarped(const std::vector<float>& inParameters, DP::APTPoint inPoint, int inLevel,
                      std::vector<float>& outPatch) const;
    int SolveWarp(const Templates& inTemplates, DP::APTPoint inPoint, int inLevel,
                  std::vector<float>& ioParameters, const DP::APTSearch& inSearch);
    template <class Solve, class Accept>
    int Descend(std::size_t inLevels, DP::APTPoint inPoint, int inCount, const float* inStart,
                float* outResult, Solve inSolve, Accept inAccept) const;
    struct Block {
        int mLeft, mTop, mCols, mRows;
    };
    std::vector<float> Interpolate(const DP::ColourPyramidData& inPyramid, int inLevel,
                                   const Block& inBlock, float inFX, float inFY) const;
    template <class Term>
    float Sum(int inChannel, Term inTerm) const;
    float Correlation(const std::vector<float>& inA, const std::vector<float>& inB) const;

    DP::APTPatchShape mShape;
    const DP::ColourPyramidData& mPrevious;
    const DP::ColourPyramidData& mCurrent;
    std::vector<float> mPatch;  // sampled last
};

}  // namespace Testing
