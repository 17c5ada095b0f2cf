// Memory that ends where an unreadable page begins, so that a byte too many is a crash.

#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace Testing {

/// The bytes end at the page, at any alignment.
class GuardedMemory {
public:
    explicit GuardedMemory(std::size_t inBytes) : mBytes(inBytes) {
        mReadable = (inBytes + PageSize() - 1) / PageSize() * PageSize();
#if defined(_WIN32)
        mMemory = static_cast<unsigned char*>(
            VirtualAlloc(nullptr, mReadable + PageSize(), MEM_RESERVE, PAGE_NOACCESS));
        VirtualAlloc(mMemory, mReadable, MEM_COMMIT, PAGE_READWRITE);
#else
        mMemory = static_cast<unsigned char*>(mmap(nullptr, mReadable + PageSize(),
                                                   PROT_READ | PROT_WRITE,
                                                   MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(mMemory + mReadable, PageSize(), PROT_NONE);
#endif
    }
#if defined(_WIN32)
    ~GuardedMemory() { VirtualFree(mMemory, 0, MEM_RELEASE); }
#else
    ~GuardedMemory() { munmap(mMemory, mReadable + PageSize()); }
#endif
    explicit GuardedMemory(const std::vector<unsigned char>& inBytes)
        : GuardedMemory(inBytes.size()) {
        std::ranges::copy(inBytes, begin());
    }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    unsigned char* begin() { return mMemory + mReadable - mBytes; }

private:
    static std::size_t PageSize() {
#if defined(_WIN32)
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        return info.dwPageSize;
#else
        return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
#endif
    }

    std::size_t mBytes;
    std::size_t mReadable;
    unsigned char* mMemory;
};

}  // namespace Testing
