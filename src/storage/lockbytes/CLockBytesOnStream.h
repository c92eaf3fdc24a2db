// A client's stream as the byte array that a compound file is opened on.
#pragma once

#include "common/automationObject.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

namespace kvdm {

// Each operation is the stream's own, and its failures are passed on as they stand. The stream may give less than it is asked
// for at a time, and may leave out-parameters alone.
class CLockBytesOnStream final : public SharedObject<ILockBytes>
{
public:
    // Holds a counted reference.
    explicit CLockBytesOnStream(IStream& stream) noexcept : stream(ComPtr<IStream>::share(&stream)) {}

    // Lets go of the stream now, whoever still refers to this object: later operations answer STG_E_REVERTED. The owner calls
    // it where the object's life ends for him; the memory stays until the last reference is gone.
    void destroy() noexcept { stream.reset(); }

    HRESULT STDMETHODCALLTYPE ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) noexcept override;
    HRESULT STDMETHODCALLTYPE WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) noexcept override;
    HRESULT STDMETHODCALLTYPE Flush() noexcept override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) noexcept override;
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override;
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) noexcept override;
    // The stream's own, with the type of a byte array.
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) noexcept override;

private:
    ~CLockBytesOnStream() override = default;

    ComPtr<IStream> stream;
};

} // namespace kvdm
