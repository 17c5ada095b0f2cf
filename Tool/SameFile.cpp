#include "SameFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <utility>

#include "UserError.h"

namespace Host {
namespace {

namespace fs = std::filesystem;
using Identity = std::pair<dev_t, ino_t>;

// The identity of a regular file; false for what is missing, or is a pipe or a device.
bool Identify(const std::string& inPath, Identity& outIdentity) {
    struct stat status {};
    const int result =
        inPath == "-" ? fstat(STDIN_FILENO, &status) : stat(inPath.c_str(), &status);
    outIdentity = {status.st_dev, status.st_ino};
    return result == 0 && S_ISREG(status.st_mode);
}

// The files of the folder that a name with a `*` stands for.
std::vector<std::string> Expand(const std::string& inPath) {
    const fs::path path(inPath);
    const std::string name = path.filename().string();
    const std::size_t star = name.find('*');
    if (star == std::string::npos) return {inPath};
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator at(path.parent_path(), error), end; !error && at != end;
         at.increment(error)) {
        const std::string file = at->path().filename().string();
        if (file.size() + 1 >= name.size() && file.starts_with(name.substr(0, star)) &&
            file.ends_with(name.substr(star + 1)))
            found.push_back(at->path().string());
    }
    return found;
}

}  // namespace

void RefuseSameFiles(const std::vector<std::string>& inInputs, const Outputs& inOutputs) {
    std::map<Identity, std::string> inputs, outputs;
    std::map<fs::path, std::string> paths;
    Identity identity;
    for (const std::string& input : inInputs)
        if (Identify(input, identity)) inputs[identity] = input;
    for (const std::string& output : inOutputs) {
        std::error_code error;
        if (!paths.emplace(fs::weakly_canonical(output, error), output).second)
            throw UserError("'" + output + "' would be written twice");
        for (const std::string& file : Expand(output)) {
            if (!Identify(file, identity)) continue;
            if (const auto input = inputs.find(identity); input != inputs.end())
                throw UserError("'" + file + "' would be written, and is the input '" +
                                input->second + "'");
            if (!outputs.emplace(identity, file).second)
                throw UserError("'" + file + "' and '" + outputs[identity] +
                                "' are one file, and both would be written");
        }
    }
}

}  // namespace Host
