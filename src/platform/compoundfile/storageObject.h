// IStorage over one storage of a compound file.
#pragma once

#include "common/automationObject.h"
#include "platform/compoundfile/compoundFile.h"
#include "platform/compoundfile/openElement.h"

namespace kvdm {

class StorageObject final : public SharedObject<IStorage>
{
public:
    // The root of an opened file; the object closes the file when it goes.
    static ComPtr<IStorage> makeRoot(std::shared_ptr<CompoundFile> file, DWORD mode);

    HRESULT STDMETHODCALLTYPE CreateStream(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2, IStream** out) noexcept override;
    HRESULT STDMETHODCALLTYPE OpenStream(LPCOLESTR name, void* reserved1, DWORD mode, DWORD reserved2, IStream** out) noexcept override;
    HRESULT STDMETHODCALLTYPE CreateStorage(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2, IStorage** out) noexcept override;
    HRESULT STDMETHODCALLTYPE OpenStorage(LPCOLESTR name, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved,
                                          IStorage** out) noexcept override;
    HRESULT STDMETHODCALLTYPE CopyTo(DWORD excludedCount, const IID* excludedInterfaces, SNB excludedNames, IStorage* target) noexcept override;
    HRESULT STDMETHODCALLTYPE MoveElementTo(LPCOLESTR name, IStorage* target, LPCOLESTR newName, DWORD flags) noexcept override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD flags) noexcept override;
    HRESULT STDMETHODCALLTYPE Revert() noexcept override;
    HRESULT STDMETHODCALLTYPE EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3, IEnumSTATSTG** out) noexcept override;
    HRESULT STDMETHODCALLTYPE DestroyElement(LPCOLESTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE RenameElement(LPCOLESTR oldName, LPCOLESTR newName) noexcept override;
    HRESULT STDMETHODCALLTYPE SetElementTimes(LPCOLESTR name, const FILETIME* created, const FILETIME* accessed,
                                              const FILETIME* modified) noexcept override;
    HRESULT STDMETHODCALLTYPE SetClass(REFCLSID id) noexcept override;
    HRESULT STDMETHODCALLTYPE SetStateBits(DWORD bits, DWORD mask) noexcept override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* statistics, DWORD flag) noexcept override;

private:
    StorageObject(std::shared_ptr<CompoundFile> ownerFile, std::shared_ptr<ElementStore> elements, ElementId id, OpenElement* parent, DWORD openMode);
    ~StorageObject() override;

    template <class Body> HRESULT iCall(Body&& body) noexcept;
    bool iIsRoot() const noexcept { return store.get() == file.get() && element.id == CompoundFile::rootId; }
    ElementId iFindToOpen(LPCOLESTR name, DWORD mode, bool wantStorage);

    std::shared_ptr<CompoundFile> file;
    std::shared_ptr<ElementStore> store; // what this storage's children belong to
    OpenElement element;
    DWORD mode;
};

} // namespace kvdm
