#include "Table.h"

#include <charconv>
#include <cmath>

namespace Host {
namespace {

void Append(std::string& ioLine, const Json& inValue) {
    char text[40];
    std::to_chars_result end{text, {}};
    if (inValue.is_number_float())
        end = std::to_chars(text, text + sizeof text, inValue.get<double>());
    else if (inValue.is_number())
        end = std::to_chars(text, text + sizeof text, inValue.get<std::int64_t>());
    else if (inValue.is_string())
        ioLine += inValue.get_ref<const std::string&>();
    else if (!inValue.is_null())
        ioLine += JsonText(inValue);
    ioLine.append(text, end.ptr);
}

}  // namespace

double Shortest(float inValue) {
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, inValue);
    double value = double(inValue);
    if (std::isfinite(inValue)) std::from_chars(text, end.ptr, value);
    return value;
}

Json RowObject(const Columns& inColumns, const Row& inRow, std::size_t inFirst) {
    Json object = Json::object();
    for (std::size_t i = inFirst; i < inRow.size(); ++i)
        object.push_back({inColumns[i].mName, inRow[i]});
    return object;
}

Json DescribeColumns(const Columns& inColumns) {
    Json described = Json::object();
    for (const Column& column : inColumns)
        described[column.mName] = {{"unit", column.mUnit}, {"meaning", column.mMeaning}};
    return described;
}

CsvFile::CsvFile(const std::string& inFile, const Columns& inColumns) : mFile(inFile) {
    std::string line;
    for (const Column& column : inColumns)
        line += (line.empty() ? "" : ",") + column.mName;
    mFile.Print(line + "\n");
}

void CsvFile::Add(const Row& inRow) {
    std::string line;
    for (const Json& value : inRow) {
        if (&value != &inRow.front()) line += ',';
        Append(line, value);
    }
    mFile.Print(line + "\n");
}

}  // namespace Host
