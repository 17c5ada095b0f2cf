// InterruptibleItem: what the worker items have in common whose computation can be stopped.

#pragma once

#include <exception>
#include <utility>

#include "DP/IDescriptorData.h"
#include "DP/IInterruptibleWorkerItem.h"
#include "DP/Ref.h"
#include "image/Interruption.h"

namespace DP {

/// The last base of such an item; it answers to the interface's identifier.
class InterruptibleItem : public IInterruptibleWorkerItem {
public:
    void SetProgressCallback(ProgressCallback inCallback, void* inContext) override {
        mCallback = inCallback;
        mContext = inContext;
    }
    bool WasInterrupted() override { return mWasInterrupted; }

protected:
    /// Runs what makes the item's data, watched by the callback if there is one. Null where
    /// that said stop. Without one nobody watches: a host's own object may request the item
    /// in the middle of another one's computation, and is no part of that.
    template <class Compute>
    Ref<IDescriptorData> RunWatched(Compute inCompute) {
        mWasInterrupted = false;
        if (mCallback == nullptr) {
            const IP::Unwatched unwatched;
            return inCompute();
        }
        mFailure = nullptr;
        const IP::Watch watch(&InterruptibleItem::Ask, this);
        try {
            return inCompute();
        } catch (const IP::Interrupted&) {
            if (mFailure != nullptr) std::rethrow_exception(std::exchange(mFailure, nullptr));
            mWasInterrupted = true;
            return {};
        }
    }

private:
    // A callback that throws ends the computation by the same way as one that says stop.
    static bool Ask(void* inItem, double inDone) {
        auto& self = *static_cast<InterruptibleItem*>(inItem);
        try {
            return self.mCallback(self.mContext, inDone);
        } catch (...) {
            self.mFailure = std::current_exception();
            return false;
        }
    }

    ProgressCallback mCallback = nullptr;
    void* mContext = nullptr;  // the host's
    bool mWasInterrupted = false;
    std::exception_ptr mFailure;  // of the callback
};

}  // namespace DP

namespace TVK {

template <>
inline constexpr InterfaceID kIdentifierOf<DP::InterruptibleItem> =
    kIdentifierOf<DP::IInterruptibleWorkerItem>;

}  // namespace TVK
