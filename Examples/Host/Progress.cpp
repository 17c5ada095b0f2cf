#include "Progress.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <utility>

namespace Host {
namespace {

constexpr double kRedrawSeconds = 0.2;
constexpr double kQuietSeconds = 3.0;
constexpr long long kStepOfUnknownLength = 250;

std::string TimeText(double inSeconds) {
    const long long seconds = std::llround(inSeconds);
    if (seconds < 60) return std::to_string(seconds) + " s";
    return std::to_string(seconds / 60) + " min " + std::to_string(seconds % 60) + " s";
}

}  // namespace

Progress::Progress(std::string inWhat, long long inTotal)
    : mWhat(std::move(inWhat)), mTotal(inTotal), mTerminal(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (mLineOpen) std::fputs("\r\033[K", stderr);
}

void Progress::Advance() {
    ++mDone;
    const double seconds = Seconds();
    if (mTerminal && seconds - mLastShown >= kRedrawSeconds) {
        std::fprintf(stderr, "\r\033[K%s", Text(seconds).c_str());
        std::fflush(stderr);
        mLineOpen = true;
        mLastShown = seconds;
    } else if (!mTerminal && seconds >= kQuietSeconds && IsStep()) {
        std::fprintf(stderr, "%s\n", Text(seconds).c_str());
    }
}

bool Progress::IsStep() const {
    if (mTotal <= 0) return mDone % kStepOfUnknownLength == 0;
    return mDone * 10 / mTotal != (mDone - 1) * 10 / mTotal && mDone < mTotal;
}

std::string Progress::Text(double inSeconds) const {
    const double rate = inSeconds > 0.0 ? double(mDone) / inSeconds : 0.0;
    char rateText[32];
    std::snprintf(rateText, sizeof rateText, "%.1f frames/s", rate);
    std::string text = mWhat + ": " + std::to_string(mDone);
    if (mTotal > 0) text += " of " + std::to_string(mTotal);
    text += std::string(" frames, ") + rateText;
    if (mTotal > mDone && rate > 0.0)
        text += ", " + TimeText(double(mTotal - mDone) / rate) + " left";
    return text;
}

}  // namespace Host
