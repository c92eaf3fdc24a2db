#include "common/unicode.h"

#include <cstdint>

namespace kvdm {

namespace {

constexpr char32_t replacement = 0xFFFD;

void appendUtf8(std::string& out, char32_t code)
{
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

} // namespace

std::string toUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        if (code >= 0xD800 && code < 0xE000) {
            const bool paired = code < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
            code = paired ? 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u) : replacement;
        }
        appendUtf8(out, code);
    }
    return out;
}

std::u16string fromUtf8(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<std::uint8_t>(text[i]);
        const int more = lead < 0x80 ? 0 : lead >= 0xC2 && lead < 0xE0 ? 1 : lead >= 0xE0 && lead < 0xF0 ? 2 : lead >= 0xF0 && lead < 0xF5 ? 3 : -1;
        char32_t code = more < 1 ? lead : lead & (0x3Fu >> more);
        int got = 0;
        while (got < more && i + 1 + got < text.size() && (static_cast<std::uint8_t>(text[i + 1 + got]) & 0xC0) == 0x80)
            code = (code << 6) | (static_cast<std::uint8_t>(text[i + 1 + got++]) & 0x3F);
        const bool good = more >= 0 && got == more && !(more == 2 && (code < 0x800 || (code >= 0xD800 && code < 0xE000))) &&
                          !(more == 3 && (code < 0x10000 || code > 0x10FFFF));
        i += 1 + (good ? got : 0);
        if (!good)
            code = replacement;
        if (code >= 0x10000) {
            out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(code);
        }
    }
    return out;
}

} // namespace kvdm
