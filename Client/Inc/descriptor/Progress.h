// Progress: how far a run is, and whether it shall go on.

#pragma once

#include <cstdint>
#include <functional>
#include <ranges>
#include <string>
#include <utility>

#include "descriptor/Error.h"

namespace descriptor {

/// How far a run is.
struct Progress {
    std::int64_t done = 0;    ///< frames, or strokes
    std::int64_t total = -1;  ///< of so many; -1: not known
};

/// Called between frames, on the thread that works. False stops the run there.
using ProgressCallback = std::function<bool(const Progress&)>;

/// @throws Cancelled if the callback says stop. An empty callback never does.
inline void report_progress(const ProgressCallback& inCallback, std::int64_t inDone,
                            std::int64_t inTotal) {
    if (!inCallback || inCallback({inDone, inTotal})) return;
    std::string text("stopped after ");
    text.append(std::to_string(inDone));
    if (inTotal >= 0) text.append(" of ").append(std::to_string(inTotal));
    throw Cancelled(text);
}

/// Calls `inStep` with each of the frames (any range of them), and the callback before each.
/// @return  how many were done: all, unless the callback said stop.
template <std::ranges::input_range Frames, class Step>
std::int64_t run(Frames&& ioFrames, Step&& inStep, const ProgressCallback& inCallback = {}) {
    std::int64_t total = -1;
    if constexpr (std::ranges::sized_range<Frames>)
        total = static_cast<std::int64_t>(std::ranges::size(ioFrames));
    std::int64_t done = 0;
    for (auto&& frame : ioFrames) {
        if (inCallback && !inCallback({done, total})) break;
        inStep(frame);
        ++done;
    }
    return done;
}

}  // namespace descriptor
