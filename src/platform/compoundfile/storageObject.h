// IStorage over one storage of a compound file.
#pragma once

#include "common/automationObject.h"
#include "platform/compoundfile/compoundFile.h"
#include "platform/compoundfile/exactNames.h"
#include "platform/compoundfile/openElement.h"
#include "platform/compoundfile/transactionStore.h"

namespace kvdm {

class StorageObject final : public SharedObject<IStorage, IExactStorage>
{
public:
    // The root of an opened file; the object closes the file when it goes, and deletes it when a name is given. A root that is
    // not transacted is committed when it goes.
    static ComPtr<IStorage> makeRoot(std::shared_ptr<CompoundFile> file, DWORD mode, std::u16string deleteOnRelease = {});

    // CreateStream and CreateStorage for names that other writers have used and these two would refuse.
    HRESULT createOddStream(const std::u16string& name, DWORD wanted, IStream** out) noexcept;
    HRESULT createOddStorage(const std::u16string& name, DWORD wanted, IStorage** out) noexcept;

    // The object behind an interface, when it is one of these; null for a stranger's.
    static StorageObject* ownObjectOf(IStorage& storage) noexcept;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) noexcept override;
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
    HRESULT openStreamExactly(std::u16string_view name, DWORD mode, IStream** out) noexcept override;
    HRESULT openStorageExactly(std::u16string_view name, DWORD mode, IStorage** out) noexcept override;

private:
    StorageObject(std::shared_ptr<CompoundFile> ownerFile, std::shared_ptr<ElementStore> elements, ElementId id, OpenElement* parent, DWORD openMode);
    ~StorageObject() override;

    friend class StorageCopy;

    template <class Body> HRESULT iCall(Body&& body) noexcept;
    bool iIsRoot() const noexcept { return isRoot; }
    bool iMayWrite() const noexcept { return (mode & (STGM_WRITE | STGM_READWRITE)) != 0; }
    void iCheckMayChange() const;
    void iTouch();
    HRESULT iFindToOpen(std::u16string_view name, DWORD mode, bool wantStorage, ElementId& found);
    ElementId iMakeRoom(std::u16string_view name, DWORD mode, bool isStorage);
    ComPtr<IStream> iOpenStream(ElementId id, DWORD mode);
    ComPtr<IStorage> iOpenStorage(ElementId id, DWORD mode);

    std::shared_ptr<CompoundFile> file;
    std::shared_ptr<ElementStore> store;           // what this storage's children belong to
    std::shared_ptr<TransactionStore> transaction; // the same, when the storage has a nested transaction of its own
    OpenElement element;
    ElementId self; // in the store
    DWORD mode;
    bool isRoot = false;
    std::u16string deletePath;
};

} // namespace kvdm
