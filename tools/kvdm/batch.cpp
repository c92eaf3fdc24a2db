#include "batch.h"

#include "client.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iostream>
#include <map>

namespace kvdm::tool {

namespace {

using Record = std::vector<std::string>;

Record readJsonRecord(const std::string& text)
{
    const auto json = nlohmann::json::parse(text);
    Record record;
    for (const char* key : {"file", "name", "value"}) {
        const nlohmann::json& value = json.at(key);
        record.push_back(value.is_string() ? value.get<std::string>() : value.is_boolean() ? (value.get<bool>() ? "Yes" : "No") : value.dump());
    }
    return record;
}

// Calls take(line number, record) for each record of the list.
template <class Take> void eachRecord(std::istream& input, Take&& take)
{
    std::size_t line = 0;
    const int first = (input >> std::ws).peek();
    if (first == '{') {
        for (std::string text; std::getline(input, text);) {
            ++line;
            if (text.find_first_not_of(" \t\r") == std::string::npos)
                continue;
            try {
                take(line, readJsonRecord(text));
            } catch (const nlohmann::json::exception& error) {
                throw Failure(fmt::format("line {}: {}", line, error.what()));
            }
        }
        return;
    }
    Record record;
    for (std::size_t at = 1; readCsvRecord(input, record, line); at = line + 1) {
        const bool blank = record.size() == 1 && record[0].empty();
        const bool heading = at == 1 && record == Record{"file", "name", "value"};
        if (!blank && !heading)
            take(at, record);
    }
}

} // namespace

bool readCsvRecord(std::istream& input, std::vector<std::string>& fields, std::size_t& line)
{
    fields.assign(1, {});
    bool quoted = false;
    bool any = false;
    for (int c = 0; (c = input.get()) != std::char_traits<char>::eof();) {
        any = true;
        if (c == '\n')
            ++line;
        if (quoted) {
            if (c != '"')
                fields.back() += static_cast<char>(c);
            else if (input.peek() == '"')
                fields.back() += static_cast<char>(input.get());
            else
                quoted = false;
        } else if (c == '"' && fields.back().empty()) {
            quoted = true;
        } else if (c == ',') {
            fields.emplace_back();
        } else if (c == '\n') {
            return true;
        } else if (c != '\r' || input.peek() != '\n') {
            fields.back() += static_cast<char>(c);
        }
    }
    if (quoted)
        throw Failure(fmt::format("line {}: a quote is never closed", line + 1));
    ++line;
    return any;
}

std::vector<FileChanges> readBatch(const std::string& list)
{
    std::ifstream file;
    if (list != "-") {
        file.open(list, std::ios::binary);
        if (!file)
            throw Failure(list + ": cannot be read");
    }
    std::vector<FileChanges> result;
    std::map<std::string, std::size_t> places;
    try {
        eachRecord(list == "-" ? std::cin : file, [&](std::size_t line, const Record& record) {
            if (record.size() != 3)
                throw Failure(fmt::format("line {}: {} fields, not 3 (file, name, value)", line, record.size()));
            const auto [place, isNew] = places.try_emplace(record[0], result.size());
            if (isNew)
                result.push_back({record[0], {}});
            result[place->second].changes.emplace_back(record[1], record[2]);
        });
    } catch (const Failure& failure) {
        throw Failure(list + ": " + failure.what());
    }
    return result;
}

} // namespace kvdm::tool
