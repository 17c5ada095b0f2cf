// Help texts that fit a terminal.

#pragma once

#include <algorithm>
#include <string>

namespace Host {

/// Breaks a text into lines of at most `inWidth` letters; the parser indents them.
inline std::string Wrapped(const std::string& inText, std::size_t inWidth = 60) {
    std::string result;
    std::size_t lineStart = 0;
    for (std::size_t at = 0; at < inText.size();) {
        const std::size_t end = std::min(inText.find(' ', at), inText.size());
        if (at > 0) {
            const bool fits = result.size() - lineStart + 1 + (end - at) <= inWidth;
            result += fits ? ' ' : '\n';
            if (!fits) lineStart = result.size();
        }
        result.append(inText, at, end - at);
        at = end + 1;
    }
    return result;
}

}  // namespace Host
