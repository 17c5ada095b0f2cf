// The options that commands share: where frames come from and where files go.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FrameSource.h"
#include "JsonFile.h"
#include "SameFile.h"

namespace CLI {
class App;
class Option;
class Validator;
}  // namespace CLI

namespace Host {

/// Numbers of a text such as "640x480".
struct Size {
    int mWidth = 0;
    int mHeight = 0;
};
/// @throws UsageError for anything but two numbers from 16 to 16384.
Size ParseSize(const std::string& inText);

/// Lets real numbers within the limits pass. (`CLI::Range` lets "nan" pass too.)
CLI::Validator RealRange(double inLeast, double inMost);

struct InputOptions {
    std::string mInput;
    std::string mSize;
    std::string mRawSize;
    std::string mRawPixels = "bgra";
    double mRawRate = 25.0;
    long long mFrames = 0;

    void AddTo(CLI::App& ioCommand);
    /// `--raw` alone, which is given back, and `--format`.
    CLI::Option* AddRawTo(CLI::App& ioCommand, const std::string& inHelp);
    /// Opens the input, or the rendered clip where none is named.
    std::unique_ptr<FrameSource> Open() const;
    /// The files that will be read.
    std::vector<std::string> Files() const;

private:
    std::unique_ptr<FrameSource> OpenRaw() const;
    std::unique_ptr<FrameSource> OpenRendered() const;
};

struct OutputOptions {
    std::string mFolder = "descriptor-out";
    bool mWithoutVideo = false;
    std::string mJsonFile;
    std::string mProgress = "text";
    std::vector<std::string> mEditors;

    void AddTo(CLI::App& ioCommand);
    void AddFolderTo(CLI::App& ioCommand);
    void AddJsonTo(CLI::App& ioCommand);
    /// An option that is gone, and says what does its work.
    void AddPlotsTo(CLI::App& ioCommand);
    void AddEditorsTo(CLI::App& ioCommand, const std::string& inWhat);
    /// Refuses to write what is read, before anything is opened. `inFiles` are names in the
    /// folder.
    void Check(const std::vector<std::string>& inInputs, const Outputs& inFiles) const;
    /// Makes the folder, before any work.
    void Prepare() const;
    std::string Path(const std::string& inName) const;
    /// A path such as "FOLDER/track-000012.png".
    std::string NumberedPath(const std::string& inStem, long long inNumber,
                             const std::string& inEnding) const;
    /// The file of --json, with an array of `inArray`; null where none is wanted.
    std::unique_ptr<JsonFile> OpenJson(const Json& inHead, const std::string& inArray) const;
};

/// What all commands say first in JSON.
Json JsonHead(const std::string& inCommand, const std::string& inSource, int inWidth,
              int inHeight);
/// The same, with what is known of the frames' times.
Json JsonHead(const std::string& inCommand, const FrameSource& inSource);

}  // namespace Host
