// Table: the rows of a run, with the same names and numbers in CSV and in JSON.

#pragma once

#include <string>
#include <vector>

#include "JsonFile.h"

namespace Host {

struct Column {
    std::string mName, mUnit, mMeaning;
};
using Columns = std::vector<Column>;
/// One value a column; the last columns may be left out.
using Row = std::vector<Json>;

/// The columns that begin every row: the frame's number and time.
inline Columns FrameColumns() {
    return {{"frame", "number", "from 0"},
            {"time", "second", "of presentation, as in the input"}};
}

/// A float as the shortest decimal number that is read back as that float: what is printed
/// of it has no digits that the float does not have.
double Shortest(float inValue);

/// The row as an object, from column `inFirst` on.
Json RowObject(const Columns& inColumns, const Row& inRow, std::size_t inFirst = 0);
/// What the columns mean: name, then unit and meaning.
Json DescribeColumns(const Columns& inColumns);

/// A CSV file: the names, then a line for each row.
class CsvFile {
public:
    CsvFile(const std::string& inFile, const Columns& inColumns);
    void Add(const Row& inRow);
    void Finish() { mFile.Flush(); }

private:
    TextFile mFile;
};

}  // namespace Host
