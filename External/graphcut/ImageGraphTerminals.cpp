// The terminal energies of an ImageGraph: what strokes, bias and fit make of a pixel.
//
//                 H, or the bias               H where stroked as foreground
//        source ------------------> node ------------------> sink
//     (background)                                        (foreground)
//
// H is so large that no cut takes it, and so small that a region all of whose pixels are
// stroked stays finite. Beside it the bias is lost to rounding: a pixel that changes from
// one side to the other leaves 0 behind, and not the bias of its region's other pixels.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "External/graphcut/ImageGraphParts.h"
#include "image/Interruption.h"

namespace graphcut {

float HardCapacity(std::int32_t inMaxRegionPixels) {
    return static_cast<float>(double{std::numeric_limits<float>::max()} /
                              (inMaxRegionPixels * 2.0));
}

}  // namespace graphcut

namespace {

// The graph's terminals, as these operations take them for granted.
constexpr unsigned int kSource = 0;
constexpr unsigned int kSink = 1;

struct Energies {
    float mSource;
    float mSink;
};

// A stroke's, and a pixel's that none covers.
Energies StrokedEnergies(bool inIsForeground, float inHard) {
    return inIsForeground ? Energies{0, inHard} : Energies{inHard, 0};
}

// What pixels without a stroke get, by their fit: a table, since the fit has 8 bits and a
// logarithm is dear.
class UnstrokedEnergies {
public:
    UnstrokedEnergies(double inBiasWeight, TerminalEnergyMode inMode, bool inBiasTowardSource,
                      float inHard)
        : mSourceBias(inBiasTowardSource ? static_cast<float>(inBiasWeight) : 0.0f),
          mSinkBias(inBiasTowardSource ? 0.0f : static_cast<float>(inBiasWeight)),
          mTowardSource(inBiasTowardSource),
          mHard(inHard) {
        for (int fit = 0; fit < 256; ++fit)
            mByFit[static_cast<std::size_t>(fit)] = Evaluate(inMode, fit);
    }

    const Energies& ByFit(unsigned char inFit) const { return mByFit[inFit]; }

private:
    Energies Evaluate(TerminalEnergyMode inMode, int inFit) const {
        const double p = inFit / 255.0;
        switch (inMode) {
            case kTerminalEnergyFit:
                return {SourceLog(p), SinkLog(p)};
            case kTerminalEnergyBlendedFit:
                return Blend(p);
            case kTerminalEnergyClippedFit:
                if (mTowardSource && p > 0.5) return {0, mHard};
                if (!mTowardSource && p < 0.5) return {mHard, 0};
                return Blend(p);
            default:
                return {mSourceBias * Infinity(), mSinkBias * Infinity()};
        }
    }

    // Double on widened floats, from left to right.
    Energies Blend(double inP) const {
        const double a = mSourceBias, b = mSinkBias;
        const double infinity = Infinity(), sourceLog = SourceLog(inP), sinkLog = SinkLog(inP);
        if (mTowardSource)
            return {static_cast<float>((1 - inP) * a * infinity + sourceLog * inP),
                    static_cast<float>((1 - inP) * b * infinity + sinkLog * inP)};
        return {static_cast<float>(a * inP * infinity + sourceLog * (1 - inP)),
                static_cast<float>(b * inP * infinity + sinkLog * (1 - inP))};
    }

    // Stands in for the logarithm of 1 / 0: twice the full scale of 8 bits.
    static float Infinity() { return static_cast<float>(std::log(510.0)); }
    static float SourceLog(double inP) {
        return inP > 0 ? static_cast<float>(std::log(1 / inP)) : Infinity();
    }
    static float SinkLog(double inP) {
        return inP < 1 ? static_cast<float>(std::log(1 / (1 - inP))) : Infinity();
    }

    float mSourceBias;
    float mSinkBias;
    bool mTowardSource;
    float mHard;
    std::array<Energies, 256> mByFit;
};

// What the pixels of an area get. Images have a byte a pixel and rows of their own length.
class AreaEnergies {
public:
    struct Image {
        const unsigned char* mSamples;
        int mStride;
        unsigned char At(std::ptrdiff_t inRow, std::ptrdiff_t inColumn) const {
            return mSamples[inRow * mStride + inColumn];
        }
    };

