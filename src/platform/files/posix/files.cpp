#include "platform/files/files.h"

#include "platform/files/posix/nativeNames.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace kvdm {

namespace {

constexpr std::size_t copyBuffer = 256 * 1024;

struct Closer
{
    int descriptor;
    ~Closer()
    {
        if (descriptor >= 0)
            ::close(descriptor);
    }
};

// All bytes from one file to the other; within one file system the system may share them.
bool copyBytes(int from, int to)
{
    for (;;) {
        const ssize_t copied = ::copy_file_range(from, nullptr, to, nullptr, std::size_t{1} << 30, 0);
        if (copied == 0)
            break; // also what some file systems say that know the call but cannot do it: read on by hand
        if (copied < 0 && errno == EINTR)
            continue;
        if (copied < 0 && (errno == EIO || errno == ENOSPC || errno == EDQUOT || errno == EFBIG))
            return false;
        if (copied < 0)
            break;
    }
    std::vector<char> buffer(copyBuffer);
    for (;;) {
        const ssize_t got = ::read(from, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0;
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = ::write(to, buffer.data() + done, static_cast<std::size_t>(got - done));
            if (put < 0 && errno != EINTR)
                return false;
            if (put > 0)
                done += put;
        }
    }
}

// A new file in the folder under a name of the prefix and eight random digits; -1 when it cannot be made.
int makeUniqueFile(const std::string& folder, const std::string& prefix, mode_t mode, std::string& path)
{
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        char digits[16];
        std::snprintf(digits, sizeof digits, "%08x.tmp", static_cast<unsigned>(random()));
        path = folder + prefix + digits;
        const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
        if (file >= 0 || (errno != EEXIST && errno != EINTR))
            return file;
    }
    return -1;
}

// The path with all links followed, so that replacing the file leaves a link to it in place.
std::string withoutLinks(const std::string& path)
{
    char* real = ::realpath(path.c_str(), nullptr);
    const std::string result = real ? real : path;
    std::free(real);
    return result;
}

bool sameFile(const struct stat& left, const struct stat& right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

} // namespace

bool fileAccess(std::u16string_view path, int mode)
{
    const std::optional<NativeFile> native = nativeFile(path);
    const int wanted = ((mode & 2) ? W_OK : 0) | ((mode & 4) ? R_OK : 0);
    if (native && !wanted && native->mode != 0 && !S_ISLNK(native->mode))
        return true; // seen already
    return native && ::faccessat(AT_FDCWD, native->path.c_str(), wanted ? wanted : F_OK, AT_EACCESS) == 0;
}

bool deleteFile(std::u16string_view path)
{
    const std::optional<std::string> native = nativePath(path);
    return native && ::unlink(native->c_str()) == 0;
}

