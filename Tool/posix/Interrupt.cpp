#include "Interrupt.h"

#include <csignal>

namespace Host {
namespace {

volatile std::sig_atomic_t sInterrupted = 0;

extern "C" void NoteInterrupt(int) { sInterrupted = 1; }

}  // namespace

void CatchInterrupts() {
    struct sigaction action {};
    action.sa_handler = NoteInterrupt;
    // No SA_RESTART: a wait for the other end of a pipe ends with the signal.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool Interrupted() { return sInterrupted != 0; }

}  // namespace Host
