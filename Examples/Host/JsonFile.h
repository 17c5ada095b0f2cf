// JsonFile: one JSON object, written as a run goes on.

#pragma once

#include <cmath>
#include <concepts>
#include <memory>
#include <string>

#include "TextFile.h"

namespace Host {

/// `inBytes` as a JSON string with its quotes. Bytes that are no UTF-8, as file names may
/// have them, become U+FFFD.
std::string JsonText(const std::string& inBytes);

/// A tree that is opened, filled and closed in order:
///
///     JsonFile json("out.json");           {
///     json.Value("width", 640);              "width": 640,
///     json.OpenArray("frames");              "frames": [
///     json.OpenObject();                       {
///     json.Value("live", 12);                    "live": 12
///     json.Close(2);                           }
///                                            ]
///     json.Finish();                       }
///
/// The destructor closes what is open, so that the file is valid whatever ended the run.
///
/// Ownership: plain object, one owner.
/// Threads: one thread at a time.
/// Errors: a file that cannot be made or written throws `UserError`.
class JsonFile {
public:
    explicit JsonFile(const std::string& inName);
    ~JsonFile();
    JsonFile(const JsonFile&) = delete;
    JsonFile& operator=(const JsonFile&) = delete;

    /// Inside an array the name is left empty.
    void OpenObject(const std::string& inName = {}) { Open(inName, '{', '}'); }
    void OpenArray(const std::string& inName = {}) { Open(inName, '[', ']'); }
    /// An object of plain values that stays on one line.
    void OpenLine(const std::string& inName = {}) {
        OpenObject(inName);
        mOneLine = true;
    }
    void Close(int inLevels = 1);

    void Value(const std::string& inName, const std::string& inText);
    void Value(const std::string& inName, const char* inText) {
        Value(inName, std::string(inText));
    }
    void Value(const std::string& inName, std::same_as<bool> auto inValue) {
        Write(inName, inValue ? "true" : "false");
    }
    template <std::integral T>
    requires(!std::same_as<T, bool>) void Value(const std::string& inName, T inNumber) {
        Write(inName, std::to_string(inNumber));
    }
    /// What is no number is written as null: JSON knows neither infinities nor NaN.
    void Value(const std::string& inName, double inNumber);

    /// Closes everything and hands it on to the system.
    void Finish();

private:
    void Open(const std::string& inName, char inOpening, char inClosing);
    void StartItem(const std::string& inName);
    void Write(const std::string& inName, const std::string& inJson);

    TextFile mFile;
    std::string mClosings;  // of the levels that are open, the innermost last
    bool mFirstInLevel = true;
    bool mOneLine = false;
};

}  // namespace Host
