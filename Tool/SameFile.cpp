#include "SameFile.h"

#include <filesystem>
#include <map>

#include "Path.h"
#include "System.h"
#include "UserError.h"

namespace Host {
namespace {

namespace fs = std::filesystem;
// The files of the folder that a name with a `*` stands for.
std::vector<std::string> Expand(const std::string& inPath) {
    const fs::path path = PathOf(inPath);
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
    std::map<FileIdentity, std::string> inputs, outputs;
    std::map<fs::path, std::string> paths;
    for (const std::string& input : inInputs)
        if (const auto identity = IdentifyFile(input)) inputs[*identity] = input;
    for (const std::string& output : inOutputs) {
        std::error_code error;
        if (!paths.emplace(fs::weakly_canonical(PathOf(output), error), output).second)
            throw UserError("'" + output + "' would be written twice");
        for (const std::string& file : Expand(output)) {
            const auto identity = IdentifyFile(file);
            if (!identity) continue;
            if (const auto input = inputs.find(*identity); input != inputs.end())
                throw UserError("'" + file + "' would be written, and is the input '" +
                                input->second + "'");
            if (!outputs.emplace(*identity, file).second)
                throw UserError("'" + file + "' and '" + outputs[*identity] +
                                "' are one file, and both would be written");
        }
    }
}

}  // namespace Host
