// JsonFile: one JSON object with a long array in it, written as a run goes on.

#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "TextFile.h"

namespace Host {

/// Members keep their order.
using Json = nlohmann::ordered_json;

/// The value as text. Bytes that are no UTF-8, as file names may have them, become U+FFFD;
/// numbers that are not finite become null, for JSON has neither infinities nor NaN.
inline std::string JsonText(const Json& inValue) {
    return inValue.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The members of a head, then one array with an element a line, then the members of a tail.
/// The destructor closes what is open, so that the file is valid whatever ended the run.
///
/// Ownership: plain object, one owner.
/// Threads: one thread at a time.
/// Errors: a file that cannot be made or written throws `UserError`.
class JsonFile {
public:
    /// @param inHead  an object; @param inArray  the array's name.
    JsonFile(const std::string& inName, const Json& inHead, const std::string& inArray,
             Links inLinks = Links::kFollowed);
    ~JsonFile();
    JsonFile(const JsonFile&) = delete;
    JsonFile& operator=(const JsonFile&) = delete;

    void Add(const Json& inElement);
    /// Writes the members of an object behind the array, and hands all on to the system.
    void Finish(const Json& inTail);

private:
    void Members(const Json& inObject);

    TextFile mFile;
    bool mHasElements = false, mIsOpen = true;
};

}  // namespace Host
