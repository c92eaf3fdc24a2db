#include "platform/files/posix/systemErrors.h"

#include "platform/files/files.h"

#include <cerrno>

namespace kvdm {

namespace {

constexpr std::uint32_t errorNotSameDevice = 17;
constexpr std::uint32_t errorNotSupported = 50;
constexpr std::uint32_t errorInvalidParameter = 87;
constexpr std::uint32_t errorDirectoryNotEmpty = 145;
constexpr std::uint32_t errorNameTooLong = 206;
constexpr std::uint32_t errorNoLocks = 36;
constexpr std::uint32_t errorTooManyLinks = 1921; // a name that cannot be resolved

} // namespace

std::uint32_t systemErrorOf(int number, std::uint32_t otherwise) noexcept
{
    switch (number) {
    case ENOENT:
        return errorFileNotFound;
    case ENOTDIR:
        return errorPathNotFound;
    case EMFILE:
    case ENFILE:
        return errorTooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ENXIO:
    case ENODEV:
        return errorAccessDenied;
    case EBADF:
        return errorInvalidHandle;
    case ENOMEM:
        return errorNotEnoughMemory;
    case EXDEV:
        return errorNotSameDevice;
    case EAGAIN: // another process holds a lease
    case EBUSY:
    case ETXTBSY:
        return errorSharingViolation;
    case ENOLCK:
        return errorNoLocks;
    case EOPNOTSUPP:
    case ENOSYS:
        return errorNotSupported;
    case EEXIST:
        return errorFileExists;
    case EINVAL:
        return errorInvalidParameter;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: // more than the volume can hold in one file
        return errorDiskFull;
    case ENOTEMPTY:
        return errorDirectoryNotEmpty;
    case ENAMETOOLONG:
        return errorNameTooLong;
    case ELOOP:
        return errorTooManyLinks;
    default:
        return otherwise;
    }
}

} // namespace kvdm
