#include "properties/oleValues.h"

#include "platform/text/codepages.h"

#include <kvdocmgr/oletypes.h>

#include <algorithm>

namespace kvdm {

namespace {

enum class Form
{
    unknown,
    fixed,     // `size` bytes
    counted,   // u32 count, then `size` bytes each
    likeBefore // the size of the element before it, which is none for the first and so for all
};

struct Layout
{
    Form form = Form::unknown;
    std::uint32_t size = 0;
    bool wideInMemory = false;
};

Layout layoutOf(std::uint32_t elementType) noexcept
{
    switch (elementType) {
    case VT_EMPTY:
        return {Form::fixed, 0};
    case VT_I2:
    case VT_BOOL:
    case 18:
        return {Form::fixed, 2};
    case VT_I4:
    case VT_R4:
    case 19:
        return {Form::fixed, 4};
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_I8:
    case VT_FILETIME:
        return {Form::fixed, 8};
    case VT_CLSID:
        return {Form::fixed, 16};
    case VT_LPSTR:
    case VT_BLOB:
    case 70:
    case 71:
    case 75:
        return {Form::counted, 1};
    case VT_LPWSTR:
        return {Form::counted, 2};
    case VT_BSTR:
    case 66:
    case 67:
    case 68:
    case 69:
    case 73:
    case 74:
        return {Form::counted, 1, true};
    case oleTypeVariant:
        return {Form::likeBefore};
    default:
        return {};
    }
}

constexpr std::size_t conversionLimit = 1024; // units or bytes of one element, its NUL included

std::u16string unitsOf(std::string_view bytes)
{
    std::u16string text(bytes.size() / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * 2);
    return text.substr(0, text.find(u'\0'));
}

std::string bytesOf(const std::u16string& text)
{
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2);
}

} // namespace

std::optional<std::size_t> olePayloadEnd(std::string_view stream, std::size_t at, std::uint32_t type, OleReadBudget& budget)
{
    if (at > stream.size())
        return std::nullopt;
    const Layout layout = layoutOf(type & ~oleVectorFlag);
    if (layout.form == Form::unknown)
        return std::nullopt;

    std::uint64_t count = 1;
    const bool vector = (type & oleVectorFlag) != 0;
    if (vector) {
        if (stream.size() - at < 4)
            return std::nullopt;
        count = oleNumber<std::uint32_t>(stream.data() + at);
        at += 4;
    }

    if (layout.form == Form::counted) {
        for (; count > 0; --count) {
            if (stream.size() - at < 4)
                return std::nullopt;
            const std::uint64_t bytes = std::uint64_t{oleNumber<std::uint32_t>(stream.data() + at)} * layout.size;
            if (stream.size() - at - 4 < bytes || !budget.spend(4 + bytes))
                return std::nullopt;
            at += 4 + static_cast<std::size_t>(bytes);
        }
    } else if (layout.form == Form::fixed) {
        if (stream.size() - at < count * layout.size || !budget.spend(count * layout.size))
            return std::nullopt;
        at += static_cast<std::size_t>(count * layout.size);
    }

    // Readers of this format ask for four bytes more than a vector has, and fail where the stream ends with it.
    if (vector && !layout.wideInMemory && stream.size() - at < 4)
        return std::nullopt;
    return at;
}

std::optional<std::string> olePayloadOf(std::uint32_t type, std::string_view value)
{
    const Layout layout = layoutOf(type & ~oleVectorFlag);
    if (layout.form == Form::unknown || layout.form == Form::likeBefore || type == 18 || type == 19)
        return std::nullopt;
    if (layout.form == Form::fixed && !(type & oleVectorFlag))
        return value.size() < layout.size ? std::nullopt : std::optional(std::string(value.substr(0, layout.size)));

    std::string payload;
    if (type == VT_LPSTR) {
        const std::string_view text = value.substr(0, value.find('\0'));
        appendOleNumber(payload, static_cast<std::uint32_t>(text.size() + 1));
        payload.append(text).push_back('\0');
    } else if (type == VT_LPWSTR) {
        const std::u16string text = unitsOf(value);
        appendOleNumber(payload, static_cast<std::uint32_t>(text.size() + 1));
        payload.append(bytesOf(text)).append(2, '\0');
    } else if (type == VT_BSTR || (type >= 66 && type <= 69)) {
        const std::string text = encodeText(codePageSystem, unitsOf(value)).substr(0, conversionLimit - 1);
        appendOleNumber(payload, static_cast<std::uint32_t>(text.size() + 1));
        payload.append(text).push_back('\0');
    } else {
        OleReadBudget budget(value.size());
        const std::string image = std::string(value) + std::string(4, '\0'); // the four bytes that a vector's reader wants
        const auto end = olePayloadEnd(image, 0, type, budget);
        if (!end || *end > value.size())
            return std::nullopt;
        payload.assign(value.substr(0, *end));
    }
    return payload;
}

std::optional<std::string> oleValueOf(std::uint32_t type, std::string_view payload)
{
    const Layout layout = layoutOf(type & ~oleVectorFlag);
    if (layout.form == Form::unknown || layout.form == Form::likeBefore || type == VT_EMPTY || type == 18 || type == 19)
        return std::nullopt;
    const bool keepsLength = type == VT_BLOB || type == 70 || type == 75;
    if (layout.form == Form::fixed || keepsLength || (type & oleVectorFlag))
        return std::string(payload);
    payload.remove_prefix(std::min<std::size_t>(payload.size(), 4));
    if (!layout.wideInMemory)
        return std::string(payload);
    return bytesOf(decodeText(codePageSystem, payload).substr(0, conversionLimit));
}

std::string_view oleNarrowText(std::string_view payload) noexcept
{
    payload.remove_prefix(std::min<std::size_t>(payload.size(), 4));
    return payload.substr(0, payload.find('\0'));
}

} // namespace kvdm
