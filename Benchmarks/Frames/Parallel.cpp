#include "Parallel.h"

#include <pthread.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <new>
#include <string>
#include <thread>

#include "HostRuns.h"
#include "TVK/MemoryRecycler.h"

namespace Bench {
namespace {

// Where the two meet; in memory that processes share.
class Meeting {
public:
    static Meeting* Make() {
        void* const memory = mmap(nullptr, sizeof(Meeting), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        return memory == MAP_FAILED ? nullptr : new (memory) Meeting;
    }
    static void Drop(Meeting* inMeeting) {
        inMeeting->~Meeting();
        munmap(inMeeting, sizeof(Meeting));
    }
    void WaitForAll() { pthread_barrier_wait(&mBarrier); }

private:
    Meeting() {
        pthread_barrierattr_t shared;
        pthread_barrierattr_init(&shared);
        pthread_barrierattr_setpshared(&shared, PTHREAD_PROCESS_SHARED);
        pthread_barrier_init(&mBarrier, &shared, 3);  // the two, and who takes the time
        pthread_barrierattr_destroy(&shared);
    }
    ~Meeting() { pthread_barrier_destroy(&mBarrier); }

    pthread_barrier_t mBarrier;
};

void Follow(const Clip& inClip, const std::string& inSource) {
    KltRun klt(inClip, inSource, 0);
    AptRun apt(inClip, inSource, 0);
    for (int frame = 0; frame < TheOptions().mFrames; ++frame) {
        klt.Step(frame);
        apt.Step(frame);
    }
}

// A warm-up that fills the caches and is dropped from them, then the work between two
// meetings.
void Work(const Clip& inClip, const std::string& inSource, Meeting& ioMeeting) {
    for (const char* const pass : {" 1", " 2", " 3"})
        Follow(inClip, inSource + pass);
    ioMeeting.WaitForAll();
    Follow(inClip, inSource);
    ioMeeting.WaitForAll();
}

std::string NewName(const char* inName) {
    static std::atomic<int> sCount{0};
    return inName + std::to_string(++sCount);
}

double TimeBetweenMeetings(Meeting& ioMeeting) {
    using Clock = std::chrono::steady_clock;
    ioMeeting.WaitForAll();
    const auto start = Clock::now();
    ioMeeting.WaitForAll();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

double TwoThreads(const Clip& inClip) {
    Meeting* const meeting = Meeting::Make();
    if (!meeting) throw std::bad_alloc();
    std::thread first([&] { Work(inClip, NewName("first "), *meeting); });
    std::thread second([&] { Work(inClip, NewName("second "), *meeting); });
    const double time = TimeBetweenMeetings(*meeting);
    first.join();
    second.join();
    Meeting::Drop(meeting);
    return time;
}

double TwoProcesses(const Clip& inClip) {
    Meeting* const meeting = Meeting::Make();
    if (!meeting) throw std::bad_alloc();
    pid_t children[2];
    for (pid_t& child : children) {
        child = fork();
        if (child < 0) throw std::bad_alloc();
        if (child == 0) {
            // Its own pages, and not the parent's to be copied one by one.
            DP::FlushAllDescriptorResources();
            TVK::MemoryRecycler::Instance()->Trim();
            Work(inClip, "process", *meeting);
            _exit(0);
        }
    }
    const double time = TimeBetweenMeetings(*meeting);
    for (const pid_t child : children)
        waitpid(child, nullptr, 0);
    Meeting::Drop(meeting);
    return time;
}

}  // namespace Bench
