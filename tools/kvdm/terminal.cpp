#include "terminal.h"

#include <kvdocmgr/text.h>

#include <fmt/format.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace kvdm::tool {

namespace {

// A device that is not the empty one.
bool isTerminal(const char* stream)
{
    std::error_code unknown;
    return std::filesystem::is_character_file(stream, unknown) && !std::filesystem::equivalent(stream, "/dev/null", unknown);
}

} // namespace

bool errorIsTerminal()
{
    static const bool answer = isTerminal("/dev/stderr");
    return answer;
}

bool outputIsColoured()
{
    static const bool answer = [] {
        const char* terminal = std::getenv("TERM");
        const char* refused = std::getenv("NO_COLOR");
        return isTerminal("/dev/stdout") && !(refused && *refused) && terminal && std::strcmp(terminal, "dumb") != 0;
    }();
    return answer;
}

namespace {

std::string escaped(std::string_view code, std::string_view text)
{
    return outputIsColoured() ? fmt::format("\x1b[{}m{}\x1b[0m", code, text) : std::string(text);
}

// Units that East Asian terminals show twice as wide.
bool isWide(char16_t unit)
{
    return (unit >= 0x1100 && unit <= 0x115F) || (unit >= 0x2E80 && unit <= 0xA4CF) || (unit >= 0xAC00 && unit <= 0xD7A3) ||
           (unit >= 0xF900 && unit <= 0xFAFF) || (unit >= 0xFE30 && unit <= 0xFE6F) || (unit >= 0xFF00 && unit <= 0xFF60);
}

} // namespace

std::string bold(std::string_view text)
{
    return escaped("1", text);
}

std::string faint(std::string_view text)
{
    return escaped("2", text);
}

std::string coloured(std::string_view text, int colour)
{
    return escaped(fmt::format("3{}", colour), text);
}

std::size_t columnsOf(std::string_view utf8)
{
    std::size_t columns = 0;
    for (const char16_t unit : fromUtf8(utf8)) {
        const bool combining = (unit >= 0x300 && unit <= 0x36F) || (unit >= 0xD800 && unit < 0xDC00); // a pair counts once
        columns += combining ? 0 : isWide(unit) ? 2 : 1;
    }
    return columns;
}

std::string padded(std::string_view utf8, std::size_t columns)
{
    const std::size_t taken = columnsOf(utf8);
    return std::string(utf8) + std::string(taken < columns ? columns - taken : 0, ' ');
}

std::string printable(std::u16string_view text)
{
    std::u16string shown;
    for (const char16_t unit : text) {
        if (unit < 0x20 || (unit >= 0x7F && unit < 0xA0))
            shown += fromUtf8(fmt::format("\\x{:02x}", static_cast<unsigned>(unit)));
        else
            shown += unit;
    }
    return toUtf8(shown);
}

std::string shortened(const std::string& utf8, std::size_t letters)
{
    std::size_t seen = 0;
    for (std::size_t i = 0; i < utf8.size(); ++i)
        if ((static_cast<unsigned char>(utf8[i]) & 0xC0) != 0x80 && ++seen > letters)
            return utf8.substr(0, i) + "...";
    return utf8;
}

std::string inQuotes(std::u16string_view text)
{
    return '"' + shortened(printable(text), 60) + '"';
}

std::string inQuotes(const std::string& utf8)
{
    return inQuotes(fromUtf8(utf8));
}

std::string sizeText(unsigned long long bytes)
{
    static constexpr const char* units[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024)
        return fmt::format("{} {}", bytes, bytes == 1 ? "byte" : "bytes");
    double size = static_cast<double>(bytes);
    int unit = 0;
    for (; size >= 1024 && unit < 4; ++unit)
        size /= 1024;
    return fmt::format("{:.1f} {}", size, units[unit]);
}

} // namespace kvdm::tool
