// The one place where the public text unit (wchar_t on Windows, char16_t elsewhere) meets the text unit used inside.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <algorithm>
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

// A copy in task memory, which the one who is given it frees; null when memory is exhausted.
inline LPOLESTR copyForTask(std::u16string_view text) noexcept
{
    auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(OLECHAR)));
    if (copy) {
        std::copy_n(text.data(), text.size(), copy);
        copy[text.size()] = 0;
    }
    return copy;
}

} // namespace kvdm
