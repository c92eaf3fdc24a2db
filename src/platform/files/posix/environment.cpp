#include "platform/files/files.h"
#include "platform/files/posix/nativeNames.h"
#include "platform/text/casing.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

extern char** environ;

namespace kvdm {

std::optional<std::u16string> userName()
{
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE && buffer.size() < (1u << 20))
        buffer.resize(buffer.size() * 2);
    if (found && found->pw_name && *found->pw_name)
        return pathFromNative(found->pw_name);
    for (const char* variable : {"USER", "LOGNAME"}) // a user that the machine's lists do not know, as in containers
        if (const char* value = std::getenv(variable); value && *value)
            return pathFromNative(value);
    return std::nullopt;
}

// Names of variables have no case on Windows; the exact name goes first.
std::optional<std::u16string> environmentVariable(std::u16string_view name)
{
    if (name.empty() || name.find_first_of(std::u16string_view(u"=\0", 2)) != std::u16string_view::npos)
        return std::nullopt;
    if (const char* value = std::getenv(nativeBytes(name).c_str()))
        return pathFromNative(value);
    for (char** at = environ; at && *at; ++at) {
        const std::string_view entry(*at);
        const std::size_t equals = entry.find('=');
        if (equals != std::string_view::npos && equalNoCase(pathFromNative(entry.substr(0, equals)), name))
            return pathFromNative(entry.substr(equals + 1));
    }
    return std::nullopt;
}

std::uint32_t processId()
{
    return static_cast<std::uint32_t>(::getpid());
}

} // namespace kvdm
