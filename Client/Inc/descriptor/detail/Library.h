// Calls into the library: what they throw is translated, what they report is kept, and two
// threads on one object are noticed.

#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <string>
#include <utility>

#include "TVK/Exception.h"
#include "descriptor/Error.h"
#include "quillet/DeveloperDialogs.h"
#include "quillet/Error.h"

/// One copy for all modules of a process, also for those that hide their symbols.
#if defined(_WIN32)
#define DESCRIPTOR_PROCESS_WIDE
#else
#define DESCRIPTOR_PROCESS_WIDE __attribute__((visibility("default")))
#endif

namespace descriptor::detail {

/// What the library last reported to developers on this thread; empty where nothing was. In a
/// function: MinGW-w64 links no program with two files that have such a variable of their own.
inline std::string& last_report() {
    static thread_local std::string tReport;
    return tReport;
}

inline bool keep_contract(const char* inExpression, const char* inFile, long inLine) noexcept {
    try {
        last_report() =
            std::string(inExpression) + " (" + inFile + ":" + std::to_string(inLine) + ")";
    } catch (const std::bad_alloc&) {
        last_report().clear();
    }
    return false;
}

inline bool keep_impossible(bool& ioHide, const char*, const unsigned char* inMessage,
                            const char* inFile, long inLine, const char*) noexcept {
    ioHide = true;
    try {
        std::string text(reinterpret_cast<const char*>(inMessage));
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
            text.pop_back();
        last_report() = text + " (" + inFile + ":" + std::to_string(inLine) + ")";
    } catch (const std::bad_alloc&) {
        last_report().clear();
    }
    return false;
}

/// Listens to the library's reports for as long as this module is loaded, unless the host
/// has set a dialog of its own: that one stays, and the errors of this layer say less.
class ReportListener {
public:
    static void start() { static const ReportListener sListener; }

    ReportListener(const ReportListener&) = delete;
    ReportListener& operator=(const ReportListener&) = delete;

private:
    ReportListener() {
        using namespace quillet::debug;
        const ContractDialog contract = SetContractDialog(nullptr);
        const bool hadContract = SetContractDialog(contract) != contract;
        const AssertDialog impossible = SetAssertDialog(nullptr);
        const bool hadImpossible = SetAssertDialog(impossible) != impossible;
        mOwnsContract = !hadContract;
        mOwnsImpossible = !hadImpossible;
        if (mOwnsContract) SetContractDialog(&keep_contract);
        if (mOwnsImpossible) SetAssertDialog(&keep_impossible);
    }
    // What another module has set meanwhile stays.
    ~ReportListener() {
        using namespace quillet::debug;
        if (mOwnsContract) {
            const ContractDialog set = SetContractDialog(nullptr);
            if (set != &keep_contract) SetContractDialog(set);
        }
        if (mOwnsImpossible) {
            const AssertDialog set = SetAssertDialog(nullptr);
            if (set != &keep_impossible) SetAssertDialog(set);
        }
    }

    bool mOwnsContract = false;
    bool mOwnsImpossible = false;
};

/// How many calls of this layer are inside the library now, in all threads.
DESCRIPTOR_PROCESS_WIDE inline std::atomic<int> gCallsUnderWay{0};

class CallUnderWay {
public:
    CallUnderWay() noexcept { gCallsUnderWay.fetch_add(1); }
    ~CallUnderWay() { gCallsUnderWay.fetch_sub(1); }
    CallUnderWay(const CallUnderWay&) = delete;
    CallUnderWay& operator=(const CallUnderWay&) = delete;
};

[[noreturn]] inline void throw_library_error(const char* inWhat, const char* inReason) {
    throw LibraryError(std::string("the library refused ") + inWhat + ": " +
                       (last_report().empty() ? std::string(inReason) : last_report()));
}

/// Runs `inCall`, which calls the library for what `inWhat` says ("a KLT step").
template <class Call>
auto call_library(const char* inWhat, Call&& inCall) {
    ReportListener::start();
    const CallUnderWay underWay;
    last_report().clear();
    try {
        return std::forward<Call>(inCall)();
    } catch (const quillet::config::ReportedError&) {
        throw_library_error(inWhat, "a precondition was broken");
    } catch (const TVK::Exception& error) {
        throw_library_error(inWhat, error.what());
    }
}

/// Noticed where it costs nothing: a second thread inside the same object.
class OneThread {
public:
    OneThread() = default;
    OneThread(const OneThread&) = delete;
    OneThread& operator=(const OneThread&) = delete;

    /// Held for the length of an operation.
    class Guard {
    public:
        Guard(OneThread& ioFlag, const char* inName) : mFlag(ioFlag) {
            if (mFlag.mIsBusy.exchange(true, std::memory_order_acquire))
                throw BusyError(std::string(inName) +
                                ": already at work in another thread or further up in this "
                                "one; each thread needs an object of its own");
        }
        ~Guard() { mFlag.mIsBusy.store(false, std::memory_order_release); }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        OneThread& mFlag;
    };

private:
    std::atomic<bool> mIsBusy{false};
};

}  // namespace descriptor::detail
