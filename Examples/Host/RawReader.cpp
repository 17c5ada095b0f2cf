#include "RawReader.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Interrupt.h"
#include "UserError.h"

namespace Host {

RawFormat::Pixels ParsePixels(const std::string& inText) {
    if (inText == "bgra") return RawFormat::Pixels::kBgra;
    if (inText == "rgb24") return RawFormat::Pixels::kRgb24;
    if (inText == "gray8") return RawFormat::Pixels::kGray8;
    throw UserError("raw frames are bgra, rgb24 or gray8; '" + inText + "' is none of them");
}

int RawFormat::BytesPerPixel() const {
    return mPixels == Pixels::kBgra ? 4 : mPixels == Pixels::kRgb24 ? 3 : 1;
}

std::size_t RawFormat::FrameBytes() const {
    return std::size_t(mWidth) * std::size_t(mHeight) * std::size_t(BytesPerPixel());
}

RawReader::RawReader(const std::string& inInput, const RawFormat& inFormat,
                     long long inMaxFrames)
    : mName(inInput == "-" ? "standard input" : inInput),
      mFormat(inFormat),
      mMaxFrames(inMaxFrames),
      mFile(inInput == "-" ? STDIN_FILENO : open(inInput.c_str(), O_RDONLY | O_CLOEXEC)),
      mBytes(inFormat.FrameBytes()) {
    if (mFile < 0) throw UserError("'" + inInput + "' cannot be opened: " + strerror(errno));
}

RawReader::~RawReader() {
    if (mFile != STDIN_FILENO) close(mFile);
}

// A silent pipe must not keep the user from stopping: `read` would go on after a signal, and
// one that came just before would be missed, so the wait is cut into short ones.
bool RawReader::WaitForBytes() const {
    constexpr int kMilliseconds = 100;
    pollfd file{mFile, POLLIN, 0};
    while (!Interrupted())
        if (poll(&file, 1, kMilliseconds) > 0) return true;
    return false;
}

std::size_t RawReader::FillBytes() {
    std::size_t filled = 0;
    while (filled < mBytes.size() && WaitForBytes()) {
        const ssize_t got = read(mFile, mBytes.data() + filled, mBytes.size() - filled);
        if (got == 0) break;
        if (got > 0) filled += std::size_t(got);
        if (got < 0 && errno != EINTR && errno != EAGAIN)
            throw UserError(mName + " cannot be read: " + strerror(errno));
    }
    return filled;
}

void RawReader::NoteShortFrame(std::size_t inBytes) {
    mTrouble = mName + " ends inside frame " + std::to_string(mFramesRead) + ": it has " +
               std::to_string(inBytes) + " of " + std::to_string(mBytes.size()) +
               " bytes and was left out; are the size and the format right?";
    if (mFramesRead == 0) throw UserError(mTrouble);
}

bool RawReader::Read(Frame& outFrame) {
    if (mMaxFrames > 0 && mFramesRead >= mMaxFrames) return false;
    const std::size_t filled = FillBytes();
    if (Interrupted()) return false;  // whoever feeds the pipe was stopped as well
    if (filled < mBytes.size()) {
        if (filled > 0) NoteShortFrame(filled);
        if (mFramesRead == 0) throw UserError(mName + " has no frames in it");
        return false;
    }
    Convert(outFrame);
    ++mFramesRead;
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
