#include "System.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>
#include <tlhelp32.h>

#include <chrono>
#include <cstdlib>
#include <cwchar>
#include <utility>

#include "Path.h"

namespace Host {

std::optional<FileIdentity> IdentifyFile(const std::string& inPath) {
    const bool isInput = inPath == "-";
    const HANDLE file =
        isInput ? GetStdHandle(STD_INPUT_HANDLE)
                : CreateFileW(PathOf(inPath).c_str(), FILE_READ_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return std::nullopt;
    BY_HANDLE_FILE_INFORMATION found = {};
    const bool known =
        GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &found) != 0;
    if (!isInput) CloseHandle(file);
    if (!known) return std::nullopt;
    return FileIdentity{found.dwVolumeSerialNumber,
                        std::uint64_t(found.nFileIndexHigh) << 32 | found.nFileIndexLow};
}

// Who may write where is a long list there; the first file tells.
bool CanWriteInto(const std::string& inFolder) {
    std::error_code error;
    return std::filesystem::is_directory(PathOf(inFolder), error);
}

// Those that the system has, in UTF-16: `main` gets them in a code page of the user's.
std::vector<std::string> Utf8Arguments(int, char**) {
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i) {
        std::string text(3 * std::wcslen(wide[i]), '\0');
        text.resize(
            std::size_t(WideCharToMultiByte(CP_UTF8, 0, wide[i], int(std::wcslen(wide[i])),
                                            text.data(), int(text.size()), nullptr, nullptr)));
        arguments.push_back(std::move(text));
    }
    LocalFree(wide);
    return arguments;
}

void MakeStreamsPlain() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

bool IsErrorsATerminal() { return _isatty(_fileno(stderr)) != 0; }

std::size_t TerminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO screen = {};
    const bool known =
        GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &screen) != 0 &&
        screen.dwSize.X > 1;
    return known ? std::size_t(screen.dwSize.X) : 80;
}

double ThreadSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::string ProcessorName() {
    const char* const name = std::getenv("PROCESSOR_ARCHITECTURE");
    return name ? name : "unknown";
}

int ProcessThreads() {
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (all == INVALID_HANDLE_VALUE) return 0;
    THREADENTRY32 thread = {};
    thread.dwSize = sizeof thread;
    int count = 0;
    for (BOOL more = Thread32First(all, &thread); more; more = Thread32Next(all, &thread))
        if (thread.th32OwnerProcessID == GetCurrentProcessId()) ++count;
    CloseHandle(all);
    return count;
}

}  // namespace Host
