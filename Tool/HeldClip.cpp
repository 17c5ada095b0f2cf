#include "HeldClip.h"

#include <iostream>

#include "Interrupt.h"
#include "UserError.h"

namespace Host {

HeldClip::HeldClip(FrameSource& ioSource) : mSource(ioSource) {
    constexpr std::size_t kMostBytes = std::size_t(2) << 30;
    std::size_t bytes = 0;
    for (;;) {
        auto frame = std::make_unique<Frame>();
        if (Interrupted()) throw UserError("the clip was not read to its end");
        if (!mSource.Read(*frame)) {
            mLastSound = frame->mSound;
            break;
        }
        bytes += frame->mPixels.size();
        mFrames.push_back(std::move(frame));
        if (bytes <= kMostBytes) continue;
        std::cerr << "descriptor-host: the window has the first " << mFrames.size()
                  << " frames; there is no room in memory for more\n";
        break;
    }
    if (mFrames.empty()) throw UserError("'" + Name() + "' has no frames in it");
}

bool HeldClip::Read(Frame& outFrame) {
    if (mNext == mFrames.size()) {
        outFrame.mSound = mLastSound;
        return false;
    }
    outFrame = *mFrames[mNext++];
    return true;
}

}  // namespace Host
