// Windows paths become names of files here and nowhere else.
#include "platform/files/files.h"
#include "platform/files/posix/folderIndex.h"
#include "platform/files/posix/nativeNames.h"
#include "platform/text/casing.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

namespace kvdm {

namespace {

bool isDriveLetter(char16_t unit)
{
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

bool startsLikeUnc(std::u16string_view path)
{
    return path.size() >= 2 && isSeparator(path[0]) && isSeparator(path[1]);
}

// True when the path equals the prefix or continues it with a separator; case and kind of separator do not count.
bool hasPrefix(std::u16string_view path, std::u16string_view prefix)
{
    if (path.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i)
        if (!(isSeparator(path[i]) && isSeparator(prefix[i])) && upperUnit(path[i]) != upperUnit(prefix[i]))
            return false;
    const bool isDrive = prefix.size() == 2 && prefix[1] == u':';
    return path.size() == prefix.size() || isSeparator(path[prefix.size()]) || isDrive;
}

// The folder that stands for the longest mapped prefix of the path, and that prefix's length; empty when none is mapped.
struct Mapping
{
    std::string target;
    std::size_t prefixLength;
};
std::optional<Mapping> mappingOf(std::u16string_view path)
{
    const char* variable = std::getenv("KESTROVANE_PATH_MAP");
    if (!variable)
        return std::nullopt;
    std::optional<Mapping> best;
    std::string_view map(variable);
    while (!map.empty()) {
        const std::string_view entry = map.substr(0, map.find(';'));
        map.remove_prefix(std::min(entry.size() + 1, map.size()));
        const std::size_t equals = entry.find('=');
        if (equals == std::string_view::npos)
            continue;
        std::u16string prefix = pathFromNative(entry.substr(0, equals));
        while (!prefix.empty() && isSeparator(prefix.back()))
            prefix.pop_back();
        std::string_view target = entry.substr(equals + 1);
        while (target.size() > 1 && target.back() == '/')
            target.remove_suffix(1);
        if (!prefix.empty() && !target.empty() && hasPrefix(path, prefix) && (!best || prefix.size() > best->prefixLength))
            best = Mapping{std::string(target), prefix.size()};
    }
    return best;
}

// Joins what follows a mapped prefix to its folder. Nothing leads out of it: ".." ends at the root of a drive.
std::string joinBelow(const Mapping& mapping, std::u16string_view rest)
{
    std::vector<std::u16string_view> components;
    while (!rest.empty()) {
        const auto end = std::find_if(rest.begin(), rest.end(), isSeparator);
        const std::u16string_view component = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
        rest.remove_prefix(std::min(component.size() + 1, rest.size()));
        if (component == u"..") {
            if (!components.empty())
                components.pop_back();
        } else if (!component.empty() && component != u".") {
            components.push_back(component);
        }
    }
    std::string path = mapping.target;
    for (const std::u16string_view component : components) {
        if (path.back() != '/')
            path += '/';
        path += nativeBytes(component);
    }
    return path;
}

bool isThere(const std::string& path, mode_t* mode = nullptr)
{
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0)
        return errno != ENOENT && errno != ENOTDIR;
    if (mode)
        *mode = status.st_mode;
    return true;
}

// Replaces each component that does not exist by the one that differs in case alone, as far as there is one.
NativeFile resolveCase(std::string path)
{
    mode_t mode = 0;
    if (path.empty() || isThere(path, &mode))
        return {std::move(path), mode};
    // The longest part that exists as it is written; mostly the folder.
    std::size_t good = path.size();
    do {
        while (good > 0 && path[good - 1] == '/')
            --good;
        while (good > 0 && path[good - 1] != '/')
            --good;
    } while (good > 0 && !isThere(path.substr(0, good)));

    std::string resolved = path.substr(0, good);
    std::string_view rest = std::string_view(path).substr(good);
    while (!rest.empty()) {
        const std::string_view component = rest.substr(0, rest.find('/'));
        if (!component.empty() && !isThere(resolved + std::string(component))) {
            const auto actual = findEntryNoCase(resolved, component);
            if (!actual)
                return {resolved.append(rest), 0};
            resolved += *actual;
        } else {
            resolved += component;
        }
        rest.remove_prefix(component.size());
        if (!rest.empty()) {
            resolved += '/';
            rest.remove_prefix(1);
        }
    }
    return {std::move(resolved), 0};
}

} // namespace

std::optional<std::string> nativePath(std::u16string_view path)
{
    std::optional<NativeFile> file = nativeFile(path);
    return file ? std::optional(std::move(file->path)) : std::nullopt;
}

std::optional<NativeFile> nativeFile(std::u16string_view path)
{
    if (path.empty() || path.find(u'\0') != std::u16string_view::npos)
        return std::nullopt;

    std::u16string unc;
    if (path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\")) {
        path.remove_prefix(4);
        if (path.size() >= 4 && equalNoCase(path.substr(0, 3), u"UNC") && isSeparator(path[3])) {
            unc = u"\\\\";
            unc += path.substr(4);
            path = unc;
        } else if (!(path.size() >= 2 && isDriveLetter(path[0]) && path[1] == u':')) {
            return std::nullopt; // a device or a volume without a letter
        }
    }

    if (startsLikeUnc(path) || (path.size() >= 2 && isDriveLetter(path[0]) && path[1] == u':')) {
        if (const auto mapping = mappingOf(path))
            return resolveCase(joinBelow(*mapping, path.substr(mapping->prefixLength)));
        if (path[0] != u'/')
            return std::nullopt;
    }

    std::string native = nativeBytes(path);
    if (native.find('\\') != std::string::npos && !isThere(native))
        std::replace(native.begin(), native.end(), '\\', '/');
    return resolveCase(std::move(native));
}

std::u16string pathFromNative(std::string_view bytes)
{
    return fromUtf8(bytes, IllFormed::keep);
}

PathParts splitPath(std::u16string_view path)
{
    PathParts parts;
    if (path.size() >= 2 && path[1] == u':') {
        parts.drive = path.substr(0, 2);
        path.remove_prefix(2);
    }
    const std::size_t separator = path.find_last_of(u"/\\");
    if (separator != std::u16string_view::npos) {
        parts.directory = path.substr(0, separator + 1);
        path.remove_prefix(separator + 1);
    }
    const std::size_t dot = path.rfind(u'.');
    parts.name = path.substr(0, dot);
    if (dot != std::u16string_view::npos)
        parts.extension = path.substr(dot);
    return parts;
}

} // namespace kvdm
