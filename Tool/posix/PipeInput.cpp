#include "PipeInput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Interrupt.h"
#include "UserError.h"

namespace Host {

bool IsPipe(const std::string& inPath) {
    struct stat status {};
    return stat(inPath.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

// Opened without waiting: the wait for whoever feeds a named pipe is in `Wait`.
PipeInput::PipeInput(const std::string& inInput)
    : mName(inInput == "-" ? "standard input" : inInput),
      mFile(inInput == "-" ? STDIN_FILENO
                           : open(inInput.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    if (mFile < 0) throw UserError("'" + inInput + "' cannot be opened: " + strerror(errno));
}

PipeInput::~PipeInput() {
    if (mFile != STDIN_FILENO) close(mFile);
}

// A silent pipe must not keep the user from stopping: a signal that came just before a wait
// would be missed, so the wait is cut into short ones.
bool PipeInput::Wait() const {
    constexpr int kMilliseconds = 100;
    pollfd file{mFile, POLLIN, 0};
    while (!Interrupted())
        if (poll(&file, 1, kMilliseconds) > 0) return true;
    return false;
}

std::size_t PipeInput::Read(std::uint8_t* outBytes, std::size_t inMost) {
    while (Wait()) {
        const ssize_t got = read(mFile, outBytes, inMost);
        if (got >= 0) return std::size_t(got);
        if (errno != EINTR && errno != EAGAIN)
            throw UserError(mName + " cannot be read: " + strerror(errno));
    }
    return 0;
}

}  // namespace Host
