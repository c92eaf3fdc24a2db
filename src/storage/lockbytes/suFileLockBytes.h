// A file as the byte array that a compound file rests on.
#pragma once

#include "common/automationObject.h"
#include "platform/files/files.h"

#include <kvdocmgr/oletypes.h>

#include <memory>
#include <mutex>
#include <string>

namespace kvdm {

// May be used from several threads. Before open or create every operation that needs the file has the status of an invalid
// handle, after a failed one that of the system's error. On a read-only object the compound file's own lock bytes (offsets 0x7FFFFF92 to 0x7FFFFFE2)
// are locked and unlocked with success and without effect, so that many readers share a file.
class suFileLockBytes final : public SharedObject<ILockBytes>
{
public:
    suFileLockBytes() = default;

    // Each replaces the file that was open before and returns the status of the system's error.
    HRESULT open(const std::u16string& path, bool readWrite) noexcept;
    HRESULT create(const std::u16string& path) noexcept;

    HRESULT STDMETHODCALLTYPE ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) noexcept override;
    HRESULT STDMETHODCALLTYPE WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) noexcept override;
    HRESULT STDMETHODCALLTYPE Flush() noexcept override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) noexcept override;
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override;
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) noexcept override;

private:
    ~suFileLockBytes() override = default;

    HRESULT iOpen(const std::u16string& path, bool readWrite, FileCreation creation) noexcept;
    template <class Operation> HRESULT iOnFile(Operation&& operation) noexcept;
    template <class Operation> HRESULT iOnRegion(ULARGE_INTEGER offset, DWORD type, Operation&& operation) noexcept;

    std::mutex criticalSection;
    std::unique_ptr<OpenFile> file;
    std::u16string fileName;
    std::uint32_t openError = errorInvalidHandle; // why there is no file
    bool readOnly = true;
};

} // namespace kvdm
