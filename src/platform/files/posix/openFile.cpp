#include "platform/files/files.h"
#include "platform/files/posix/nativeNames.h"
#include "platform/files/posix/systemErrors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <utility>
#include <vector>

namespace kvdm {

namespace {

constexpr std::uint64_t lastOffset = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
constexpr std::size_t mostAtOnce = std::size_t{1} << 30; // the system takes no more than 2 GiB in one call
constexpr std::uint32_t errorInvalidParameter = 87;
constexpr std::uint32_t errorNotLocked = 158;

template <class Call> auto uninterrupted(Call&& call)
{
    decltype(call()) result;
    do
        result = call();
    while (result < 0 && errno == EINTR);
    return result;
}

class Descriptor
{
public:
    explicit Descriptor(int open = -1) noexcept : number(open) {}
    Descriptor(Descriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor()
    {
        if (number >= 0)
            ::close(number);
    }

    int get() const noexcept { return number; }
    explicit operator bool() const noexcept { return number >= 0; }

private:
    int number;
};

// Never one of the first three numbers: in a process whose standard output or error is closed, what is meant for a user would be
// written into the document. errno tells why there is none.
Descriptor openDescriptor(const char* path, int flags, mode_t rights = 0666) noexcept
{
    Descriptor file(uninterrupted([&] { return ::open(path, flags, rights); }));
    if (!file || file.get() > STDERR_FILENO)
        return file;
    return Descriptor(::fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

FILETIME fileTimeFrom(std::int64_t seconds, std::int64_t nanoseconds)
{
    constexpr std::int64_t secondsFrom1601 = 11'644'473'600;
    const std::int64_t since1601 = seconds + secondsFrom1601;
    if (since1601 < 0)
        return {};
    const std::uint64_t ticks = static_cast<std::uint64_t>(since1601) * 10'000'000 + static_cast<std::uint64_t>(nanoseconds / 100);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Locks are those of the open file, not of the process: two handles of one process exclude each other as on Windows, and
// closing one leaves the locks of the other.
class PosixFile final : public OpenFile
{
public:
    PosixFile(Descriptor file, bool mayWrite, std::string folderOfNewFile, bool named) noexcept
        : descriptor(std::move(file)), writable(mayWrite), unsyncedFolder(std::move(folderOfNewFile)), hasName(named)
    {}

    std::uint32_t readAt(std::uint64_t offset, void* buffer, std::size_t count, std::size_t& read) noexcept override
    {
        read = 0;
        while (read < count && offset + read <= lastOffset) {
            const std::size_t piece = std::min({count - read, mostAtOnce, static_cast<std::size_t>(lastOffset - offset - read)});
            const ssize_t got =
                uninterrupted([&] { return ::pread(descriptor.get(), static_cast<char*>(buffer) + read, piece, static_cast<off_t>(offset + read)); });
            if (got < 0)
                return systemErrorOf(errno, errorReadFault);
            if (got == 0)
                break;
            read += static_cast<std::size_t>(got);
        }
        return errorNone;
    }

    std::uint32_t writeAt(std::uint64_t offset, const void* buffer, std::size_t count, std::size_t& written) noexcept override
    {
        written = 0;
        if (!writable)
            return errorAccessDenied;
        if (offset > lastOffset || count > lastOffset - offset)
            return errorDiskFull;
        while (written < count) {
            const std::size_t piece = std::min(count - written, mostAtOnce);
            const ssize_t got = uninterrupted(
                [&] { return ::pwrite(descriptor.get(), static_cast<const char*>(buffer) + written, piece, static_cast<off_t>(offset + written)); });
            if (got < 0)
                return systemErrorOf(errno, errorWriteFault);
            if (got == 0)
                return errorWriteFault;
            written += static_cast<std::size_t>(got);
        }
        return errorNone;
    }

    std::uint32_t flush() noexcept override
    {
        if (!writable)
            return errorNone; // nothing can be pending
        if (uninterrupted([&] { return ::fdatasync(descriptor.get()); }) != 0)
            return systemErrorOf(errno, errorWriteFault);
        // What is written to a file that somebody has removed, or put another in the place of, is seen by nobody.
        struct stat status;
        if (hasName && ::fstat(descriptor.get(), &status) == 0 && status.st_nlink == 0)
            return errorFileNotFound;
        if (!unsyncedFolder.empty()) {
            // The name of a new file lasts when its folder has been written. Some file systems cannot do that.
            const Descriptor folder(::open(unsyncedFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (folder && uninterrupted([&] { return ::fsync(folder.get()); }) != 0 && errno == EIO)
                return errorWriteFault;
            unsyncedFolder.clear();
        }
        return errorNone;
    }

    std::uint32_t size(std::uint64_t& bytes) noexcept override
    {
        struct stat status;
        bytes = 0;
        if (::fstat(descriptor.get(), &status) != 0)
            return systemErrorOf(errno, errorReadFault);
        bytes = static_cast<std::uint64_t>(status.st_size);
        return errorNone;
    }

    std::uint32_t setSize(std::uint64_t bytes) noexcept override
    {
        if (!writable)
            return errorAccessDenied;
        if (bytes > lastOffset)
            return errorDiskFull;
        if (uninterrupted([&] { return ::ftruncate(descriptor.get(), static_cast<off_t>(bytes)); }) == 0)
            return errorNone;
        return errno == EINVAL ? errorDiskFull : systemErrorOf(errno, errorWriteFault); // EINVAL: beyond what the volume can hold
    }

    std::uint32_t lock(std::uint64_t offset, std::uint64_t count) noexcept override
    {
        if (offset > lastOffset)
            return errorInvalidParameter;
        if (count == 0)
            return errorNone; // to the system a length of 0 would be "up to the end"
        const Range range{offset, std::min(count, lastOffset - offset + 1)};
        for (const Range& held : ranges)
            if (range.offset < held.offset + held.count && held.offset < range.offset + range.count)
                return errorLockViolation; // a range is locked once, by its own handle too
        try {
            ranges.push_back(range);
        } catch (...) {
            return errorNotEnoughMemory;
        }
        const std::uint32_t error = iSetLock(iMayLockExclusively() ? F_WRLCK : F_RDLCK, range);
        if (error != errorNone)
            ranges.pop_back();
        return error;
    }

    std::uint32_t unlock(std::uint64_t offset, std::uint64_t count) noexcept override
    {
        if (count == 0)
            return errorNone;
        const auto held = std::find_if(ranges.begin(), ranges.end(), [&](const Range& range) {
            return range.offset == offset && range.count == std::min(count, lastOffset - range.offset + 1);
        });
        if (held == ranges.end())
            return errorNotLocked;
        const std::uint32_t error = iSetLock(F_UNLCK, *held);
        if (error == errorNone)
            ranges.erase(held);
        return error;
    }

    std::uint32_t sizeAndTimes(std::uint64_t& bytes, FILETIME& created, FILETIME& accessed, FILETIME& modified) noexcept override
    {
        bytes = 0;
        created = accessed = modified = {};
        struct statx status;
        if (::statx(descriptor.get(), "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &status) != 0)
            return systemErrorOf(errno, errorReadFault);
        bytes = status.stx_size;
        const auto from = [](const struct statx_timestamp& time) { return fileTimeFrom(time.tv_sec, time.tv_nsec); };
        accessed = from(status.stx_atime);
        modified = from(status.stx_mtime);
        created = (status.stx_mask & STATX_BTIME) ? from(status.stx_btime) : modified; // the nearest that an old file system has
        return errorNone;
    }

private:
    struct Range
    {
        std::uint64_t offset;
        std::uint64_t count; // offset + count - 1 is at most lastOffset
    };

    // An exclusive lock needs a descriptor for writing. A reader opens one for its locks alone; where it may not, its locks
    // keep writers off and let other readers in.
    bool iMayLockExclusively() noexcept
    {
        if (writable)
            return true;
        if (!lockDescriptorTried) {
            lockDescriptorTried = true;
            char self[32];
            std::snprintf(self, sizeof self, "/proc/self/fd/%d", descriptor.get());
            lockDescriptor = openDescriptor(self, O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        }
        return static_cast<bool>(lockDescriptor);
    }

    std::uint32_t iSetLock(short type, const Range& range) noexcept
    {
        struct flock request = {};
        request.l_type = type;
        request.l_whence = SEEK_SET;
        request.l_start = static_cast<off_t>(range.offset);
        request.l_len = range.count > lastOffset - range.offset ? 0 : static_cast<off_t>(range.count);
        const int file = lockDescriptor ? lockDescriptor.get() : descriptor.get();
        if (uninterrupted([&] { return ::fcntl(file, F_OFD_SETLK, &request); }) == 0)
            return errorNone;
        return errno == EAGAIN || errno == EACCES ? errorLockViolation : systemErrorOf(errno, errorLockViolation);
    }

    Descriptor descriptor;
    Descriptor lockDescriptor;
    bool writable;
    bool lockDescriptorTried = false;
    std::string unsyncedFolder; // of a file that this object made, until it has been flushed
    bool hasName;               // it had one when it was opened
    std::vector<Range> ranges;
};

bool parentExists(const std::string& native)
{
    const std::string folder(parentAndName(native).folder);
    struct stat status;
    return folder.empty() || (::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode));
}

} // namespace

std::unique_ptr<OpenFile> openFile(std::u16string_view path, FileAccess access, FileCreation creation, std::uint32_t& error)
{
    error = errorPathNotFound;
    const std::optional<NativeFile> file = nativeFile(path);
    if (!file)
        return nullptr;
    const std::string& native = file->path;

    // Asked first: opening alone already does something to a device or a pipe.
    struct stat status;
    status.st_mode = file->mode;
    const bool exists = S_ISREG(file->mode) || ::stat(native.c_str(), &status) == 0;
    const bool makesNew = creation == FileCreation::createNew || creation == FileCreation::createPrivate;
    if (exists && makesNew) {
        error = errorFileExists;
        return nullptr;
    }
    if (exists && !S_ISREG(status.st_mode)) {
        error = errorAccessDenied;
        return nullptr;
    }

    // A file is emptied through its own descriptor, when it has been seen to be a plain one; that takes the right to write.
    const bool mayWrite = access == FileAccess::readWrite;
    const bool opensForWriting = mayWrite || creation == FileCreation::createAlways;
    int flags = (opensForWriting ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    if (creation != FileCreation::openExisting)
        flags |= O_CREAT;
    if (makesNew)
        flags |= O_EXCL;
    Descriptor descriptor = openDescriptor(native.c_str(), flags, creation == FileCreation::createPrivate ? 0600 : 0666);
    if (!descriptor) {
        error = systemErrorOf(errno, errorAccessDenied);
        if (error == errorFileNotFound && !parentExists(native))
            error = errorPathNotFound;
        return nullptr;
    }
    if (::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        error = errorAccessDenied;
        return nullptr;
    }
    if (creation == FileCreation::createAlways && status.st_size != 0 && uninterrupted([&] { return ::ftruncate(descriptor.get(), 0); }) != 0) {
        error = systemErrorOf(errno, errorWriteFault);
        return nullptr;
    }
    std::string folder;
    if (!exists) {
        folder = parentAndName(native).folder;
        if (folder.empty())
            folder = ".";
    }
    error = errorNone;
    return std::make_unique<PosixFile>(std::move(descriptor), mayWrite, std::move(folder), status.st_nlink != 0);
}

} // namespace kvdm
