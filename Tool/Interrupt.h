// Ctrl-C ends a run between two frames.

#pragma once

namespace Host {

/// From now on the first SIGINT (and SIGTERM) only sets a flag; a second one ends the
/// process as usual.
void CatchInterrupts();

/// Whether the user asked to stop.
bool Interrupted();

/// The exit code of a run that was stopped, as shells know it.
inline constexpr int kInterruptedExitCode = 130;

}  // namespace Host