// Never over another file. A change of case alone is a change of name.
bool renameFile(std::u16string_view from, std::u16string_view to)
{
    const std::optional<std::string> source = nativePath(from);
    std::optional<std::string> target = nativePath(to);
    struct stat old, known;
    if (!source || !target || ::lstat(source->c_str(), &old) != 0)
        return false;
    if (::lstat(target->c_str(), &known) == 0) {
        const PathParts asked = splitPath(to);
        const std::string name = nativeBytes(asked.name + asked.extension);
        const ParentAndName found = parentAndName(*target);
        if (!sameFile(old, known) || name.empty() || found.name == name)
            return sameFile(old, known);
        target = std::string(found.folder) + name;
        if (::lstat(target->c_str(), &known) == 0) // a volume that sees one name in both
            return ::rename(source->c_str(), target->c_str()) == 0;
    }
    if (::renameat2(AT_FDCWD, source->c_str(), AT_FDCWD, target->c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno == EINVAL || errno == ENOSYS) // a file system without that promise
        return ::lstat(target->c_str(), &known) != 0 && ::rename(source->c_str(), target->c_str()) == 0;
    if (errno != EXDEV || !S_ISREG(old.st_mode) || !copyFile(from, to))
        return false;
    if (::unlink(source->c_str()) == 0)
        return true;
    ::unlink(target->c_str());
    return false;
}

// The copy is made beside its target and takes its place when it is whole: a failure leaves the target as it was.
bool copyFile(std::u16string_view from, std::u16string_view to)
{
    const std::optional<std::string> source = nativePath(from);
    const std::optional<std::string> asked = nativePath(to);
    if (!source || !asked)
        return false;
    struct stat sourceStatus, targetStatus;
    const Closer in{::open(source->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)};
    if (in.descriptor < 0 || ::fstat(in.descriptor, &sourceStatus) != 0 || !S_ISREG(sourceStatus.st_mode))
        return false;
    const bool replaces = ::stat(asked->c_str(), &targetStatus) == 0;
    if (replaces &&
        (!S_ISREG(targetStatus.st_mode) || sameFile(sourceStatus, targetStatus) || ::faccessat(AT_FDCWD, asked->c_str(), W_OK, AT_EACCESS) != 0))
        return false;
    const std::string target = replaces ? withoutLinks(*asked) : *asked;

    std::string work;
    const Closer out{makeUniqueFile(std::string(parentAndName(target).folder), ".kv", sourceStatus.st_mode & 0777, work)};
    if (out.descriptor < 0)
        return false;
    bool good = copyBytes(in.descriptor, out.descriptor);
    const timespec times[2] = {{0, UTIME_OMIT}, sourceStatus.st_mtim};
    good = good && ::futimens(out.descriptor, times) == 0;
    if (replaces) {
        // The file keeps its owner, where that is allowed, and its rights; its old content must not be lost with the power.
        if (::fchown(out.descriptor, targetStatus.st_uid, targetStatus.st_gid) != 0)
            (void)::fchown(out.descriptor, static_cast<uid_t>(-1), targetStatus.st_gid);
        good = good && ::fchmod(out.descriptor, targetStatus.st_mode & 07777) == 0 && ::fdatasync(out.descriptor) == 0;
    }
    good = good && ::rename(work.c_str(), target.c_str()) == 0;
    if (!good)
        ::unlink(work.c_str());
    return good;
}

bool makePrivateFolder(std::u16string_view path)
{
    const std::optional<std::string> native = nativePath(path);
    if (!native)
        return false;
    if (::mkdir(native->c_str(), S_IRWXU) == 0)
        return true;
    struct stat status;
    return errno == EEXIST && ::lstat(native->c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool removeFolder(std::u16string_view path)
{
    const std::optional<std::string> native = nativePath(path);
    return native && ::rmdir(native->c_str()) == 0;
}

// There is no such attribute here; what counts to the caller is that the file is there.
bool hideFile(std::u16string_view path)
{
    return fileAccess(path, 0);
}

std::optional<std::uint64_t> freeDiskSpace(std::u16string_view path)
{
    const std::optional<std::string> native = nativePath(path);
    struct statvfs status;
    if (!native)
        return std::nullopt;
    std::string at = *native;
    while (::statvfs(at.empty() ? "." : at.c_str(), &status) != 0) {
        // A file that is still to be made: its folder.
        if ((errno != ENOENT && errno != ENOTDIR) || at.empty())
            return std::nullopt;
        while (at.size() > 1 && at.back() == '/')
            at.pop_back();
        at = parentAndName(at).folder;
    }
    return static_cast<std::uint64_t>(status.f_bavail) * status.f_frsize;
}

std::u16string temporaryFolder()
{
    for (const char* variable : {"TMP", "TEMP", "TMPDIR"}) {
        const char* value = std::getenv(variable);
        if (!value || !*value)
            continue;
        std::u16string folder = pathFromNative(value);
        if (!isSeparator(folder.back()))
            folder += folder.find(u'\\') == std::u16string::npos ? u'/' : u'\\';
        const std::optional<std::string> native = nativePath(folder);
        struct stat status;
        if (native && ::stat(native->c_str(), &status) == 0 && S_ISDIR(status.st_mode))
            return folder;
    }
    return u"/tmp/";
}

std::optional<std::u16string> temporaryFile(std::u16string_view folder, std::u16string_view prefix)
{
    std::u16string start(folder);
    if (!start.empty() && !isSeparator(start.back()))
        start += start.find(u'\\') == std::u16string::npos ? u'/' : u'\\';
    std::optional<std::string> native = nativePath(start.empty() ? std::u16string(u"./") : start);
    prefix = prefix.substr(0, 3);
    if (!native || prefix.find_first_of(std::u16string_view(u"/\\\0", 3)) != std::u16string_view::npos)
        return std::nullopt;
    if (native->back() != '/')
        *native += '/';
    std::string path;
    const Closer file{makeUniqueFile(*native, nativeBytes(prefix), 0600, path)};
    if (file.descriptor < 0)
        return std::nullopt;
    return start + pathFromNative(parentAndName(path).name);
}

} // namespace kvdm
