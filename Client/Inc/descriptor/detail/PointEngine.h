// What the two point trackers have in common.

#pragma once

#include <vector>

#include "descriptor/Frame.h"
#include "descriptor/PointSettings.h"
#include "descriptor/Points.h"
#include "descriptor/detail/Request.h"

namespace descriptor::detail {

class PointEngine {
public:
    PointEngine() = default;
    PointEngine(const PointEngine&) = delete;
    PointEngine& operator=(const PointEngine&) = delete;
    virtual ~PointEngine() = default;

    /// Takes the next frame. True where it is the frame before once more and no step may be
    /// made with it.
    virtual bool holds(const Frame& inFrame) = 0;
    /// Whether the frame taken is the one before once more, though a step is made.
    virtual bool is_repeated() const { return false; }
    /// The slots in the frame that was taken.
    virtual std::vector<Slot> step(const RunName& inRun, long long inNumber) = 0;
    /// The slots of the last step, followed back into the frame before it.
    virtual std::vector<Slot> step_back(const RunName& inRun, long long inNumber) = 0;
    /// Forgets the last frame: the next one is a first.
    virtual void restart() = 0;
};

}  // namespace descriptor::detail
