#include "PipeInput.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "Interrupt.h"
#include "Path.h"
#include "UserError.h"

namespace Host {

bool IsPipe(const std::string& inPath) { return inPath.starts_with("\\\\.\\pipe\\"); }

PipeInput::PipeInput(const std::string& inInput)
    : mName(inInput == "-" ? "standard input" : inInput),
      mFile(inInput == "-"
                ? _fileno(stdin)
                : _wopen(PathOf(inInput).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT)) {
    if (mFile < 0) throw UserError("'" + inInput + "' cannot be opened: " + strerror(errno));
}

PipeInput::~PipeInput() {
    if (mFile != _fileno(stdin)) _close(mFile);
}

// A read of a silent pipe could not be ended, so it begins when there is something, or the
// other end has gone.
bool PipeInput::Wait() const {
    const auto file = reinterpret_cast<HANDLE>(_get_osfhandle(mFile));
    const bool isPipe = GetFileType(file) == FILE_TYPE_PIPE;
    while (!Interrupted()) {
        DWORD ready = 0;
        if (!isPipe || !PeekNamedPipe(file, nullptr, 0, nullptr, &ready, nullptr) || ready > 0)
            return true;
        Sleep(1);
    }
    return false;
}

std::size_t PipeInput::Read(std::uint8_t* outBytes, std::size_t inMost) {
    constexpr std::size_t kMost = 1 << 20;
    if (!Wait()) return 0;
    const int got = _read(mFile, outBytes, unsigned(std::min(inMost, kMost)));
    if (got < 0) throw UserError(mName + " cannot be read: " + strerror(errno));
    return std::size_t(got);
}

}  // namespace Host
