// The same work twice at once: on two threads of one process, or in two processes.

#pragma once

#include "Benchmarks/Support/Clips.h"

namespace Bench {

/// Milliseconds by the wall clock, from the moment when both are warm until both are done.
/// Each follows 500 points by both trackers, on a source of its own.
double TwoThreads(const Clip& inClip);
double TwoProcesses(const Clip& inClip);

}  // namespace Bench
