// RecordedReports: stands in for the developer while a test runs.

#pragma once

#include <string>
#include <vector>

namespace Testing {

/// A broken contract or an impossible value as the developer would have been shown it.
struct Report {
    std::string mText;  // the condition, or the message with its line end
    std::string mFile;
    long mLine = 0;
    std::string mFunction;    // empty for a contract
    std::string mExpression;  // the same as the text for a contract
};

/// Takes the place of both dialogs for its lifetime and keeps what they are shown. One at
/// a time. The dialog for impossible values hides later reports from the same place, as
/// the built-in one does, unless told otherwise.
class RecordedReports {
public:
    enum class Later { kHide, kShow };

    explicit RecordedReports(Later inLater = Later::kHide);
    ~RecordedReports();
    RecordedReports(const RecordedReports&) = delete;
    RecordedReports& operator=(const RecordedReports&) = delete;

    std::vector<Report> Contracts() const;
    /// The file and the condition of each broken contract, a line each.
    std::string Broken() const;
    std::vector<Report> Asserts() const;
};

/// The host's `ThrowError` returns for the lifetime of this, after a broken contract too.
class ThrowErrorReturns {
public:
    ThrowErrorReturns();
    ~ThrowErrorReturns();
    ThrowErrorReturns(const ThrowErrorReturns&) = delete;
    ThrowErrorReturns& operator=(const ThrowErrorReturns&) = delete;
};

}  // namespace Testing