    AreaEnergies(const Image& inForeground, const Image& inBackground, const Image& inFit,
                 unsigned char inThreshold, TerminalEnergyMode inMode,
                 const UnstrokedEnergies& inUnstroked, float inHard)
        : mForeground(inForeground),
          mBackground(inBackground),
          mFit(inFit),
          mThreshold(inThreshold),
          mIsKnownMode(inMode >= kTerminalEnergyStrokesOnly &&
                       inMode <= kTerminalEnergyClippedFit),
          mReadsFit(inMode != kTerminalEnergyStrokesOnly),
          mUnstroked(inUnstroked),
          mHard(inHard) {}

    // Whether pixels differ by the strokes alone.
    bool IsOfStrokes() const { return mIsKnownMode && !mReadsFit; }

    // False for a pixel that is to be left alone.
    bool Find(std::ptrdiff_t inRow, std::ptrdiff_t inColumn, Energies& outEnergies) const {
        if (mForeground.At(inRow, inColumn) > mThreshold)
            outEnergies = StrokedEnergies(true, mHard);
        else if (mBackground.At(inRow, inColumn) > mThreshold)
            outEnergies = StrokedEnergies(false, mHard);
        else if (mIsKnownMode)
            outEnergies = mUnstroked.ByFit(mReadsFit ? mFit.At(inRow, inColumn) : 0);
        else
            return false;
        return true;
    }

private:
    Image mForeground;
    Image mBackground;
    Image mFit;
    unsigned char mThreshold;
    bool mIsKnownMode;
    bool mReadsFit;
    const UnstrokedEnergies& mUnstroked;
    float mHard;
};

// Moves a node's capacities by what its pixel's energies moved.
Energies Moved(const Energies& inCapacities, float inSourceBy, float inSinkBy) {
    const float source = inCapacities.mSource + inSourceBy;
    const float sink = inCapacities.mSink + inSinkBy;
    return {source < 0 ? 0 : source, sink < 0 ? 0 : sink};
}

Energies CapacitiesOf(const FlowGraph& inGraph, unsigned int inNode) {
    const TerminalValues capacities = inGraph.GetTerminalCapacities(inNode, kSource, kSink);
    return {capacities.mFromSource, capacities.mToSink};
}

}  // namespace

// Gives the pixel at `inPlace` of the node image its energies. `inSkipUnchanged` saves the
// update of a region's node whose pixel had them already.
void ImageGraph::SetPixelTerminals(std::ptrdiff_t inPlace, float inSource, float inSink,
                                   bool inSkipUnchanged) {
    const unsigned int node = mNodeImage[inPlace];
    Energies capacities{inSource, inSink};
    if (mRegionMode) {
        float& storedSource = mPixelSourceEnergies[static_cast<std::size_t>(inPlace)];
        float& storedSink = mPixelSinkEnergies[static_cast<std::size_t>(inPlace)];
        const float sourceBy = inSource - storedSource;
        const float sinkBy = inSink - storedSink;
        storedSource = inSource;
        storedSink = inSink;
        if (inSkipUnchanged && sourceBy == 0 && sinkBy == 0) return;
        capacities = Moved(CapacitiesOf(*mFlowGraph, node), sourceBy, sinkBy);
    }
    mFlowGraph->SetTerminalCapacities(node, capacities.mSource, capacities.mSink, kSource,
                                      kSink);
}

namespace {

// The terminal capacities of all nodes while a pass over the pixels moves them. They are
// read from the graph before and written to it after, and in between they are close
// together: for a graph that has not been solved the capacities are all there is.
class NodeCapacities {
public:
    explicit NodeCapacities(FlowGraph& ioGraph)
        : mGraph(ioGraph), mCapacities(ioGraph.mNodeCount) {
        for (unsigned int node = 0; node < ioGraph.mNodeCount; ++node)
            mCapacities[node] = {CapacitiesOf(ioGraph, node), false};
    }
    void Move(unsigned int inNode, float inSourceBy, float inSinkBy) {
        Entry& entry = mCapacities[inNode];
        entry = {Moved(entry.mEnergies, inSourceBy, inSinkBy), true};
    }
    void Write() const {
        for (unsigned int node = 0; node < mGraph.mNodeCount; ++node)
            if (mCapacities[node].mMoved)
                mGraph.SetTerminalCapacities(node, mCapacities[node].mEnergies.mSource,
                                             mCapacities[node].mEnergies.mSink, kSource, kSink);
    }

private:
    struct Entry {
        Energies mEnergies;
        bool mMoved;
    };
    FlowGraph& mGraph;
    IP::RecycledVector<Entry> mCapacities;
};

}  // namespace

