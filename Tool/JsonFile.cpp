#include "JsonFile.h"

namespace Host {

JsonFile::JsonFile(const std::string& inName, const Json& inHead, const std::string& inArray,
                   Links inLinks)
    : mFile(inName, inLinks) {
    mFile.Print("{\n");
    Members(inHead);
    mFile.Print(JsonText(inArray) + ": [");
}

JsonFile::~JsonFile() {
    if (mIsOpen) mFile.Print("\n]}\n");
}

void JsonFile::Members(const Json& inObject) {
    for (const auto& [name, value] : inObject.items())
        mFile.Print(JsonText(name) + ": " + JsonText(value) + ",\n");
}

void JsonFile::Add(const Json& inElement) {
    mFile.Print(mHasElements ? ",\n" : "\n");
    mFile.Print(JsonText(inElement));
    mHasElements = true;
}

void JsonFile::Finish(const Json& inTail) {
    mFile.Print("\n]");
    for (const auto& [name, value] : inTail.items()) {
        mFile.Print(",\n");
        mFile.Print(JsonText(name) + ": " + JsonText(value));
    }
    mFile.Print("\n}\n");
    mIsOpen = false;
    mFile.Flush();
}

}  // namespace Host
