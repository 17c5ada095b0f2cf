#include "quillet/WideString.h"

namespace quillet::utility {

WideString AsciiToUTF16(const char* inText) {
    WideString result;
    if (!inText) return result;
    for (; *inText != '\0'; ++inText) {
        const auto byte = static_cast<unsigned char>(*inText);
        // U+FFFD, the replacement character, for what is not ASCII.
        result.push_back(byte < 0x80 ? static_cast<char16_t>(byte) : char16_t{0xFFFD});
    }
    return result;
}

}  // namespace quillet::utility
