#include "JsonFile.h"

#include <algorithm>
#include <cstdio>

namespace Host {
namespace {

// The length of the UTF-8 sequence at `inAt`, 0 where there is none.
std::size_t Utf8Length(const std::string& inBytes, std::size_t inAt) {
    const auto byte = [&](std::size_t inIndex) {
        return inIndex < inBytes.size() ? unsigned(static_cast<unsigned char>(inBytes[inIndex]))
                                        : 0u;
    };
    const unsigned lead = byte(inAt);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < 0xc2 || lead > 0xf4) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(inAt + i) & 0xc0) != 0x80) return 0;
    const unsigned second = byte(inAt + 1);  // overlong forms, surrogates, past the last
    if ((lead == 0xe0 && second < 0xa0) || (lead == 0xed && second > 0x9f) ||
        (lead == 0xf0 && second < 0x90) || (lead == 0xf4 && second > 0x8f))
        return 0;
    return length;
}

}  // namespace

std::string JsonText(const std::string& inBytes) {
    std::string json = "\"";
    for (std::size_t at = 0; at < inBytes.size();) {
        const std::size_t length = Utf8Length(inBytes, at);
        const auto letter = static_cast<unsigned char>(inBytes[at]);
        if (length == 0) {
            json += "\\ufffd";
        } else if (letter < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", unsigned(letter));
            json += escape;
        } else {
            if (letter == '"' || letter == '\\') json += '\\';
            json.append(inBytes, at, length);
        }
        at += std::max<std::size_t>(length, 1);
    }
    return json + '"';
}

JsonFile::JsonFile(const std::string& inName) : mFile(inName), mClosings("}") {
    mFile.Print("%s", "{");
}

JsonFile::~JsonFile() {
    try {
        Finish();
    } catch (const UserError&) {
        // The run ends because of another error, which is the one to tell.
    }
}

void JsonFile::StartItem(const std::string& inName) {
    if (!mFirstInLevel) mFile.Print("%s", mOneLine ? ", " : ",");
    if (!mOneLine) mFile.Print("\n%*s", int(mClosings.size()), "");
    if (!inName.empty()) mFile.Print("%s: ", JsonText(inName).c_str());
    mFirstInLevel = false;
}

void JsonFile::Write(const std::string& inName, const std::string& inJson) {
    StartItem(inName);
    mFile.Print("%s", inJson.c_str());
}

void JsonFile::Open(const std::string& inName, char inOpening, char inClosing) {
    Write(inName, std::string(1, inOpening));
    mClosings += inClosing;
    mFirstInLevel = true;
}

void JsonFile::Close(int inLevels) {
    for (; inLevels > 0; --inLevels) {
        const char closing = mClosings.back();
        mClosings.pop_back();
        if (!mFirstInLevel && !mOneLine) mFile.Print("\n%*s", int(mClosings.size()), "");
        mFile.Print("%c", closing);
        mFirstInLevel = mOneLine = false;
    }
}

void JsonFile::Value(const std::string& inName, const std::string& inText) {
    Write(inName, JsonText(inText));
}

void JsonFile::Value(const std::string& inName, double inNumber) {
    char number[40] = "null";
    if (std::isfinite(inNumber)) std::snprintf(number, sizeof number, "%.9g", inNumber);
    Write(inName, number);
}

void JsonFile::Finish() {
    if (mClosings.empty()) return;
    Close(int(mClosings.size()));
    mFile.Print("%s", "\n");
    mFile.Flush();
}

}  // namespace Host
