// TreePath: the way from a node to the root of its tree that was filled last.

#pragma once

#include <cstddef>
#include <vector>

/// The nodes of a way, and the residuals of their parent arcs: along the tree's flow, and
/// against it. A way is cut mostly near the root when it is filled, so that the next one has
/// all but a few nodes in common with it; and residuals that stand one behind the other are
/// filled many at a time.
///
///     leaf ------> node ------> node ------> node ------> root
///        [ along ]    [ along ]    [ along ]    [ along ]
///        [ back  ]    [ back  ]    [ back  ]    [ back  ]
///
/// Ownership: of its own.
/// Threads: one thread at a time.
/// Errors: `MakeRoom` passes `std::bad_alloc` and `std::length_error` through and changes
///   nothing then. Nothing else throws where there is room.
class TreePath {
public:
    struct Step {
        unsigned int mNode;
        float mAlong;
        float mBack;
    };

    std::size_t GetSize() const { return mNodes.size(); }
    bool IsEmpty() const { return mNodes.empty(); }
    Step StepAt(std::size_t inIndex) const {
        return {mNodes[inIndex], mAlong[inIndex], mBack[inIndex]};
    }
    Step LastStep() const { return StepAt(GetSize() - 1); }

    /// @name Places
    ///
    /// What a node keeps to be found by. Its index changes when steps are put in front of it
    /// or taken away there, its place does not.
    /// @{
    unsigned int PlaceOf(std::size_t inIndex) const {
        return (mFirstPlace + static_cast<unsigned int>(inIndex)) & kPlaces;
    }
    std::size_t IndexOf(unsigned int inPlace) const {
        return (inPlace - mFirstPlace) & kPlaces;
    }
    /// @}

    /// Room for so many steps in all. Whoever moves residuals between arcs and steps makes
    /// room first, so that none is lost half way.
    void MakeRoom(std::size_t inSteps);

    void SetStep(std::size_t inIndex, const Step& inStep) {
        mNodes[inIndex] = inStep.mNode;
        mAlong[inIndex] = inStep.mAlong;
        mBack[inIndex] = inStep.mBack;
    }
    void Append(const Step& inStep) {
        mNodes.push_back(inStep.mNode);
        mAlong.push_back(inStep.mAlong);
        mBack.push_back(inStep.mBack);
    }
    void RemoveLast() {
        mNodes.pop_back();
        mAlong.pop_back();
        mBack.pop_back();
    }

    /// Puts `inNew` steps, which are still to be set, in the place of the first `inOld`.
    void ReplaceFront(std::size_t inOld, std::size_t inNew);

    /// The smallest residual along, or `inMost` if that is smaller.
    float Bottleneck(float inMost) const;

    /// Fills the way. Appends the nodes whose residual along is 0 then, from the leaf.
    void Push(float inFlow, std::vector<unsigned int>& ioFull);

private:
    static constexpr unsigned int kPlaces = 0x7fffffff;  // they go round

    unsigned int mFirstPlace = 0;
    std::vector<unsigned int> mNodes;
    std::vector<float> mAlong;
    std::vector<float> mBack;
};
