// PictureFile: a picture that a diagnostic writer has written, in a file of the test's own.

#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace Testing {

using Bytes = std::vector<unsigned char>;

/// A path where nothing is yet, with letters of two bytes and of three; the file is gone
/// afterwards.
class PictureFile {
public:
    PictureFile() : mFile(std::filesystem::temp_directory_path() / u8"dp_\u00e9\u6f22_") {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        mFile += std::string(test->test_suite_name()) + test->name() +
                 std::to_string(::getpid()) + ".ppm";
        mPath = mFile.string();  // UTF-8
        std::filesystem::remove(mFile);
    }
    ~PictureFile() { std::filesystem::remove(mFile); }
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;

    const char* Path() const { return mPath.c_str(); }
    bool Exists() const { return std::filesystem::exists(mFile); }
    Bytes Content() const {
        std::ifstream stream(mFile, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    /// Red, green and blue of a pixel, row 0 the top row: the file begins with the last row.
    Bytes At(int inX, int inY, int inCols, int inRows) const {
        const Bytes all = Content();
        if (all.size() <= std::size_t(3 * inCols * inRows)) return {};
        const auto at = all.end() - 3 * (inY * inCols + inCols - inX);
        return {at, at + 3};
    }

private:
    std::filesystem::path mFile;
    std::string mPath;
};

}  // namespace Testing
