#include "Progress.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "JsonFile.h"
#include "System.h"

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

Progress::Progress(std::string inWhat, long long inTotal, const std::string& inForm)
    : mWhat(std::move(inWhat)),
      mForm(inForm),
      mTotal(inTotal),
      mTerminal(IsErrorsATerminal()) {}

Progress::~Progress() {
    if (mLineOpen) std::fputs("\r\033[K", stderr);
    if (mForm == "json") ShowJson(Seconds());
}

void Progress::Advance() {
    ++mDone;
    const double seconds = Seconds();
    if (mForm == "text") ShowText(seconds);
    if (mForm != "json" || seconds - mLastShown < kRedrawSeconds) return;
    ShowJson(seconds);
    mLastShown = seconds;
}

void Progress::ShowJson(double inSeconds) const {
    Json line{{"progress", mWhat}, {"frames", mDone}, {"seconds", inSeconds}};
    if (mTotal > 0) line["total"] = mTotal;
    std::fprintf(stderr, "%s\n", JsonText(line).c_str());
}

void Progress::ShowText(double inSeconds) {
    if (mTerminal && inSeconds - mLastShown >= kRedrawSeconds) {
        // A line that is wider than the terminal could not be written over.
        const std::string text = Text(inSeconds);
        const std::string fitting = text.substr(0, TerminalWidth() - 1);
        std::fprintf(stderr, "\r\033[K%s", fitting.c_str());
        std::fflush(stderr);
        mLineOpen = true;
        mLastShown = inSeconds;
    } else if (!mTerminal && inSeconds >= kQuietSeconds && IsStep()) {
        std::fprintf(stderr, "%s\n", Text(inSeconds).c_str());
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
