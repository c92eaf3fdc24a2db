// The functions that libkvdocmgr exports. A client asks DllGetClassObject for CLSID_KvDMClassFactory as IClassFactory (or
// directly as IKvDMClassFactory) and takes the application object from there.
#pragma once

#include <kvdocmgr/oletypes.h>

#if defined(_WIN32)
#define KVDOCMGR_API
#elif defined(KVDOCMGR_BUILDING)
#define KVDOCMGR_API __attribute__((visibility("default")))
#else
#define KVDOCMGR_API
#endif

#if !defined(_WIN32)
extern "C"
{
    // S_OK when no object of the library lives and no lock is held, S_FALSE otherwise.
    KVDOCMGR_API HRESULT DllCanUnloadNow() noexcept;
    // The class object of CLSID_KvDMClassFactory, counted for the caller. CLASS_E_CLASSNOTAVAILABLE for any other class,
    // E_NOINTERFACE for another interface, E_POINTER for an empty out-pointer; *out is null then.
    KVDOCMGR_API HRESULT DllGetClassObject(REFCLSID id, REFIID interfaceId, void** out) noexcept;
    // Off Windows there is no registry: both succeed and do nothing.
    KVDOCMGR_API HRESULT DllRegisterServer() noexcept;
    KVDOCMGR_API HRESULT DllUnregisterServer() noexcept;

    // Drawing records of a table or a custom property for a host that draws, asked by one argument record. Not yet: each
    // always returns 1, as for a table or property that is not there, and neither reads nor writes the record.
    KVDOCMGR_API LONG GetTableDisplayList(void* record) noexcept;
    KVDOCMGR_API LONG GetCustomProperty(void* record) noexcept;
    KVDOCMGR_API LONG RemoveDynListItems(void* record) noexcept;
}
#endif
