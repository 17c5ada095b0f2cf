#include "FrameReader.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "MediaFile.h"
#include "Path.h"
#include "UserError.h"

namespace Host {
namespace {

namespace fs = std::filesystem;

bool IsDigit(char inLetter) { return std::isdigit(static_cast<unsigned char>(inLetter)) != 0; }

// "frame9" before "frame10": runs of digits compare as numbers.
bool NaturalLess(const std::string& inFirst, const std::string& inSecond) {
    std::size_t i = 0, j = 0;
    while (i < inFirst.size() && j < inSecond.size()) {
        if (!IsDigit(inFirst[i]) || !IsDigit(inSecond[j])) {
            if (inFirst[i] != inSecond[j]) return inFirst[i] < inSecond[j];
            ++i, ++j;
            continue;
        }
        const auto number = [](const std::string& inText, std::size_t& ioAt) {
            while (ioAt < inText.size() && inText[ioAt] == '0')
                ++ioAt;
            const std::size_t from = ioAt;
            while (ioAt < inText.size() && IsDigit(inText[ioAt]))
                ++ioAt;
            return inText.substr(from, ioAt - from);
        };
        const std::string first = number(inFirst, i), second = number(inSecond, j);
        if (first.size() != second.size()) return first.size() < second.size();
        if (first != second) return first < second;
    }
    return inFirst.size() - i < inSecond.size() - j;
}

bool HasPictureEnding(const fs::path& inFile) {
    static const char* const kEndings[] = {".png", ".jpg", ".jpeg", ".pgm",  ".ppm", ".pnm",
                                           ".bmp", ".tif", ".tiff", ".webp", ".tga"};
    std::string ending = inFile.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char inLetter) { return char(std::tolower(inLetter)); });
    return std::find(std::begin(kEndings), std::end(kEndings), ending) != std::end(kEndings);
}

std::vector<std::string> SortedFiles(const fs::path& inFolder, auto inIsWanted) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator at(inFolder, error), end; !error && at != end;
         at.increment(error)) {
        const std::string name = at->path().filename().string();
        if (name[0] != '.' && inIsWanted(at->path())) names.push_back(name);
    }
    if (error)
        throw UserError("folder '" + inFolder.string() +
                        "' cannot be read: " + error.message());
    std::sort(names.begin(), names.end(), NaturalLess);
    for (std::string& name : names)
        name = (inFolder / name).string();
    return names;
}

// The parts of a name before and behind its `%d` or `%0Nd`.
struct Pattern {
    std::string mHead, mTail;
    bool mFound = false;
};

Pattern FindPattern(const std::string& inName) {
    const std::size_t percent = inName.find('%');
    if (percent == std::string::npos) return {};
    std::size_t end = percent + 1;
    while (end < inName.size() && IsDigit(inName[end]))
        ++end;
    if (end >= inName.size() || inName[end] != 'd') return {};
    return {inName.substr(0, percent), inName.substr(end + 1), true};
}

std::vector<std::string> FilesOfPattern(const fs::path& inPath, const Pattern& inPattern) {
    const fs::path folder = inPath.has_parent_path() ? inPath.parent_path() : fs::path(".");
    return SortedFiles(folder, [&](const fs::path& inFile) {
        const std::string name = inFile.filename().string();
        const std::size_t fixed = inPattern.mHead.size() + inPattern.mTail.size();
        if (name.size() <= fixed || !name.starts_with(inPattern.mHead) ||
            !name.ends_with(inPattern.mTail))
            return false;
        const std::string number = name.substr(inPattern.mHead.size(), name.size() - fixed);
        return std::all_of(number.begin(), number.end(), IsDigit);
    });
}

}  // namespace

std::vector<std::string> FindFiles(const std::string& inInput) {
    const fs::path path = PathOf(inInput);
    std::error_code error;
    std::vector<std::string> files;
    if (fs::is_directory(path, error)) {
        files = SortedFiles(path, HasPictureEnding);
        if (files.empty()) throw UserError("folder '" + inInput + "' holds no pictures");
        return files;
    }
    if (fs::exists(path, error)) return {inInput};
    const Pattern pattern = FindPattern(path.filename().string());
    if (!pattern.mFound) throw UserError("there is no file or folder '" + inInput + "'");
    files = FilesOfPattern(path, pattern);
    if (files.empty()) throw UserError("no file matches '" + inInput + "'");
    return files;
}

FrameReader::FrameReader(const std::string& inInput, long long inMaxFrames)
    : mName(inInput), mFiles(FindFiles(inInput)), mMaxFrames(inMaxFrames) {
    if (!ReadFromFiles(mFirst)) {
        const std::string trouble = mFile ? mFile->Trouble() : "";
        throw UserError("'" + inInput + "' has no frames in it" +
                        (trouble.empty() ? "" : ": " + trouble));
    }
    if (mFiles.size() > 1) {
        mFrameCount = (long long)mFiles.size();
    } else if (mFile) {
        mFrameRate = mFile->FrameRate();
        mFrameCount = mFile->FrameCount();
        mTimeBase = mFile->GetTimeBase();
    }
}

FrameReader::~FrameReader() = default;

long long FrameReader::FrameCount() const {
    if (mMaxFrames > 0 && (mFrameCount == 0 || mFrameCount > mMaxFrames)) return mMaxFrames;
    return mFrameCount;
}

bool FrameReader::Read(Frame& outFrame) {
    if (mMaxFrames > 0 && mFramesRead >= mMaxFrames) return false;
    if (!mFirstGiven) {
        outFrame = mFirst;
        mFirstGiven = true;
    } else if (!ReadFromFiles(outFrame)) {
        return false;
    }
    if (outFrame.mWidth != Width() || outFrame.mHeight != Height())
        throw UserError("'" + mFiles[mNextFile - 1] + "' is " +
                        std::to_string(outFrame.mWidth) + "x" +
                        std::to_string(outFrame.mHeight) + ", but the first frame is " +
                        std::to_string(Width()) + "x" + std::to_string(Height()));
    if (mFiles.size() > 1) {
        outFrame.mTime = mFramesRead;
        outFrame.mDuration = 1;
    }
    ++mFramesRead;
    return true;
}

bool FrameReader::ReadFromFiles(Frame& outFrame) {
    for (;;) {
        if (mFile && mFile->Read(outFrame)) return true;
        if (mFile && mTrouble.empty()) mTrouble = mFile->Trouble();
        if (mNextFile == mFiles.size()) return false;
        mFile = std::make_unique<MediaFile>(mFiles[mNextFile++]);
    }
}

std::string FrameReader::Trouble() const {
    return mTrouble.empty() && mFile ? mFile->Trouble() : mTrouble;
}

const AVStream* FrameReader::Sound() const {
    return mFiles.size() == 1 && mFile ? mFile->Sound() : nullptr;
}

std::string FrameReader::Note() const { return mFile ? mFile->Note() : ""; }

Frame ReadPicture(const std::string& inFile) {
    FrameReader reader(inFile, 1);
    Frame frame;
    reader.Read(frame);
    return frame;
}

}  // namespace Host
