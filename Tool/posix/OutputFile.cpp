#include "OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "UserError.h"

namespace Host {

OutputFile::OutputFile(const std::string& inName, Links inLinks) : mName(inName) {
    const int noFollow = inLinks == Links::kRefused ? O_NOFOLLOW : 0;
    mDescriptor =
        open(inName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | noFollow, 0666);
    if (mDescriptor >= 0) return;
    const bool isLink = errno == ELOOP;
    throw UserError("file '" + inName + "' cannot be written: " +
                    (isLink ? "it is a link, and links in output folders are not followed"
                            : strerror(errno)));
}

OutputFile::~OutputFile() { close(mDescriptor); }

bool OutputFile::Write(std::string_view inBytes) const {
    while (!inBytes.empty()) {
        const ssize_t written = write(mDescriptor, inBytes.data(), inBytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        inBytes.remove_prefix(std::size_t(written));
    }
    return true;
}

std::string OutputFile::PathOfOpenFile() const {
    const std::string path = "/proc/self/fd/" + std::to_string(mDescriptor);
    return access(path.c_str(), W_OK) == 0 ? path : mName;
}

}  // namespace Host
