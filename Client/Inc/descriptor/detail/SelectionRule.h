// One selection at a time in the process: the library keeps the graph of one picture.

#pragma once

#include <cstdint>
#include <mutex>

#include "descriptor/Error.h"
#include "descriptor/detail/Library.h"

namespace descriptor::detail {

/// Who may cut, and whose graph the library keeps.
struct SelectionRule {
    std::mutex mAdmission;  // guards the two counts
    int mAlone = 0;
    int mSharing = 0;

    std::mutex mCutting;            // held over a cut, guards the rest
    std::uint64_t mGraphOwner = 0;  // 0: nobody
    std::uint64_t mOwners = 0;
};
DESCRIPTOR_PROCESS_WIDE inline SelectionRule gSelection;

/// Leave to select, for the life of an object.
class SelectionLeave {
public:
    /// @throws BusyError where another selection is there, unless both take turns.
    explicit SelectionLeave(bool inTakesTurns) : mTakesTurns(inTakesTurns) {
        refuse_within_cut();
        {
            const std::scoped_lock lock(gSelection.mAdmission);
            if (gSelection.mAlone > 0 || (!inTakesTurns && gSelection.mSharing > 0))
                throw BusyError(
                    "Selection: there is another one in this process, and the library has room "
                    "for one; end it, or let both take_turns");
            ++(inTakesTurns ? gSelection.mSharing : gSelection.mAlone);
        }
        const std::scoped_lock lock(gSelection.mCutting);
        mOwner = ++gSelection.mOwners;
    }
    ~SelectionLeave() {
        const std::scoped_lock lock(gSelection.mAdmission);
        --(mTakesTurns ? gSelection.mSharing : gSelection.mAlone);
    }
    SelectionLeave(const SelectionLeave&) = delete;
    SelectionLeave& operator=(const SelectionLeave&) = delete;

    /// Waits for the cuts of others. While it lives no other begins.
    class Turn {
    public:
        explicit Turn(const SelectionLeave& inLeave)
            : mLock(lock()),
              mHadGraph(gSelection.mGraphOwner == inLeave.mOwner),
              mOwner(inLeave.mOwner) {
            is_cutting() = true;
        }
        ~Turn() { is_cutting() = false; }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        /// Whether the library kept this one's graph since its last turn.
        bool had_graph() const { return mHadGraph; }
        /// Around a request: while it runs, and if it fails, the graph is nobody's.
        /// @{
        void begin() { gSelection.mGraphOwner = 0; }
        void end() { gSelection.mGraphOwner = mOwner; }
        /// @}

    private:
        static std::unique_lock<std::mutex> lock() {
            refuse_within_cut();
            return std::unique_lock(gSelection.mCutting);
        }

        std::unique_lock<std::mutex> mLock;
        bool mHadGraph;
        std::uint64_t mOwner;
    };

private:
    // Of this thread. In a function for the same reason as `last_report`.
    static bool& is_cutting() noexcept {
        static thread_local bool tIsCutting = false;
        return tIsCutting;
    }
    // The callback of a cut would wait for that very cut.
    static void refuse_within_cut() {
        if (is_cutting())
            throw BusyError(
                "Selection: a cut is at work on this thread, and its callback may "
                "call no selection");
    }

    bool mTakesTurns;
    std::uint64_t mOwner = 0;
};

}  // namespace descriptor::detail
