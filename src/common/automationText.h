// The one place where the public text unit (wchar_t on Windows, char16_t elsewhere) meets the text unit used inside.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <string>
#include <string_view>

namespace kvdm {

inline const OLECHAR* toOle(const char16_t* text) noexcept
{
    return reinterpret_cast<const OLECHAR*>(text);
}

inline const OLECHAR* toOle(const std::u16string& text) noexcept
{
    return toOle(text.c_str());
}

// A null pointer reads as the empty text.
inline std::u16string_view fromOle(const OLECHAR* text) noexcept
{
    return text ? std::u16string_view(reinterpret_cast<const char16_t*>(text)) : std::u16string_view();
}

} // namespace kvdm
