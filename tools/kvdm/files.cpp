#include "files.h"

#include "client.h"

#include <fmt/format.h>

#include <cctype>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <random>

namespace kvdm::tool {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t scarcely = 1 << 16; // free bytes below which a disk counts as full

std::string wordForKind(const fs::file_status& status)
{
    return fs::is_directory(status) ? "is a directory" : "is not an ordinary file";
}

// Removes a file that is not to stay.
struct Leftover
{
    fs::path path;
    ~Leftover()
    {
        std::error_code unknown;
        fs::remove(path, unknown);
    }
};

fs::path folderOf(const fs::path& path)
{
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

// Why the file that is there is not to be replaced; empty when it is, and when none is there.
std::string whyKept(const fs::path& path)
{
    std::error_code unknown;
    const fs::file_status status = fs::status(path, unknown);
    if (!fs::exists(status))
        return "";
    if (!fs::is_regular_file(status))
        return wordForKind(status);
    errno = 0;
    return std::fstream(path, std::ios::in | std::ios::out | std::ios::binary)
               ? ""
               : wordFor(std::error_code(errno ? errno : EACCES, std::generic_category()));
}

// Where a file is written that has this name: behind all links.
fs::path behindLinks(fs::path path)
{
    std::error_code failure;
    for (int links = 0; links < 40 && fs::is_symlink(path, failure); ++links) {
        const fs::path next = fs::read_symlink(path, failure);
        if (failure)
            break;
        path = folderOf(path) / next; // an absolute one stands alone
    }
    return path;
}

} // namespace

std::string wordFor(const std::error_code& failure)
{
    if (failure == std::errc::permission_denied)
        return "access denied";
    if (failure == std::errc::no_such_file_or_directory || failure == std::errc::not_a_directory)
        return "no such file";
    return failure.message();
}

std::string whyNoFile(const std::string& path)
{
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    if (fs::is_regular_file(status))
        return "";
    return fs::exists(status) ? wordForKind(status) : wordFor(failure ? failure : std::make_error_code(std::errc::no_such_file_or_directory));
}

std::string whyNotWritten(const std::string& path)
{
    if (const std::string reason = whyKept(path); !reason.empty())
        return reason;
    std::error_code failure;
    const fs::path folder = folderOf(path);
    if (!fs::is_directory(folder, failure))
        return failure && failure != std::errc::no_such_file_or_directory ? wordFor(failure) : "no such folder";
    if (const fs::space_info space = fs::space(folder, failure); !failure && space.available < scarcely)
        return "the disk is full";
    if (fs::exists(path, failure))
        return "";
    errno = 0;
    const Leftover probe{path};
    return std::ofstream(path) ? "" : wordFor(std::error_code(errno, std::generic_category()));
}

void requireNativeName(const std::string& target)
{
    const bool hasDrive = target.size() > 2 && std::isalpha(static_cast<unsigned char>(target[0])) && target[1] == ':' && target[2] == '\\';
    if (hasDrive || target.starts_with("\\\\"))
        throw Failure(target + ": a file is made under a name of this system");
}

void replaceFile(const std::string& target, const std::function<void(const std::string& beside)>& write)
{
    requireNativeName(target);
    std::error_code unknown;
    const fs::path wanted = behindLinks(target);
    if (const std::string reason = whyKept(wanted); !reason.empty())
        throw Failure(target + ": " + reason);
    const fs::file_status before = fs::status(wanted, unknown);
    const Leftover beside{folderOf(wanted) / fmt::format(".{}.{}.saving", wanted.filename().string(), std::random_device{}())};
    try {
        write(beside.path.string());
    } catch (const Failure& failure) {
        const std::string reason = whyNotWritten(beside.path.string());
        throw Failure(fmt::format("{}: not written: {}", target, reason.empty() ? failure.what() : reason));
    }
    if (fs::exists(before))
        fs::permissions(beside.path, before.permissions(), unknown);
    std::error_code failure;
    fs::rename(beside.path, wanted, failure);
    if (failure)
        throw Failure(fmt::format("{}: not written: {}", target, wordFor(failure)));
}

} // namespace kvdm::tool
