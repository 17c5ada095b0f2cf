#include "BoxFile.h"

#include <cmath>
#include <cstdlib>
#include <fstream>

#include "Path.h"
#include "UserError.h"

namespace Host {

Box ParseBox(const std::string& inText) {
    double numbers[4] = {};
    const char* at = inText.c_str();
    for (int i = 0; i < 4; ++i) {
        char* end = nullptr;
        numbers[i] = std::strtod(at, &end);
        const bool isLast = i == 3;
        if (end == at || !std::isfinite(numbers[i]) || *end != (isLast ? '\0' : ','))
            throw UsageError("a rectangle is written as x,y,w,h; '" + inText + "' is none");
        at = end + 1;
    }
    if (!(numbers[2] > 0.0) || !(numbers[3] > 0.0))
        throw UsageError("rectangle '" + inText + "' has no area");
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

std::vector<Box> ReadBoxes(const std::string& inFile) {
    std::ifstream file(PathOf(inFile));
    if (!file) throw UserError("file '" + inFile + "' cannot be read");
    std::vector<Box> boxes;
    for (std::string line; std::getline(file, line);) {
        while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
            line.pop_back();
        if (line.empty()) continue;
        try {
            boxes.push_back(ParseBox(line));
        } catch (const UsageError& error) {
            throw UserError("file '" + inFile + "': " + error.what());
        }
    }
    if (boxes.empty()) throw UserError("file '" + inFile + "' holds no rectangles");
    return boxes;
}

}  // namespace Host
