#include "platform/compoundfile/lockBytes.h"

#include "common/automationObject.h"
#include "common/automationText.h"
#include "common/statusOfException.h"

#include <limits>
#include <string>

namespace kvdm {

HRESULT storageStatusOf(std::uint32_t systemError) noexcept
{
    switch (systemError) {
    case errorNone:
        return S_OK;
    case errorFileNotFound:
    case errorPathNotFound:
    case errorTooManyOpenFiles:
    case errorAccessDenied:
    case errorInvalidHandle:
    case errorNotEnoughMemory:
    case errorWriteFault:
    case errorReadFault:
    case errorSharingViolation:
    case errorLockViolation:
    case errorFileExists:
    case errorDiskFull:
        return static_cast<HRESULT>(0x80030000u | systemError);
    default:
        return statusOfSystemError(systemError);
    }
}

namespace {

class FileLockBytes final : public SharedObject<ILockBytes>
{
public:
    FileLockBytes(std::unique_ptr<OpenFile> openFile, std::u16string_view path) : file(std::move(openFile)), name(path) {}

    HRESULT STDMETHODCALLTYPE ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) noexcept override
    {
        std::size_t got = 0;
        const std::uint32_t error = file->readAt(offset.QuadPart, buffer, count, got);
        if (read)
            *read = static_cast<ULONG>(got);
        return storageStatusOf(error);
    }
    HRESULT STDMETHODCALLTYPE WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) noexcept override
    {
        std::size_t put = 0;
        const std::uint32_t error = file->writeAt(offset.QuadPart, buffer, count, put);
        if (written)
            *written = static_cast<ULONG>(put);
        return storageStatusOf(error);
    }
    HRESULT STDMETHODCALLTYPE Flush() noexcept override { return storageStatusOf(file->flush()); }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) noexcept override { return storageStatusOf(file->setSize(size.QuadPart)); }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override
    {
        if (type != LOCK_EXCLUSIVE && type != LOCK_ONLYONCE)
            return STG_E_INVALIDFUNCTION;
        return storageStatusOf(file->lock(offset.QuadPart, count.QuadPart));
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override
    {
        if (type != LOCK_EXCLUSIVE && type != LOCK_ONLYONCE)
            return STG_E_INVALIDFUNCTION;
        return storageStatusOf(file->unlock(offset.QuadPart, count.QuadPart));
    }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) noexcept override
    {
        if (!statistics)
            return STG_E_INVALIDPOINTER;
        *statistics = {};
        statistics->type = STGTY_LOCKBYTES;
        statistics->grfLocksSupported = LOCK_EXCLUSIVE | LOCK_ONLYONCE;
        std::uint64_t bytes = 0;
        if (const std::uint32_t error = file->sizeAndTimes(bytes, statistics->ctime, statistics->atime, statistics->mtime))
            return storageStatusOf(error);
        statistics->cbSize.QuadPart = bytes;
        if (flag & STATFLAG_NONAME)
            return S_OK;
        statistics->pwcsName = copyForTask(name);
        if (!statistics->pwcsName)
            return STG_E_INSUFFICIENTMEMORY;
        return S_OK;
    }

private:
    std::unique_ptr<OpenFile> file;
    std::u16string name;
};

} // namespace

ComPtr<ILockBytes> openFileLockBytes(std::u16string_view path, FileAccess access, FileCreation creation, HRESULT& status)
{
    std::uint32_t error = errorNone;
    std::unique_ptr<OpenFile> file = openFile(path, access, creation, error);
    status = file ? S_OK : storageStatusOf(error != errorNone ? error : errorFileNotFound);
    if (!file)
        return nullptr;
    return ComPtr<ILockBytes>::adopt(new FileLockBytes(std::move(file), path));
}

} // namespace kvdm
