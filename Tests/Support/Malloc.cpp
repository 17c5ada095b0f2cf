#include "Support/Malloc.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>

// glibc's own functions under the names that stay when the usual ones are replaced.
extern "C" {
void* __libc_malloc(std::size_t inSize);
void* __libc_calloc(std::size_t inCount, std::size_t inSize);
void* __libc_realloc(void* inBlock, std::size_t inSize);
void* __libc_memalign(std::size_t inAlignment, std::size_t inSize);
void __libc_free(void* inBlock);
}

namespace {

std::atomic<long> sLive{0};

struct ThreadState {
    bool mActive;
    Testing::MallocPlan mPlan;
    long mSeen;
    long mRefused;
};
constinit thread_local ThreadState sThread{};

bool IsRefused(std::size_t inSize) {
    ThreadState& state = sThread;
    if (!state.mActive || inSize == state.mPlan.mExemptSize) return false;
    if (state.mPlan.mOnlySize != 0 && inSize != state.mPlan.mOnlySize) return false;
    ++state.mSeen;
    const Testing::MallocPlan& plan = state.mPlan;
    const bool refused = plan.mFirst != 0 && (plan.mAndAllAfter ? state.mSeen >= plan.mFirst
                                                                : state.mSeen == plan.mFirst);
    if (refused) {
        ++state.mRefused;
        errno = ENOMEM;
    }
    return refused;
}

void* Counted(void* inBlock) {
    if (inBlock) sLive.fetch_add(1, std::memory_order_relaxed);
    return inBlock;
}

}  // namespace

// Seen by the shared libraries too, which are to call these.
#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t inSize) {
    return IsRefused(inSize) ? nullptr : Counted(__libc_malloc(inSize));
}

void* calloc(std::size_t inCount, std::size_t inSize) {
    return IsRefused(inCount * inSize) ? nullptr : Counted(__libc_calloc(inCount, inSize));
}

void* realloc(void* inBlock, std::size_t inSize) {
    if (IsRefused(inSize)) return nullptr;
    void* const block = __libc_realloc(inBlock, inSize);
    return inBlock ? block : Counted(block);
}

void* memalign(std::size_t inAlignment, std::size_t inSize) {
    return IsRefused(inSize) ? nullptr : Counted(__libc_memalign(inAlignment, inSize));
}

void* aligned_alloc(std::size_t inAlignment, std::size_t inSize) {
    return memalign(inAlignment, inSize);
}

int posix_memalign(void** outBlock, std::size_t inAlignment, std::size_t inSize) {
    *outBlock = memalign(inAlignment, inSize);
    return *outBlock ? 0 : ENOMEM;
}

void free(void* inBlock) {
    if (inBlock) sLive.fetch_sub(1, std::memory_order_relaxed);
    __libc_free(inBlock);
}

}  // extern "C"
#pragma GCC visibility pop

namespace Testing {

long LiveMallocBlocks() { return sLive.load(); }

MallocFaults::MallocFaults(const MallocPlan& inPlan) {
    sThread = {.mActive = true, .mPlan = inPlan, .mSeen = 0, .mRefused = 0};
}

MallocFaults::~MallocFaults() { sThread.mActive = false; }

long MallocFaults::Seen() const { return sThread.mSeen; }
long MallocFaults::Refused() const { return sThread.mRefused; }

}  // namespace Testing
