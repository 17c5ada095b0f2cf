// From UTF-8, the form of file names and of most texts of today, to the host's wide string.

#pragma once

#include <cstddef>
#include <string_view>

#include "quillet/WideString.h"

namespace quillet::utility {

namespace detail {

/// How many bytes the UTF-8 sequence at `inAt` has; 0 where there is none.
inline std::size_t UTF8Length(std::string_view inText, std::size_t inAt, char32_t& outCode) {
    const auto byte = [&](std::size_t inIndex) {
        return static_cast<unsigned char>(inText[inIndex]);
    };
    const unsigned char first = byte(inAt);
    const std::size_t length = first < 0x80             ? 1
                               : (first & 0xE0) == 0xC0 ? 2
                               : (first & 0xF0) == 0xE0 ? 3
                               : (first & 0xF8) == 0xF0 ? 4
                                                        : 0;
    if (length == 0 || inText.size() - inAt < length) return 0;
    char32_t code = length == 1 ? first : first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(inAt + i) & 0xC0) != 0x80) return 0;
        code = code << 6 | (byte(inAt + i) & 0x3Fu);
    }
    // The least code of each length: what is below it has a shorter form.
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < kLeast[length] || code > 0x10FFFF || isSurrogate) return 0;
    outCode = code;
    return length;
}

}  // namespace detail

/// The text as UTF-16. Two texts that differ give two strings that differ, whatever bytes
/// they hold, so that this makes the name of a source from the name of a file: a byte that
/// is no part of UTF-8 becomes the lone surrogate U+DC00 + byte, which no text has.
///
/// Ownership: the string is the caller's; nothing is kept.
/// Threads: any number at once.
/// Errors: none but std::bad_alloc.
/// Frozen: nothing; the function is compiled into the host.
inline WideString UTF8ToUTF16(std::string_view inText) {
    WideString result;
    for (std::size_t at = 0; at < inText.size();) {
        char32_t code = 0;
        const std::size_t length = detail::UTF8Length(inText, at, code);
        if (length == 0) {
            const auto byte = static_cast<unsigned char>(inText[at++]);
            result.push_back(static_cast<char16_t>(0xDC00 + byte));
            continue;
        }
        at += length;
        if (code < 0x10000) {
            result.push_back(static_cast<char16_t>(code));
        } else {
            result.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
            result.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        }
    }
    return result;
}

}  // namespace quillet::utility
