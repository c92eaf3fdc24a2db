// The exported functions of the module.
#include <kvdocmgr/exports.h>

#include "automation/CKvDMApplication.h"
#include "common/statusOfException.h"

namespace kvdm {

namespace {

// The class object behind DllGetClassObject: makes KvDMClassFactory, and answers for IKvDMClassFactory itself, so that a
// client off Windows needs one call less.
class ClassObject final : public AutomationObject<IClassFactory>
{
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** out) noexcept override
    {
        return automationCall([&] {
            if (!out)
                return E_POINTER;
            *out = nullptr;
            if (outer && id != IID_IUnknown)
                return CLASS_E_NOAGGREGATION; // an outer object gets the inner IUnknown and nothing else
            if (outer) {
                *out = makeAggregatedClassFactory(*outer).detach();
                return S_OK;
            }
            const ComPtr<CKvDMClassFactory> made = makeObject<CKvDMClassFactory>();
            return made->QueryInterface(id, out);
        });
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) noexcept override
    {
        lock ? CKvDocumentMgrApp::lock() : CKvDocumentMgrApp::unlock();
        return S_OK;
    }

private:
    ~ClassObject() override = default;
    ModuleCount counted;
};

} // namespace

} // namespace kvdm

extern "C"
{
    HRESULT DllCanUnloadNow() noexcept
    {
        return kvdm::CKvDocumentMgrApp::canUnload() ? S_OK : S_FALSE;
    }

    HRESULT DllGetClassObject(REFCLSID id, REFIID interfaceId, void** out) noexcept
    {
        return kvdm::automationCall([&] {
            if (!out)
                return E_POINTER;
            *out = nullptr;
            if (id != CLSID_KvDMClassFactory)
                return CLASS_E_CLASSNOTAVAILABLE;
            const kvdm::ComPtr<kvdm::ClassObject> made = kvdm::makeObject<kvdm::ClassObject>();
            if (kvdm::answersFor<IKvDMClassFactory>(interfaceId) && interfaceId != IID_IUnknown)
                return made->CreateInstance(nullptr, interfaceId, out);
            return made->QueryInterface(interfaceId, out);
        });
    }

    HRESULT DllRegisterServer() noexcept
    {
        return S_OK;
    }

    HRESULT DllUnregisterServer() noexcept
    {
        return S_OK;
    }

    // No display list can be made: the status that a table or property not found has.
    LONG GetTableDisplayList(void*) noexcept
    {
        return 1;
    }

    LONG GetCustomProperty(void*) noexcept
    {
        return 1;
    }

    LONG RemoveDynListItems(void*) noexcept
    {
        return 1;
    }
}
