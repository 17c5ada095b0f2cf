#include "External/graphcut/TreePath.h"

#include <algorithm>

namespace {

template <class T>
void ResizeFront(std::vector<T>& ioVector, std::size_t inOld, std::size_t inNew) {
    if (inNew > inOld)
        ioVector.insert(ioVector.begin(), inNew - inOld, T());
    else
        ioVector.erase(ioVector.begin(),
                       ioVector.begin() + static_cast<std::ptrdiff_t>(inOld - inNew));
}

template <class T>
void Reserve(std::vector<T>& ioVector, std::size_t inSize) {
    if (ioVector.capacity() < inSize)
        ioVector.reserve(std::max(inSize, 2 * ioVector.capacity()));
}

}  // namespace

void TreePath::MakeRoom(std::size_t inSteps) {
    Reserve(mNodes, inSteps);
    Reserve(mAlong, inSteps);
    Reserve(mBack, inSteps);
}

// The steps behind the front keep their places, since what is counted from is moved along
// with them.
void TreePath::ReplaceFront(std::size_t inOld, std::size_t inNew) {
    ResizeFront(mNodes, inOld, inNew);
    ResizeFront(mAlong, inOld, inNew);
    ResizeFront(mBack, inOld, inNew);
    mFirstPlace += static_cast<unsigned int>(inOld - inNew);
}

// The least of all residuals along the way. Eight minima side by side, since one alone would
// be a chain in which each comparison waits for the last; a minimum does not depend on the
// order in which it is taken.
float TreePath::Bottleneck(float inMost) const {
    constexpr std::size_t kLanes = 8;
    float most[kLanes];
    std::fill_n(most, kLanes, inMost);
    const std::size_t size = mAlong.size();
    std::size_t i = 0;
    for (; i + kLanes <= size; i += kLanes)
        for (std::size_t lane = 0; lane < kLanes; ++lane)
            most[lane] = std::min(most[lane], mAlong[i + lane]);
    for (; i < size; ++i)
        most[0] = std::min(most[0], mAlong[i]);
    return *std::min_element(most, most + kLanes);
}

// Two loops over arrays, and a third that finds the arcs that are full: a test inside the
// first would keep it from being vector code.
void TreePath::Push(float inFlow, std::vector<unsigned int>& ioFull) {
    for (float& along : mAlong)
        along -= inFlow;
    for (float& back : mBack)
        back += inFlow;
    for (std::size_t i = 0; i < mAlong.size(); ++i)
        if (mAlong[i] == 0) ioFull.push_back(mNodes[i]);
}
