// Progress: how far a run is, on standard error.

#pragma once

#include <string>

#include "Stopwatch.h"

namespace Host {

/// Shows frames done, rate and time left. As text: on a terminal one line is written over and
/// over, five times a second; elsewhere (a log) a line at every tenth of the run, and only of
/// runs that take more than a few seconds. As JSON: an object a line, five times a second and
/// at the end.
///
/// Ownership: plain object. The destructor clears the terminal's line.
/// Threads: one thread at a time.
class Progress {
public:
    /// @param inTotal  how many frames there will be; 0 where that is not known.
    /// @param inForm  `text`, `json` or `none`.
    Progress(std::string inWhat, long long inTotal, const std::string& inForm);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more frame is done.
    void Advance();

    double Seconds() const { return mStopwatch.Seconds(); }

private:
    std::string Text(double inSeconds) const;
    void ShowJson(double inSeconds) const;
    void ShowText(double inSeconds);
    bool IsStep() const;

    std::string mWhat, mForm;
    long long mTotal;
    long long mDone = 0;
    double mLastShown = -1.0;
    bool mTerminal;
    bool mLineOpen = false;
    Stopwatch mStopwatch;
};

}  // namespace Host
