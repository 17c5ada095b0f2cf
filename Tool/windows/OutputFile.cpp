#include "OutputFile.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>

#include "Path.h"
#include "UserError.h"

namespace Host {
namespace {

// Empties what it opens. A link itself is opened and refused where links are not followed.
HANDLE OpenEmptied(const std::string& inName, bool inIsLinkRefused) {
    const HANDLE file = CreateFileW(
        PathOf(inName).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
        OPEN_ALWAYS, inIsLinkRefused ? FILE_FLAG_OPEN_REPARSE_POINT : 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        throw UserError("file '" + inName + "' cannot be written");
    BY_HANDLE_FILE_INFORMATION found = {};
    const bool isLink = inIsLinkRefused && GetFileInformationByHandle(file, &found) != 0 &&
                        (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (!isLink && SetEndOfFile(file)) return file;
    CloseHandle(file);
    throw UserError(
        "file '" + inName + "' cannot be written" +
        (isLink ? ": it is a link, and links in output folders are not followed" : ""));
}

}  // namespace

OutputFile::OutputFile(const std::string& inName, Links inLinks)
    : mName(inName),
      mDescriptor(_open_osfhandle(
          reinterpret_cast<std::intptr_t>(OpenEmptied(inName, inLinks == Links::kRefused)),
          _O_BINARY | _O_NOINHERIT)) {}

OutputFile::~OutputFile() { _close(mDescriptor); }

bool OutputFile::Write(std::string_view inBytes) const {
    constexpr std::size_t kMost = 1 << 20;
    while (!inBytes.empty()) {
        const int written =
            _write(mDescriptor, inBytes.data(), unsigned(std::min(inBytes.size(), kMost)));
        if (written <= 0) return false;
        inBytes.remove_prefix(std::size_t(written));
    }
    return true;
}

std::string OutputFile::PathOfOpenFile() const { return mName; }

}  // namespace Host
