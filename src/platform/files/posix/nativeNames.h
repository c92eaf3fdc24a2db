// Names of the file system, which are bytes, and text, which is UTF-16. No name is lost: a byte that is no UTF-8 stands in
// the text as the lone surrogate U+DC00 + byte, and such a surrogate is that byte again on the way back.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kvdm {

std::string nativeBytes(std::u16string_view text);

constexpr bool isSeparator(char16_t unit) noexcept
{
    return unit == u'/' || unit == u'\\';
}

// Cuts at the last separator: the folder with its separator ("" when there is none) and the last component, which is empty
// when the path ends with a separator.
struct ParentAndName
{
    std::string_view folder;
    std::string_view name;
};
constexpr ParentAndName parentAndName(std::string_view native) noexcept
{
    const std::size_t slash = native.rfind('/');
    return slash == std::string_view::npos ? ParentAndName{{}, native} : ParentAndName{native.substr(0, slash + 1), native.substr(slash + 1)};
}

} // namespace kvdm
