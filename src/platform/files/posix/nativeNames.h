// Names of the file system, which are bytes, and text, which is UTF-16. No name is lost on the way there and back.
#pragma once

#include <kvdocmgr/text.h>

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kvdm {

inline std::string nativeBytes(std::u16string_view text)
{
    return toUtf8(text, IllFormed::keep);
}

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

// What nativePath (files.h) gives, with the kind of file that stands under the path as it was asked for: 0 when nothing does, or
// when that was not looked at. A link is S_IFLNK, whatever it leads to.
struct NativeFile
{
    std::string path;
    mode_t mode = 0;
};
std::optional<NativeFile> nativeFile(std::u16string_view path);

} // namespace kvdm
