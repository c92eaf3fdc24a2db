// Files and paths of the operating system. This is the only place where the system's Windows paths become names of files:
// off Windows a drive or share is mapped by KESTROVANE_PATH_MAP ("C:=/srv/vault/c;\\server\share=/mnt/share", longest
// prefix first), a path with a leading "/" is native, both separators are taken, and where the exact name is missing each
// component is matched without regard to case. Errors are the numbers of Windows (2 file not found, 5 access denied, 32
// sharing violation, 33 lock violation, 38 end of file, 112 disk full ...).
#pragma once

#include <kvdocmgr/oletypes.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kvdm {

// Win32 error numbers, and the status that carries one.
constexpr std::uint32_t errorNone = 0;
constexpr std::uint32_t errorFileNotFound = 2;
constexpr std::uint32_t errorPathNotFound = 3;
constexpr std::uint32_t errorTooManyOpenFiles = 4;
constexpr std::uint32_t errorAccessDenied = 5;
constexpr std::uint32_t errorInvalidHandle = 6;
constexpr std::uint32_t errorNotEnoughMemory = 8;
constexpr std::uint32_t errorWriteFault = 29;
constexpr std::uint32_t errorReadFault = 30;
constexpr std::uint32_t errorSharingViolation = 32;
constexpr std::uint32_t errorLockViolation = 33;
constexpr std::uint32_t errorFileExists = 80;
constexpr std::uint32_t errorDiskFull = 112;
constexpr HRESULT statusOfSystemError(std::uint32_t error) noexcept
{
    return static_cast<std::int32_t>(error) <= 0 ? static_cast<HRESULT>(error) : static_cast<HRESULT>((error & 0xFFFF) | 0x80070000u);
}

// _waccess: mode 0 exists, 2 may be written, 4 may be read. True when the file or folder is there for that.
bool fileAccess(std::u16string_view path, int mode);

struct PathParts
{
    std::u16string drive;     // "C:" or empty
    std::u16string directory; // with its trailing separator, or empty
    std::u16string name;
    std::u16string extension; // with its dot, or empty
};
// The rules of _wsplitpath, for both separators.
PathParts splitPath(std::u16string_view path);

// The name of the file in the file system, as bytes; empty when the drive or share is not mapped. Case is resolved when the
// exact name does not exist.
std::optional<std::string> nativePath(std::u16string_view path);
// Bytes of a command line or of a directory entry as text, without loss: what is not UTF-8 survives the way back.
std::u16string pathFromNative(std::string_view bytes);

bool deleteFile(std::u16string_view path);
bool renameFile(std::u16string_view from, std::u16string_view to);
bool copyFile(std::u16string_view from, std::u16string_view to); // overwrites
// A folder that others can neither look into nor write to. One that is there already serves when it is no link, the user's own
// and closed to other writers; else false.
bool makePrivateFolder(std::u16string_view path);
bool removeFolder(std::u16string_view path); // only an empty one
bool hideFile(std::u16string_view path);     // the hidden attribute, where there is one
std::optional<std::uint64_t> freeDiskSpace(std::u16string_view path);

// The user's login name, as GetUserNameW gives it; empty when it cannot be had.
std::optional<std::u16string> userName();
// GetTempPathW and GetTempFileNameW: a folder with its trailing separator; a new empty file that only the owner can read.
std::u16string temporaryFolder();
std::optional<std::u16string> temporaryFile(std::u16string_view folder, std::u16string_view prefix);
// An environment variable; empty when not set.
std::optional<std::u16string> environmentVariable(std::u16string_view name);
std::uint32_t processId();

enum class FileAccess
{
    read,
    readWrite
};
enum class FileCreation
{
    openExisting,
    createAlways,  // empties an existing file
    createNew,     // fails when the file exists
    createPrivate, // the same, and only the owner can read it
    openAlways     // keeps the content of an existing file
};

// An open file, read and written by position. Not for two threads at once without a lock of the caller's, except readAt and
// writeAt. Every operation returns a system error, 0 for success. The destructor closes.
class OpenFile
{
public:
    virtual ~OpenFile() = default;

    // Fewer bytes than asked only at the end of the file.
    virtual std::uint32_t readAt(std::uint64_t offset, void* buffer, std::size_t count, std::size_t& read) noexcept = 0;
    virtual std::uint32_t writeAt(std::uint64_t offset, const void* buffer, std::size_t count, std::size_t& written) noexcept = 0;
    virtual std::uint32_t flush() noexcept = 0; // to the medium; errorFileNotFound when the file was removed meanwhile
    virtual std::uint32_t size(std::uint64_t& bytes) noexcept = 0;
    virtual std::uint32_t setSize(std::uint64_t bytes) noexcept = 0;
    // Exclusive byte-range locks that hold between handles of one process and between processes; never waits:
    // errorLockViolation when another handle holds any byte of the range.
    virtual std::uint32_t lock(std::uint64_t offset, std::uint64_t count) noexcept = 0;
    virtual std::uint32_t unlock(std::uint64_t offset, std::uint64_t count) noexcept = 0;
    virtual std::uint32_t sizeAndTimes(std::uint64_t& bytes, FILETIME& created, FILETIME& accessed, FILETIME& modified) noexcept = 0;
};

// Opens a plain file (a folder is errorAccessDenied). Null and an error when it cannot be had. New files get the usual rights.
std::unique_ptr<OpenFile> openFile(std::u16string_view path, FileAccess access, FileCreation creation, std::uint32_t& error);

} // namespace kvdm
