#include "RawReader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "Interrupt.h"
#include "UserError.h"

namespace Host {
namespace {

// The simplest fraction that is this rate, by its continued fraction: 29.97 is 2997/100. The
// rates of video are wholes over 1001 at worst.
TimeBase TimeBaseOf(double inFrameRate) {
    constexpr double kMost = 1001000.0, kTolerance = 1e-9;
    double numerator = std::floor(inFrameRate), denominator = 1.0;
    double lastNumerator = 1.0, lastDenominator = 0.0;
    double rest = inFrameRate - numerator;
    while (std::abs(numerator / denominator - inFrameRate) > kTolerance * inFrameRate) {
        const double whole = std::floor(1.0 / rest);
        const double nextNumerator = whole * numerator + lastNumerator;
        const double nextDenominator = whole * denominator + lastDenominator;
        if (nextNumerator > kMost) break;
        rest = 1.0 / rest - whole;
        lastNumerator = std::exchange(numerator, nextNumerator);
        lastDenominator = std::exchange(denominator, nextDenominator);
    }
    return {int(denominator), int(numerator)};
}

}  // namespace

RawFormat::Pixels ParsePixels(const std::string& inText) {
    if (inText == "bgra") return RawFormat::Pixels::kBgra;
    if (inText == "rgb24") return RawFormat::Pixels::kRgb24;
    if (inText == "gray8") return RawFormat::Pixels::kGray8;
    throw UsageError("raw frames are bgra, rgb24 or gray8; '" + inText + "' is none of them");
}

int RawFormat::BytesPerPixel() const {
    return mPixels == Pixels::kBgra ? 4 : mPixels == Pixels::kRgb24 ? 3 : 1;
}

std::size_t RawFormat::FrameBytes() const {
    return std::size_t(mWidth) * std::size_t(mHeight) * std::size_t(BytesPerPixel());
}

RawReader::RawReader(const std::string& inInput, const RawFormat& inFormat,
                     long long inMaxFrames)
    : mInput(inInput),
      mFormat(inFormat),
      mMaxFrames(inMaxFrames),
      mTimeBase(TimeBaseOf(inFormat.mFrameRate)),
      mBytes(inFormat.FrameBytes()) {}

std::size_t RawReader::FillBytes() {
    std::size_t filled = 0;
    while (filled < mBytes.size()) {
        const std::size_t got = mInput.Read(mBytes.data() + filled, mBytes.size() - filled);
        if (got == 0) break;
        filled += got;
    }
    return filled;
}

void RawReader::NoteShortFrame(std::size_t inBytes) {
    char time[32];
    std::snprintf(time, sizeof time, " (%.3f s)", mTimeBase.Seconds(mFramesRead));
    mTrouble = mInput.Name() + " ends inside frame " + std::to_string(mFramesRead) + time +
               ": it has " + std::to_string(inBytes) + " of " + std::to_string(mBytes.size()) +
               " bytes and was left out; are the size and the format right?";
    if (mFramesRead == 0) throw UserError(mTrouble);
}

bool RawReader::Read(Frame& outFrame) {
    if (mMaxFrames > 0 && mFramesRead >= mMaxFrames) return false;
    const std::size_t filled = FillBytes();
    if (Interrupted()) return false;  // whoever feeds the pipe was stopped as well
    if (filled < mBytes.size()) {
        if (filled > 0) NoteShortFrame(filled);
        if (mFramesRead == 0) throw UserError(mInput.Name() + " has no frames in it");
        return false;
    }
    Convert(outFrame);
    outFrame.mTime = mFramesRead++;
    outFrame.mDuration = 1;
    return true;
}

void RawReader::Convert(Frame& outFrame) const {
    outFrame.Resize(mFormat.mWidth, mFormat.mHeight);
    const bool grey = mFormat.mPixels == RawFormat::Pixels::kGray8;
    if (mFormat.mPixels == RawFormat::Pixels::kBgra) {
        std::copy(mBytes.begin(), mBytes.end(), outFrame.mPixels.begin());
    } else {
        const std::size_t step = grey ? 1 : 3;
        for (std::size_t i = 0; i < outFrame.PixelCount(); ++i) {
            const std::uint8_t* const from = mBytes.data() + i * step;
            std::uint8_t* const to = outFrame.mPixels.data() + i * 4;
            to[0] = from[step - 1];
            to[1] = from[step / 2];
            to[2] = from[0];
            to[3] = 255;
        }
    }
    if (grey) outFrame.mGrey = mBytes;
    outFrame.Finish();
}

}  // namespace Host
