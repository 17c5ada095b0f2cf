// UTF-16 to UTF-8. How many bytes a code point takes follows from its bits:
//
//     up to  7      0xxxxxxx
//     up to 11      110xxxxx 10xxxxxx
//     up to 16      1110xxxx 10xxxxxx 10xxxxxx
//     up to 21      11110xxx 10xxxxxx 10xxxxxx 10xxxxxx
//
// Half a surrogate pair alone is no character and becomes U+FFFD, the replacement character:
// the result is valid UTF-8 whatever came in.

#include "TVK/MakeStdString.h"

#include <cstddef>

namespace TVK {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t inUnit) { return inUnit >= 0xD800 && inUnit < 0xDC00; }
bool IsLowSurrogate(char32_t inUnit) { return inUnit >= 0xDC00 && inUnit < 0xE000; }

// Reads one code point and moves the position behind it.
char32_t NextCodePoint(const quillet::WideString& inString, std::size_t& ioPosition) {
    const char32_t unit = inString[ioPosition++];
    if (!IsHighSurrogate(unit)) return IsLowSurrogate(unit) ? kReplacement : unit;
    if (ioPosition == inString.size() || !IsLowSurrogate(inString[ioPosition]))
        return kReplacement;
    // Ten bits from each half of the pair, above the 16 bits that a single unit holds.
    const char32_t low = inString[ioPosition++];
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

void AppendUTF8(std::string& ioText, char32_t inCodePoint) {
    const auto append = [&](char32_t inByte) {
        ioText.push_back(static_cast<char>(inByte));
    };
    const auto appendTail = [&](int inShift) {
        append(0x80 | ((inCodePoint >> inShift) & 0x3F));
    };
    if (inCodePoint < 0x80) {
        append(inCodePoint);
    } else if (inCodePoint < 0x800) {
        append(0xC0 | (inCodePoint >> 6));
        appendTail(0);
    } else if (inCodePoint < 0x10000) {
        append(0xE0 | (inCodePoint >> 12));
        appendTail(6);
        appendTail(0);
    } else {
        append(0xF0 | (inCodePoint >> 18));
        appendTail(12);
        appendTail(6);
        appendTail(0);
    }
}

}  // namespace

std::string MakeStdString(const quillet::WideString& inString) {
    std::string result;
    result.reserve(inString.size());
    for (std::size_t position = 0; position < inString.size();)
        AppendUTF8(result, NextCodePoint(inString, position));
    return result;
}

}  // namespace TVK
