// Runs a target over the files of the folders that it is given, in the order of their
// names, without a fuzzer: what was once found stays found, under every compiler.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "Fuzz/Input.h"

namespace {

using Bytes = std::vector<char>;

void Run(const Bytes& inBytes) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(inBytes.data()),
                           inBytes.size());
}

}  // namespace

int main(int inCount, char** inArguments) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < inCount; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(inArguments[i]))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "usage: %s FOLDER...  with files to replay\n", inArguments[0]);
        return 2;
    }
    Run({});
    for (const auto& path : files) {
        std::printf("%s\n", path.filename().string().c_str());
        std::fflush(stdout);  // the last name is the one that failed
        std::ifstream file(path, std::ios::binary);
        Run(Bytes(std::istreambuf_iterator<char>(file), {}));
    }
    return 0;
}
