/// @file
/// Files for writing, and where the diagnostic pictures go.
///
/// Ownership: the caller closes the file.
/// Threads: any number at once.
/// Errors: a file that cannot be opened is null; std::bad_alloc.
/// Frozen: nothing; the function is compiled into who asks.

#pragma once

#include <cstdio>

#include "TVK/LanguageCheck.h"

#if defined(_WIN32)
#include <string>

#include "quillet/UTF8ToUTF16.h"
#endif

/// The folders of the graph cut's pictures: those of each call, and those of each new frame,
/// intermediates for a developer to look at. They are written on every call; where the folder
/// is missing nothing comes of it. On Windows both name one folder, which any user can make;
/// elsewhere it takes an administrator.
/// @{
#if defined(_WIN32)
#define PLATFORM_CALL_FOLDER "c:\\QRL\\"
#define PLATFORM_FRAME_FOLDER "C:\\QRL\\"
#else
#define PLATFORM_CALL_FOLDER "/QRL/"
#define PLATFORM_FRAME_FOLDER "/QRL/"
#endif
/// @}

namespace platform {

/// Makes or empties a file for bytes as they are. The path is UTF-8 on every system; Windows,
/// whose narrow paths are in a code page of the user's, gets it as UTF-16.
inline std::FILE* OpenForWriting(const char* inPath) {
#if defined(_WIN32)
    const auto path = quillet::utility::UTF8ToUTF16(inPath);
    return _wfopen(std::wstring(path.begin(), path.end()).c_str(), L"wb");
#else
    return std::fopen(inPath, "wb");
#endif
}

}  // namespace platform
