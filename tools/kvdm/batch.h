// Lists of changes: CSV or JSON lines of file, name and value, JSON lines with a type too.
#pragma once

#include <istream>
#include <string>
#include <vector>

namespace kvdm::tool {

struct Change
{
    std::string name;
    std::string value;
    std::string type; // empty when the list does not tell
};

struct FileChanges
{
    std::string file;
    std::vector<Change> changes; // in the order of the list
};

// The changes of each file together, by whichever paths the list names it, files in the order of their first mention. "-"
// is standard input. A Failure names the line that cannot be read.
std::vector<FileChanges> readBatch(const std::string& list);

// One record of comma-separated values (RFC 4180): quoted fields may hold commas, quotes and line ends. False at the end.
// line counts the lines that were taken; a Failure for an open quote.
bool readCsvRecord(std::istream& input, std::vector<std::string>& fields, std::size_t& line);

} // namespace kvdm::tool
