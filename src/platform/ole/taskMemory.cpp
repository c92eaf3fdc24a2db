// The task allocator, the apartments and the clock of ole32.
#include "platform/text/datetime.h"

#include <kvdocmgr/oletypes.h>

#include <cstdlib>

namespace {

constexpr DWORD apartmentThreaded = 2;
constexpr HRESULT RPC_E_CHANGED_MODE = kvHresult(0x80010106);

// There are no apartments here, only their book-keeping, so that a client's calls pair as they do on the platform.
struct Apartment
{
    ULONG entered = 0;
    DWORD model = 0;
};
thread_local Apartment apartment;

} // namespace

extern "C"
{

    void* CoTaskMemAlloc(std::size_t bytes) noexcept
    {
        return std::malloc(bytes ? bytes : 1);
    }

    void* CoTaskMemRealloc(void* memory, std::size_t bytes) noexcept
    {
        if (bytes == 0 && memory) {
            std::free(memory);
            return nullptr;
        }
        return std::realloc(memory, bytes ? bytes : 1);
    }

    void CoTaskMemFree(void* memory) noexcept
    {
        std::free(memory);
    }

    HRESULT CoInitialize(void* reserved) noexcept
    {
        return CoInitializeEx(reserved, apartmentThreaded);
    }

    HRESULT CoInitializeEx(void* reserved, DWORD model) noexcept
    {
        if (reserved)
            return E_INVALIDARG;
        const DWORD wanted = model & apartmentThreaded;
        if (apartment.entered > 0 && apartment.model != wanted)
            return RPC_E_CHANGED_MODE;
        apartment.model = wanted;
        return apartment.entered++ == 0 ? S_OK : S_FALSE;
    }

    void CoUninitialize() noexcept
    {
        if (apartment.entered > 0)
            --apartment.entered;
    }

    HRESULT CoFileTimeNow(FILETIME* time) noexcept
    {
        if (!time)
            return E_INVALIDARG;
        *time = kvdm::presentFileTime();
        return S_OK;
    }

} // extern "C"