namespace {

// Most of a stroke image is empty and is passed over in blocks.
constexpr std::ptrdiff_t kStrokeBlock = 64;

bool IsAnyAbove(const unsigned char* inLeft, const unsigned char* inRight,
                std::ptrdiff_t inCount, unsigned char inThreshold) {
    unsigned char most = 0;
    for (std::ptrdiff_t i = 0; i < inCount; ++i)
        most = std::max(most, std::max(inLeft[i], inRight[i]));
    return most > inThreshold;
}

}  // namespace

void ImageGraph::SetTerminalEnergies(
    const unsigned char* /*inCurrentLabels*/, const unsigned char* inFit,
    const unsigned char* inForeground, const unsigned char* inBackground, double inBiasWeight,
    TerminalEnergyMode inMode, bool inBiasTowardSource, unsigned char inThreshold, int inRows,
    int inColumns, int inLeft, int inTop, int /*inCurrentLabelStride*/, int inFitStride,
    int inForegroundStride, int inBackgroundStride) {
    if (!mNodeImage) return;
    const float hard = graphcut::HardCapacity(mMaxRegionPixels);
    const UnstrokedEnergies unstroked(inBiasWeight, inMode, inBiasTowardSource, hard);
    const AreaEnergies energies({inForeground, inForegroundStride},
                                {inBackground, inBackgroundStride}, {inFit, inFitStride},
                                inThreshold, inMode, unstroked, hard);

    // Strokes over the whole graph without gaps: both images are then one row of pixels.
    const bool isWhole = inRows == mRows && inColumns == mColumns && inLeft == mLeft &&
                         inTop == mTop && inForegroundStride == inColumns &&
                         inBackgroundStride == inColumns;
    const Energies& bias = unstroked.ByFit(0);
    if (isWhole && energies.IsOfStrokes() &&
        SetFirstEnergies(inForeground, inBackground, {bias.mSource, bias.mSink}, inThreshold))
        return;
    mHasNoEnergies = false;
    SetEachPixel([&](auto inSet) {
        VisitPixels(inRows, inColumns, inLeft, inTop,
                    [&](std::ptrdiff_t inRow, std::ptrdiff_t inColumn, std::ptrdiff_t inPlace) {
                        Energies own;
                        if (energies.Find(inRow, inColumn, own))
                            inSet(inPlace, own.mSource, own.mSink);
                    });
    });
}

// `inVisit(set)` calls `set(place, source, sink)` for each pixel that gets energies.
template <class Visit>
void ImageGraph::SetEachPixel(Visit inVisit) {
    if (!mRegionMode || mFlowGraph->IsDynamicAndSolved()) {
        inVisit([&](std::ptrdiff_t inPlace, float inSource, float inSink) {
            SetPixelTerminals(inPlace, inSource, inSink, false);
        });
        return;
    }
    NodeCapacities capacities(*mFlowGraph);
    inVisit([&](std::ptrdiff_t inPlace, float inSource, float inSink) {
        float& source = mPixelSourceEnergies[static_cast<std::size_t>(inPlace)];
        float& sink = mPixelSinkEnergies[static_cast<std::size_t>(inPlace)];
        capacities.Move(mNodeImage[inPlace], inSource - source, inSink - sink);
        source = inSource;
        sink = inSink;
    });
    capacities.Write();
}

// The first energies of a graph of regions, whose pixels differ by the strokes alone. The
// capacity of a region without strokes rests on its size: as many times the same energy are
// added up as it has pixels. Only the regions under strokes are walked pixel by pixel.
bool ImageGraph::SetFirstEnergies(const unsigned char* inForeground,
                                  const unsigned char* inBackground, TerminalValues inUnstroked,
                                  unsigned char inThreshold) {
    if (!AwaitsFirstEnergies()) return false;
    mHasNoEnergies = false;
    SetUnstrokedRegions(inUnstroked);

    // A region under strokes is walked once, at its first stroked pixel.
    std::vector<bool> isDone(mFlowGraph->mNodeCount);
    const auto pixels = static_cast<std::ptrdiff_t>(mPixelSourceEnergies.size());
    for (std::ptrdiff_t begin = 0; begin < pixels; begin += kStrokeBlock) {
        IP::SparseCheckpoint(begin, 0);
        const std::ptrdiff_t end = std::min(begin + kStrokeBlock, pixels);
        if (!IsAnyAbove(inForeground + begin, inBackground + begin, end - begin, inThreshold))
            continue;
        for (std::ptrdiff_t i = begin; i < end; ++i) {
            if (inForeground[i] <= inThreshold && inBackground[i] <= inThreshold) continue;
            const unsigned int node = mNodeImage[i];
            if (isDone[node]) continue;
            isDone[node] = true;
            SetStrokedRegion(node, inForeground, inBackground, inUnstroked, inThreshold);
        }
    }
    return true;
}

