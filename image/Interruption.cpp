// The stack of watches is a list through the watches themselves: one variable a thread, which
// is null where nobody watches, and that is all that a computation without a watch looks at.

#include "image/Interruption.h"

#include <algorithm>
#include <utility>

namespace IP {

// Watches nest: the innermost of a thread is asked, and the one outside it is back when it
// ends.
Watch::Watch(Question inGoesOn, void* inContext)
    : mGoesOn(inGoesOn), mContext(inContext), mOuter(std::exchange(detail::tWatch, this)) {}

Watch::~Watch() { detail::tWatch = mOuter; }

void Watch::EnterStage(double inBegin, double inEnd) {
    mBegin = inBegin;
    mEnd = inEnd;
}

// How much is done never falls, though a stage may be entered again with less of it done. While
// the question is asked nothing is watched: what the host computes in there is its own affair.
bool Watch::GoesOn(std::int64_t inDone, std::int64_t inOf) {
    // Stages may overlap, and a step may count again from 0: what was told stays.
    const double part =
        inOf > 0 ? static_cast<double>(inDone) / static_cast<double>(inOf) : 0.0;
    mDone = std::max(mDone, mBegin + (mEnd - mBegin) * std::clamp(part, 0.0, 1.0));
    const Unwatched unwatched;
    return mGoesOn(mContext, mDone);
}

Unwatched::Unwatched() : mOuter(std::exchange(detail::tWatch, nullptr)) {}

Unwatched::~Unwatched() { detail::tWatch = mOuter; }

}  // namespace IP
