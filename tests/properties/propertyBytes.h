// Property streams put together byte by byte; shares nothing with the code that reads and writes them.
#pragma once

#include "support/ForeignObjects.h"
#include "support/StorageTools.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kvdm::test {

inline std::string le(std::uint64_t value, int bytes)
{
    std::string out;
    for (; bytes > 0; --bytes, value >>= 8)
        out.push_back(static_cast<char>(value & 0xFF));
    return out;
}
inline std::string le16(std::uint16_t value)
{
    return le(value, 2);
}
inline std::string le32(std::uint32_t value)
{
    return le(value, 4);
}

inline std::string fromHex(std::string_view hex)
{
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
    std::string out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(digit(hex[i]) * 16 + digit(hex[i + 1])));
    return out;
}

inline std::string padded(std::string bytes)
{
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
}

// Values with their type words.
inline std::string textValue(std::string_view text)
{
    return le32(30) + padded(le32(static_cast<std::uint32_t>(text.size() + 1)) + std::string(text) + '\0');
}
inline std::string numberValue(std::int32_t number)
{
    return le32(3) + le32(static_cast<std::uint32_t>(number));
}
inline std::string shortValue(std::uint16_t number)
{
    return le32(2) + padded(le16(number));
}
inline std::string flagValue(bool on)
{
    return le32(11) + padded(le16(on ? 0xFFFF : 0));
}
inline std::string dictionary(const std::vector<std::pair<std::uint32_t, std::string>>& names)
{
    std::string out = le32(static_cast<std::uint32_t>(names.size()));
    for (const auto& [id, name] : names)
        out += le32(id) + le32(static_cast<std::uint32_t>(name.size() + 1)) + name + '\0';
    return padded(out);
}

using RawValues = std::vector<std::pair<std::uint32_t, std::string>>;

inline std::string rawSection(const RawValues& values)
{
    std::string table;
    std::string body;
    for (const auto& [id, value] : values) {
        table += le32(id) + le32(static_cast<std::uint32_t>(8 + 8 * values.size() + body.size()));
        body += value;
    }
    return le32(static_cast<std::uint32_t>(8 + table.size() + body.size())) + le32(static_cast<std::uint32_t>(values.size())) + table + body;
}

inline const std::string summaryGuid = fromHex("e0859ff2f94f6810ab9108002b27b3d9");
inline const std::string documentGuid = fromHex("02d5cdd59c2e1b10939708002b2cf9ae");
inline const std::string userGuid = fromHex("05d5cdd59c2e1b10939708002b2cf9ae");

inline std::string rawSet(const std::string& classId, const std::vector<std::pair<std::string, std::string>>& sections)
{
    std::string out = fromHex("feff000006000200") + classId + le32(static_cast<std::uint32_t>(sections.size()));
    std::size_t at = out.size() + 20 * sections.size();
    for (const auto& [guid, section] : sections) {
        out += guid + le32(static_cast<std::uint32_t>(at));
        at += section.size();
    }
    for (const auto& [guid, section] : sections)
        out += section;
    return out;
}

// A stream with the user section alone, and with the two sections that the visible store writes.
inline std::string userStream(const RawValues& values)
{
    return rawSet(userGuid, {{userGuid, rawSection(values)}});
}
inline std::string visibleStream(const RawValues& values)
{
    return rawSet(documentGuid, {{documentGuid, rawSection({{22, flagValue(false)}, {0, dictionary({{0, ""}})}})}, {userGuid, rawSection(values)}});
}

inline Bytes toBytes(std::string_view text)
{
    return Bytes(text.begin(), text.end());
}
inline ComPtr<IStorage> storageWith(const std::vector<std::pair<std::u16string, std::string>>& streams, ForeignPlan& plan)
{
    BuilderNode root;
    for (const auto& [name, bytes] : streams)
        root.stream(name, bytes);
    return ForeignStorage::over(root, plan);
}
inline std::string streamOf(IStorage& storage, const std::u16string& name)
{
    IStream* stream = nullptr;
    if (FAILED(storage.OpenStream(name.c_str(), nullptr, readElement, 0, &stream)))
        return "(none)";
    const auto bytes = readAll(*ComPtr<IStream>::adopt(stream));
    return bytes ? std::string(bytes->begin(), bytes->end()) : "(fails)";
}

} // namespace kvdm::test