// For a graph that nobody has solved and whose terminal arcs are home; any other goes pixel by
// pixel, as all further energies do.
//
// Whether all capacities are 0, and each region is known with all its pixels.
bool ImageGraph::AwaitsFirstEnergies() const {
    if (!mRegionMode || mRegions.empty() || !mHasNoEnergies || mFlowGraph->mSolved ||
        !mFlowGraph->HasHomeTerminals() ||
        mFlowGraph->mNodeCount != mRegionCount + kFirstRegion)
        return false;
    return std::ranges::all_of(
        mFlowGraph->mHomeCapacities, [](const TerminalValues& inCapacities) {
            return inCapacities.mFromSource == 0 && inCapacities.mToSink == 0;
        });
}

void ImageGraph::SetUnstrokedRegions(TerminalValues inUnstroked) {
    // Added up and not multiplied: the roundings are those of pixel after pixel.
    std::vector<Energies> sums(1, Energies{0, 0});  // by the number of pixels
    for (unsigned int region = 0; region < mRegionCount; ++region) {
        IP::SparseCheckpoint(region, 0);
        const unsigned int pixels = mRegions[region].mPixels;
        while (sums.size() <= pixels)
            sums.push_back(Moved(sums.back(), inUnstroked.mFromSource, inUnstroked.mToSink));
        mFlowGraph->SetTerminalCapacities(region + kFirstRegion, sums[pixels].mSource,
                                          sums[pixels].mSink, kSource, kSink);
    }
    IP::Checkpoint(0, 0);
    std::fill(mPixelSourceEnergies.begin(), mPixelSourceEnergies.end(),
              inUnstroked.mFromSource);
    if (inUnstroked.mToSink != 0)
        std::fill(mPixelSinkEnergies.begin(), mPixelSinkEnergies.end(), inUnstroked.mToSink);
    IP::Checkpoint(0, 0);
}

void ImageGraph::SetStrokedRegion(unsigned int inNode, const unsigned char* inForeground,
                                  const unsigned char* inBackground, TerminalValues inUnstroked,
                                  unsigned char inThreshold) {
    const float hard = graphcut::HardCapacity(mMaxRegionPixels);
    Energies capacities{0, 0};
    VisitRegion(inNode, [&](std::ptrdiff_t inIndex) {
        Energies energies{inUnstroked.mFromSource, inUnstroked.mToSink};
        if (inForeground[inIndex] > inThreshold || inBackground[inIndex] > inThreshold)
            energies = StrokedEnergies(inForeground[inIndex] > inThreshold, hard);
        mPixelSourceEnergies[std::size_t(inIndex)] = energies.mSource;
        mPixelSinkEnergies[std::size_t(inIndex)] = energies.mSink;
        capacities = Moved(capacities, energies.mSource, energies.mSink);
    });
    mFlowGraph->SetTerminalCapacities(inNode, capacities.mSource, capacities.mSink, kSource,
                                      kSink);
}

void ImageGraph::SetStrokeEnergies(const unsigned char* inForeground,
                                   const unsigned char* inBackground, unsigned char inThreshold,
                                   int inRows, int inColumns, int inLeft, int inTop,
                                   int inForegroundStride, int inBackgroundStride) {
    const float hard = graphcut::HardCapacity(mMaxRegionPixels);
    mHasNoEnergies = false;
    for (const GraphRow row : GraphRows(*this, inRows, inColumns, inLeft, inTop)) {
        const unsigned char* const foreground =
            inForeground + row.mAreaRow * inForegroundStride - row.mAreaX;
        const unsigned char* const background =
            inBackground + row.mAreaRow * inBackgroundStride - row.mAreaX;
        const std::ptrdiff_t first = row.mY * mColumns;
        for (std::ptrdiff_t begin = row.mFirstX; begin < row.mEndX; begin += kStrokeBlock) {
            const std::ptrdiff_t end = std::min(begin + kStrokeBlock, row.mEndX);
            if (!IsAnyAbove(foreground + begin, background + begin, end - begin, inThreshold))
                continue;
            for (std::ptrdiff_t x = begin; x < end; ++x) {
                if (foreground[x] > inThreshold)
                    SetPixelTerminals(first + x, 0, hard, true);
                else if (background[x] > inThreshold)
                    SetPixelTerminals(first + x, hard, 0, true);
            }
        }
    }
}
