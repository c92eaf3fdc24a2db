#include "batch.h"

#include "client.h"
#include "files.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

namespace kvdm::tool {

namespace {

using Record = std::vector<std::string>; // file, name, value and perhaps type

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

Record readJsonRecord(const std::string& text)
{
    const auto json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object())
        throw Failure("no JSON object");
    Record record;
    for (const char* key : {"file", "name", "value", "type"}) {
        const auto found = json.find(key);
        if (found == json.end() && record.size() == 3)
            break;
        if (found == json.end() || found->is_structured() || found->is_null())
            throw Failure(fmt::format("no \"{}\" that is a text, a number, true or false", key));
        record.push_back(found->is_string() ? found->get<std::string>() : found->is_boolean() ? (found->get<bool>() ? "Yes" : "No") : found->dump());
    }
    return record;
}

bool isHeading(Record record)
{
    for (std::string& word : record)
        std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return record == Record{"file", "name", "value"};
}

template <class Body> void inLine(std::size_t line, Body&& body)
{
    try {
        body();
    } catch (const Failure& failure) {
        throw Failure(fmt::format("line {}: {}", line, failure.what()));
    }
}

// Calls take(record) for each record of the list.
template <class Take> void eachRecord(std::istream& input, Take&& take)
{
    std::size_t line = 0;
    for (std::size_t i = 0; i < byteOrderMark.size() && input.peek() == static_cast<unsigned char>(byteOrderMark[i]); ++i)
        input.get();
    const int first = (input >> std::ws).peek();
    if (first == '{') {
        for (std::string text; std::getline(input, text);) {
            ++line;
            if (text.find_first_not_of(" \t\r") == std::string::npos)
                continue;
            inLine(line, [&] { take(readJsonRecord(text)); });
        }
        return;
    }
    Record record;
    for (std::size_t at = 1; readCsvRecord(input, record, line); at = line + 1) {
        const bool blank = record.size() == 1 && record[0].empty();
        if (blank || (at == 1 && isHeading(record)))
            continue;
        inLine(at, [&] {
            if (record.size() != 3)
                throw Failure(fmt::format("{} {}, not the three file,name,value", record.size(), record.size() == 1 ? "field" : "fields"));
            take(record);
        });
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
        if (const std::string reason = whyNoFile(list); !file || reason == "is a directory")
            throw Failure(list + ": " + (reason.empty() ? "cannot be read" : reason));
    }
    std::vector<FileChanges> result;
    std::map<std::string, std::size_t> places;
    try {
        eachRecord(list == "-" ? std::cin : file, [&](const Record& record) {
            if (toUtf8(fromUtf8(record[1])) != record[1] || toUtf8(fromUtf8(record[2])) != record[2])
                throw Failure("not UTF-8");
            std::error_code unknown; // the spelling stands for a file that is not there
            const std::filesystem::path same = std::filesystem::weakly_canonical(record[0], unknown);
            const auto [place, isNew] = places.try_emplace(unknown ? record[0] : same.string(), result.size());
            if (isNew)
                result.push_back({record[0], {}});
            result[place->second].changes.push_back({record[1], record[2], record.size() == 4 ? record[3] : ""});
        });
    } catch (const Failure& failure) {
        throw Failure(list + ": " + failure.what());
    }
    return result;
}

} // namespace kvdm::tool
