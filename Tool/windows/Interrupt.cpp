#include "Interrupt.h"

#include <csignal>

namespace Host {
namespace {

volatile std::sig_atomic_t sInterrupted = 0;

// The system takes the handler away before it calls it.
extern "C" void NoteInterrupt(int) { sInterrupted = 1; }

}  // namespace

void CatchInterrupts() {
    std::signal(SIGINT, NoteInterrupt);
    std::signal(SIGTERM, NoteInterrupt);
}

bool Interrupted() { return sInterrupted != 0; }

}  // namespace Host
