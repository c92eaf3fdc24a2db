// UTF-8 for clients: the interfaces speak UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kvdm {

// What becomes of bytes that are not UTF-8: U+FFFD, or the lone surrogates U+DC80 to U+DCFF, one a byte, which come back as
// the same bytes. Names of files take the second, so that every file can be named.
enum class IllFormed
{
    replace,
    keep
};

inline std::u16string fromUtf8(std::string_view text, IllFormed illFormed = IllFormed::replace)
{
    std::u16string out;
    out.reserve(text.size());
    const auto byteAt = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    for (std::size_t i = 0; i < text.size();) {
        const std::uint8_t lead = byteAt(i);
        if (lead < 0x80) {
            out += static_cast<char16_t>(lead);
            ++i;
            continue;
        }
        const std::size_t more = lead >= 0xC2 && lead < 0xE0 ? 1 : lead >= 0xE0 && lead < 0xF0 ? 2 : lead >= 0xF0 && lead < 0xF5 ? 3 : 0;
        char32_t code = more ? lead & (0x3Fu >> more) : 0;
        std::size_t got = 0;
        while (got < more && i + 1 + got < text.size() && (byteAt(i + 1 + got) & 0xC0) == 0x80)
            code = (code << 6) | (byteAt(i + 1 + got++) & 0x3Fu);
        const bool wellFormed = more > 0 && got == more && !(more == 2 && (code < 0x800 || (code >= 0xD800 && code < 0xE000))) &&
                                !(more == 3 && (code < 0x10000 || code > 0x10FFFF));
        if (!wellFormed) {
            out += illFormed == IllFormed::keep ? static_cast<char16_t>(0xDC00 + lead) : u'\xFFFD';
            ++i;
            continue;
        }
        i += 1 + more;
        if (code >= 0x10000) {
            out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(code);
        }
    }
    return out;
}

inline std::string toUtf8(std::u16string_view text, IllFormed illFormed = IllFormed::replace)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        if (code >= 0xD800 && code < 0xE000) {
            const bool paired = code < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
            if (!paired && illFormed == IllFormed::keep && code >= 0xDC80 && code < 0xDD00) {
                out += static_cast<char>(code - 0xDC00);
                continue;
            }
            code = paired ? 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u) : 0xFFFD;
        }
        if (code < 0x80) {
            out += static_cast<char>(code);
            continue;
        }
        const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        out += static_cast<char>((0xFF00u >> (more + 1)) | (code >> (6 * more)));
        for (int left = more - 1; left >= 0; --left)
            out += static_cast<char>(0x80 | ((code >> (6 * left)) & 0x3F));
    }
    return out;
}

} // namespace kvdm
