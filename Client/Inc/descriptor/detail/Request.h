// One request to the library.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "DP/DescriptorFactory.h"
#include "DP/IInterruptibleWorkerItem.h"
#include "descriptor/Caches.h"
#include "descriptor/Progress.h"
#include "descriptor/Source.h"
#include "descriptor/detail/Library.h"
#include "quillet/UTF8ToUTF16.h"

namespace descriptor::detail {

/// A computer of one object alone, taken from the manager's list when the object dies.
///
/// Two trackers with equal properties would share a computer, and with it the engine and its
/// memory of first patches. The property's source is a text of the object's own, so that
/// each has an engine of its own, and so that the right one is removed.
class OwnComputer {
public:
    /// `inMake` makes the property for a source text.
    template <class MakeProperty>
    OwnComputer(const char* inWhat, const quillet::WideString& inSource, MakeProperty inMake)
        : mSource(inSource) {
        mComputer =
            call_library(inWhat, [&] { return DP::CreateDescriptorComputer(inMake(mSource)); });
    }
    ~OwnComputer() {
        try {
            DP::CreateDescriptorComputerMgr()->RemoveDescriptorComputers(mSource);
        } catch (...) {
            // Without memory for the removal the computer stays listed until a flush.
        }
    }
    OwnComputer(const OwnComputer&) = delete;
    OwnComputer& operator=(const OwnComputer&) = delete;

    const DP::Ref<DP::IDescriptorComputer>& get() const { return mComputer; }

private:
    quillet::WideString mSource;
    DP::Ref<DP::IDescriptorComputer> mComputer;
};

/// The stored result of a key, or null.
inline DP::Ref<DP::IDescriptorData> look_up(DP::DescriptorDataType inKind,
                                            const DP::Ref<DP::IDescriptorDataKey>& inKey) {
    DP::Ref<DP::IDescriptorData> data;
    DP::RecursiveMutexPtr mutex;
    DP::CreateDescriptorDataCacheMgr()->GetDescriptorDataCache(inKind)->GetCachedData(
        inKey, data, mutex);
    return data;
}

/// Asks for the result of a key; `inFill` gives the item its inputs where it has to be
/// computed. The result is never null.
template <class Fill>
DP::Ref<DP::IDescriptorData> ask(const char* inWhat, const OwnComputer& inComputer,
                                 DP::DescriptorDataType inKind,
                                 const DP::Ref<DP::IDescriptorDataKey>& inKey, bool inStore,
                                 Fill inFill) {
    return call_library(inWhat, [&] {
        RequestCounts& counts = gRequests[static_cast<std::size_t>(inKind)];
        if (inStore)
            if (auto found = look_up(inKind, inKey); found != NULL) {
                ++counts.mHits;
                return found;
            }
        ++counts.mMisses;
        const auto item = DP::CreateDescriptorWorkerItem(inKind);
        item->SetDataKey(inKey);
        inFill(item);
        const DP::Ref<DP::IInterruptibleWorkerItem> interruptible(item);
        if (Asking* const asking = Asking::innermost(); asking && interruptible != NULL)
            interruptible->SetProgressCallback(&Asking::goes_on, asking);
        auto data = inComputer.get()->GetDescriptorData(item, inStore);
        if (data == NULL && interruptible != NULL && interruptible->WasInterrupted())
            throw Cancelled(std::string("stopped within ") + inWhat);
        if (data == NULL) throw_library_error(inWhat, "it had no answer");
        return data;
    });
}

/// How the results of one run of frames are called in the cache.
///
/// What a tracker finds in a frame depends on every frame of its run. Frames are numbered 0,
/// 1, 2 within the run, whatever they are called in their clip: a KLT tracker finds the
/// pyramids of the frame before by its number less one. The text says how the two belong
/// together: where the run began in its clip, and where its numbers began to go in other
/// steps. So a run that is made again in the same way is answered from the cache, and
/// another one is not. A run whose text grows too long goes on under a text of its own.
class RunName {
public:
    /// @param inWhat  the settings that the keys do not tell apart.
    /// @param inIsShared  whether another run may be answered with the results of this one.
    RunName(const Source& inSource, std::string inWhat, bool inIsShared)
        : mText(std::move(inWhat)),
          mTail(inIsShared && inSource.is_named() ? "named " + inSource.name()
                                                  : unique_text("only ")) {}

    /// The number of the next frame within the run.
    long long next(std::optional<std::int64_t> inNumber) {
        const std::int64_t expected = mLast + mStep;
        const std::int64_t number = inNumber.value_or(expected);
        if (mCount == 0) {
            mText.append(" from ").append(std::to_string(number));
        } else if (number != expected) {
            mStep = number - mLast;
            mText.append(" ")
                .append(std::to_string(mCount))
                .append("+")
                .append(std::to_string(mStep));
            if (mText.size() > 200) mText = unique_text("goes on as ");
        }
        mLast = number;
        return mCount++;
    }
    /// The frame's number in its clip.
    std::int64_t last() const { return mLast; }
    /// The name in the keys; `inRole` tells runs of one object apart.
    quillet::WideString text(const char* inRole) const {
        return quillet::utility::UTF8ToUTF16(std::string(inRole) + " " + mText + "\n" + mTail);
    }

private:
    std::string mText;
    std::string mTail;
    std::int64_t mLast = -1;
    std::int64_t mStep = 1;
    long long mCount = 0;
};

}  // namespace descriptor::detail
