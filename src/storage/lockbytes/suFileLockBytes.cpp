#include "storage/lockbytes/suFileLockBytes.h"

#include "common/automationText.h"
#include "common/statusOfException.h"

namespace kvdm {

namespace {

constexpr ULONGLONG firstFormatLock = 0x7FFFFF92;
constexpr ULONGLONG lastFormatLock = 0x7FFFFFE2;

} // namespace

// Runs the operation under the critical section; it gives a system error.
template <class Operation> HRESULT suFileLockBytes::iOnFile(Operation&& operation) noexcept
{
    return automationCall([&]() -> HRESULT {
        const std::lock_guard lock(criticalSection);
        return statusOfSystemError(file ? operation(*file) : openError);
    });
}

template <class Operation> HRESULT suFileLockBytes::iOnRegion(ULARGE_INTEGER offset, DWORD type, Operation&& operation) noexcept
{
    if (type != LOCK_EXCLUSIVE && type != LOCK_ONLYONCE)
        return STG_E_INVALIDFUNCTION;
    return automationCall([&]() -> HRESULT {
        const std::lock_guard lock(criticalSection);
        if (readOnly && offset.QuadPart >= firstFormatLock && offset.QuadPart <= lastFormatLock)
            return S_OK;
        return statusOfSystemError(file ? operation(*file) : openError);
    });
}

HRESULT suFileLockBytes::open(const std::u16string& path, bool readWrite) noexcept
{
    return iOpen(path, readWrite, FileCreation::openExisting);
}

HRESULT suFileLockBytes::create(const std::u16string& path) noexcept
{
    return iOpen(path, true, FileCreation::createAlways);
}

HRESULT suFileLockBytes::iOpen(const std::u16string& path, bool readWrite, FileCreation creation) noexcept
{
    return automationCall([&]() -> HRESULT {
        const std::lock_guard lock(criticalSection);
        file.reset();
        fileName = path;
        readOnly = !readWrite;
        openError = errorNone;
        file = openFile(path, readWrite ? FileAccess::readWrite : FileAccess::read, creation, openError);
        if (!file && openError == errorNone)
            openError = errorFileNotFound;
        return statusOfSystemError(openError);
    });
}

HRESULT suFileLockBytes::ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) noexcept
{
    if (read)
        *read = 0;
    if (!buffer && count != 0)
        return STG_E_INVALIDPOINTER;
    return iOnFile([&](OpenFile& target) {
        std::size_t done = 0;
        const std::uint32_t error = target.readAt(offset.QuadPart, buffer, count, done);
        if (read)
            *read = static_cast<ULONG>(done);
        return error;
    });
}

HRESULT suFileLockBytes::WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) noexcept
{
    if (written)
        *written = 0;
    if (!buffer && count != 0)
        return STG_E_INVALIDPOINTER;
    return iOnFile([&](OpenFile& target) {
        std::size_t done = 0;
        const std::uint32_t error = target.writeAt(offset.QuadPart, buffer, count, done);
        if (written)
            *written = static_cast<ULONG>(done);
        return error;
    });
}

HRESULT suFileLockBytes::Flush() noexcept
{
    return iOnFile([](OpenFile& target) { return target.flush(); });
}

HRESULT suFileLockBytes::SetSize(ULARGE_INTEGER size) noexcept
{
    return iOnFile([&](OpenFile& target) { return target.setSize(size.QuadPart); });
}

HRESULT suFileLockBytes::LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept
{
    return iOnRegion(offset, type, [&](OpenFile& target) { return target.lock(offset.QuadPart, count.QuadPart); });
}

HRESULT suFileLockBytes::UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept
{
    return iOnRegion(offset, type, [&](OpenFile& target) { return target.unlock(offset.QuadPart, count.QuadPart); });
}

HRESULT suFileLockBytes::Stat(STATSTG* statistics, DWORD flag) noexcept
{
    if (!statistics)
        return STG_E_INVALIDPOINTER;
    *statistics = STATSTG{};
    STATSTG answer{};
    answer.type = STGTY_LOCKBYTES;
    answer.grfLocksSupported = LOCK_EXCLUSIVE | LOCK_ONLYONCE;
    HRESULT status = iOnFile([&](OpenFile& target) {
        std::uint64_t size = 0;
        const std::uint32_t error = target.sizeAndTimes(size, answer.ctime, answer.atime, answer.mtime);
        answer.cbSize.QuadPart = size;
        return error;
    });
    if (FAILED(status))
        return status;
    if ((flag & STATFLAG_NONAME) == 0) {
        const std::lock_guard lock(criticalSection);
        answer.pwcsName = copyForTask(fileName);
        if (!answer.pwcsName)
            return STG_E_INSUFFICIENTMEMORY;
    }
    *statistics = answer;
    return S_OK;
}

} // namespace kvdm
