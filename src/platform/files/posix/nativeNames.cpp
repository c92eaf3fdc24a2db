#include "platform/files/posix/nativeNames.h"

#include "platform/files/files.h"

#include <cstdint>

namespace kvdm {

namespace {

constexpr char16_t escapedByte = 0xDC00; // + 0x80 to 0xFF

// Length of the well-formed sequence at the head of the bytes, 0 when there is none; the code goes to code.
std::size_t sequenceAt(std::string_view bytes, char32_t& code)
{
    const auto lead = static_cast<std::uint8_t>(bytes[0]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || length > bytes.size())
        return 0;
    code = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<std::uint8_t>(bytes[i]);
        if ((byte & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (byte & 0x3F);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    return overlong || (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF ? 0 : length;
}

} // namespace

std::u16string pathFromNative(std::string_view bytes)
{
    std::u16string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        char32_t code = 0;
        const std::size_t length = sequenceAt(bytes, code);
        if (length == 0) {
            out += static_cast<char16_t>(escapedByte + static_cast<std::uint8_t>(bytes[0]));
        } else if (code > 0xFFFF) {
            out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(code);
        }
        bytes.remove_prefix(length ? length : 1);
    }
    return out;
}

std::string nativeBytes(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
        if (code < 0x80 || (code >= escapedByte + 0x80u && code <= escapedByte + 0xFFu)) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) { // other lone surrogates as well: the name that comes out is at least their own
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
    return out;
}

} // namespace kvdm
