#include "image/Interruption.h"

#include <algorithm>
#include <utility>

namespace IP {

Watch::Watch(Question inGoesOn, void* inContext)
    : mGoesOn(inGoesOn), mContext(inContext), mOuter(std::exchange(detail::tWatch, this)) {}

Watch::~Watch() { detail::tWatch = mOuter; }

void Watch::EnterStage(double inBegin, double inEnd) {
    mBegin = inBegin;
    mEnd = inEnd;
}

bool Watch::GoesOn(std::int64_t inDone, std::int64_t inOf) {
    const double part =
        inOf > 0 ? static_cast<double>(inDone) / static_cast<double>(inOf) : 0.0;
    mDone = std::max(mDone, mBegin + (mEnd - mBegin) * std::clamp(part, 0.0, 1.0));
    const Unwatched unwatched;
    return mGoesOn(mContext, mDone);
}

Unwatched::Unwatched() : mOuter(std::exchange(detail::tWatch, nullptr)) {}

Unwatched::~Unwatched() { detail::tWatch = mOuter; }

}  // namespace IP
