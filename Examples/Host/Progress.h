// Progress: how far a run is, on standard error.

#pragma once

#include <string>

#include "Stopwatch.h"

namespace Host {

/// Shows frames done, rate and time left. On a terminal one line is written over and over,
/// five times a second; elsewhere (a log) a line at every tenth of the run, and only of
/// runs that take more than a few seconds.
///
/// Ownership: plain object. The destructor clears the terminal's line.
/// Threads: one thread at a time.
class Progress {
public:
    /// @param inTotal  how many frames there will be; 0 where that is not known.
    Progress(std::string inWhat, long long inTotal);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more frame is done.
    void Advance();

    long long Done() const { return mDone; }
    double Seconds() const { return mStopwatch.Seconds(); }

private:
    std::string Text(double inSeconds) const;
    bool IsStep() const;

    std::string mWhat;
    long long mTotal;
    long long mDone = 0;
    double mLastShown = 0.0;
    bool mTerminal;
    bool mLineOpen = false;
    Stopwatch mStopwatch;
};

}  // namespace Host
