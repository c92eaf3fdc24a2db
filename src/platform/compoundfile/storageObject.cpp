#include "platform/compoundfile/storageObject.h"

#include "common/exceptions.h"
#include "common/statusOfException.h"
#include "platform/compoundfile/elementEnumerator.h"
#include "platform/compoundfile/names.h"
#include "platform/compoundfile/storageCopy.h"
#include "platform/compoundfile/streamObject.h"
#include "platform/files/files.h"

namespace kvdm {
namespace {

constexpr DWORD accessMask = 0x3, shareMask = 0x70;
// Everything that a mode word can hold.
constexpr DWORD knownFlags = STGM_TRANSACTED | STGM_SIMPLE | accessMask | shareMask | STGM_PRIORITY | STGM_DELETEONRELEASE | STGM_NOSCRATCH |
                             STGM_CREATE | STGM_CONVERT | STGM_NOSNAPSHOT | STGM_DIRECT_SWMR;
constexpr DWORD commitFlags = STGC_OVERWRITE | STGC_ONLYIFCURRENT | STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE | STGC_CONSOLIDATE;

// How an object of this class is told from a stranger's storage.
constexpr IID ownObject{0x5D1F0C62, 0x3E0B, 0x4C55, {0x9A, 0x1E, 0x6B, 0x27, 0xC4, 0x80, 0x13, 0xF9}};

// The mode of an element under a storage: it is always opened for its opener alone.
HRESULT checkElementMode(DWORD mode, bool create) noexcept
{
    if ((mode & ~knownFlags) != 0 || (mode & accessMask) == accessMask || (mode & shareMask) != STGM_SHARE_EXCLUSIVE)
        return STG_E_INVALIDFLAG;
    if ((mode & (STGM_DELETEONRELEASE | STGM_SIMPLE | STGM_NOSNAPSHOT | STGM_PRIORITY | STGM_DIRECT_SWMR | STGM_CONVERT)) != 0)
        return STG_E_INVALIDFUNCTION;
    if (!create && (mode & STGM_CREATE) != 0)
        return STG_E_INVALIDFLAG;
    return S_OK;
}

} // namespace

ComPtr<IStorage> StorageObject::makeRoot(std::shared_ptr<CompoundFile> file, DWORD mode, std::u16string deleteOnRelease)
{
    auto* root = new StorageObject(file, file, CompoundFile::rootId, nullptr, mode);
    root->isRoot = true;
    root->deletePath = std::move(deleteOnRelease);
    return ComPtr<IStorage>::adopt(root);
}

StorageObject::StorageObject(std::shared_ptr<CompoundFile> ownerFile, std::shared_ptr<ElementStore> elements, ElementId id, OpenElement* parent,
                             DWORD openMode)
    : file(std::move(ownerFile)), store(std::move(elements)), element(id, parent), self(id), mode(openMode)
{
    if (parent && (mode & STGM_TRANSACTED) != 0) {
        transaction = std::make_shared<TransactionStore>(store, id);
        store = transaction;
        self = TransactionStore::rootId;
    }
}

StorageObject::~StorageObject()
{
    const std::shared_ptr<CompoundFile> keep = file; // the mutex outlives the lock
    const std::lock_guard lock(keep->mutex);
    element.revertChildren();
    if (transaction)
        transaction->discard();
    if (isRoot) {
        // A direct root has no other moment to be written; who wants to know whether it was calls Commit.
        if ((mode & STGM_TRANSACTED) == 0 && iMayWrite())
            (void)automationCall([&]() -> HRESULT {
                file->commit(STGC_DEFAULT);
                return S_OK;
            });
        file->close();
    }
    transaction.reset();
    store.reset();
    file.reset();
    if (!deletePath.empty())
        (void)automationCall([&]() -> HRESULT { return deleteFile(deletePath) ? S_OK : S_FALSE; });
}

HRESULT StorageObject::QueryInterface(REFIID id, void** out) noexcept
{
    if (!out)
        return E_POINTER;
    if (id != ownObject)
        return SharedObject<IStorage, IExactStorage>::QueryInterface(id, out);
    *out = this;
    AddRef();
    return S_OK;
}

template <class Body> HRESULT StorageObject::iCall(Body&& body) noexcept
{
    return automationCall([&]() -> HRESULT {
        const std::lock_guard lock(file->mutex);
        return element.isReverted() ? STG_E_REVERTED : body();
    });
}

void StorageObject::iCheckMayChange() const
{
    if (!iMayWrite())
        throw suOleException(STG_E_ACCESSDENIED);
}

// The storage's time of change.
void StorageObject::iTouch()
{
    ElementChange change;
    CoFileTimeNow(&change.modified.emplace());
    store->change(self, change);
}

// The element of that name if this mode may have it, else the status that says why not. Readers try several names before they
// find one, so a missing element is no exception.
HRESULT StorageObject::iFindToOpen(std::u16string_view name, DWORD wanted, bool wantStorage, ElementId& found)
{
    // A transacted storage lends out more than it has itself: what is done with it stays in the transaction.
    if ((mode & STGM_TRANSACTED) == 0 && (wanted & accessMask) > (mode & accessMask))
        return STG_E_ACCESSDENIED;
    const auto id = store->find(self, name);
    if (!id && name.empty())
        return STG_E_INVALIDNAME;
    if (!id || store->info(*id).isStorage != wantStorage)
        return STG_E_FILENOTFOUND;
    if (element.isOpen(*id))
        return STG_E_ACCESSDENIED;
    found = *id;
    return S_OK;
}

// A new element of that name; one that is there goes if the mode says so.
ElementId StorageObject::iMakeRoom(std::u16string_view name, DWORD wanted, bool isStorage)
{
    iCheckMayChange();
    if (const auto there = store->find(self, name)) {
        if ((wanted & STGM_CREATE) == 0)
            throw suOleException(STG_E_FILEALREADYEXISTS);
        element.revertChild(*there);
        store->destroy(self, *there);
    }
    iTouch();
    return store->create(self, name, isStorage);
}

ComPtr<IStream> StorageObject::iOpenStream(ElementId id, DWORD wanted)
{
    const bool writes = (wanted & (STGM_WRITE | STGM_READWRITE)) != 0;
    auto opened = std::make_shared<::kvdm::OpenStream>(file, id, &element, store->content(id, writes), store->info(id).name, wanted & ~STGM_CREATE);
    return ComPtr<IStream>::adopt(new StreamObject(std::move(opened), 0));
}

ComPtr<IStorage> StorageObject::iOpenStorage(ElementId id, DWORD wanted)
{
    return ComPtr<IStorage>::adopt(new StorageObject(file, store, id, &element, wanted & ~STGM_CREATE));
}

HRESULT StorageObject::CreateStream(LPCOLESTR name, DWORD wanted, DWORD reserved1, DWORD reserved2, IStream** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    if (reserved1 != 0 || reserved2 != 0)
        return STG_E_INVALIDPARAMETER;
    return iCall([&]() -> HRESULT {
        if (const HRESULT status = checkElementMode(wanted, true); FAILED(status))
            return status;
        if ((wanted & STGM_TRANSACTED) != 0)
            return STG_E_INVALIDFUNCTION;
        *out = iOpenStream(iMakeRoom(newNameArgument(name), wanted, false), wanted).detach();
        return S_OK;
    });
}

HRESULT StorageObject::OpenStream(LPCOLESTR name, void* reserved1, DWORD wanted, DWORD reserved2, IStream** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    if (reserved1 || reserved2 != 0)
        return STG_E_INVALIDPARAMETER;
    return automationCall([&] { return openStreamExactly(nameArgument(name), wanted, out); });
}

HRESULT StorageObject::openStreamExactly(std::u16string_view name, DWORD wanted, IStream** out) noexcept
{
    return iCall([&]() -> HRESULT {
        if (const HRESULT status = checkElementMode(wanted, false); FAILED(status))
            return status;
        if ((wanted & STGM_TRANSACTED) != 0)
            return STG_E_INVALIDFUNCTION;
        ElementId id{};
        if (const HRESULT status = iFindToOpen(name, wanted, false, id); FAILED(status))
            return status;
        *out = iOpenStream(id, wanted).detach();
        return S_OK;
    });
}

HRESULT StorageObject::CreateStorage(LPCOLESTR name, DWORD wanted, DWORD reserved1, DWORD reserved2, IStorage** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    if (reserved1 != 0 || reserved2 != 0)
        return STG_E_INVALIDPARAMETER;
    return iCall([&]() -> HRESULT {
        if (const HRESULT status = checkElementMode(wanted, true); FAILED(status))
            return status;
        *out = iOpenStorage(iMakeRoom(newNameArgument(name), wanted, true), wanted).detach();
        return S_OK;
    });
}

HRESULT StorageObject::OpenStorage(LPCOLESTR name, IStorage* priority, DWORD wanted, SNB exclude, DWORD reserved, IStorage** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    if (priority || exclude || reserved != 0)
        return STG_E_INVALIDPARAMETER;
    return automationCall([&] { return openStorageExactly(nameArgument(name), wanted, out); });
}

HRESULT StorageObject::openStorageExactly(std::u16string_view name, DWORD wanted, IStorage** out) noexcept
{
    return iCall([&]() -> HRESULT {
        if (const HRESULT status = checkElementMode(wanted, false); FAILED(status))
            return status;
        ElementId id{};
        if (const HRESULT status = iFindToOpen(name, wanted, true, id); FAILED(status))
            return status;
        *out = iOpenStorage(id, wanted).detach();
        return S_OK;
    });
}

HRESULT StorageObject::EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3, IEnumSTATSTG** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    if (reserved1 != 0 || reserved2 || reserved3 != 0)
        return STG_E_INVALIDPARAMETER;
    return iCall([&]() -> HRESULT {
        auto list = std::make_shared<std::vector<ElementInfo>>();
        for (const ElementId id : store->children(self))
            list->push_back(store->info(id));
        *out = new ElementEnumerator(std::move(list), 0);
        return S_OK;
    });
}

HRESULT StorageObject::Stat(STATSTG* statistics, DWORD flag) noexcept
{
    if (!statistics)
        return STG_E_INVALIDPOINTER;
    *statistics = {};
    if (flag > STATFLAG_NONAME)
        return STG_E_INVALIDFLAG;
    return iCall([&]() -> HRESULT {
        const ElementInfo info = store->info(self);
        STATSTG result = statisticsOf(info);
        result.type = STGTY_STORAGE;
        result.grfMode = mode;
        if (iIsRoot()) { // the root bears the name and the times of what it lies in
            STATSTG outside{};
            if (const HRESULT status = file->lockBytes().Stat(&outside, flag); FAILED(status) && status != E_NOTIMPL)
                return status;
            result.pwcsName = flag == STATFLAG_DEFAULT ? outside.pwcsName : nullptr;
            result.mtime = outside.mtime;
            result.ctime = outside.ctime;
            result.atime = outside.atime;
        } else if (flag == STATFLAG_DEFAULT)
            result.pwcsName = copyForCaller(info.name);
        *statistics = result;
        return S_OK;
    });
}

HRESULT StorageObject::Commit(DWORD flags) noexcept
{
    return iCall([&]() -> HRESULT {
        if ((flags & ~commitFlags) != 0)
            return STG_E_INVALIDFLAG;
        if (!iMayWrite())
            return STG_E_ACCESSDENIED; // readers commit what they close, so this is no exception
        // What is open below belongs to nobody else, so a nested transaction is always current.
        if (transaction)
            transaction->commit();
        else if (isRoot)
            file->commit(flags);
        return S_OK;
    });
}

HRESULT StorageObject::Revert() noexcept
{
    return iCall([&]() -> HRESULT {
        if ((mode & STGM_TRANSACTED) == 0)
            return S_OK; // what is done directly is done
        element.revertChildren();
        if (transaction)
            transaction->forget();
        else
            file->revert();
        return S_OK;
    });
}

HRESULT StorageObject::DestroyElement(LPCOLESTR name) noexcept
{
    return iCall([&]() -> HRESULT {
        iCheckMayChange();
        const auto id = store->find(self, nameArgument(name));
        if (!id)
            return STG_E_FILENOTFOUND;
        element.revertChild(*id);
        iTouch();
        store->destroy(self, *id);
        return S_OK;
    });
}

HRESULT StorageObject::RenameElement(LPCOLESTR oldName, LPCOLESTR newName) noexcept
{
    return iCall([&]() -> HRESULT {
        iCheckMayChange();
        const auto id = store->find(self, nameArgument(oldName));
        const std::u16string_view name = newNameArgument(newName);
        if (!id)
            return STG_E_FILENOTFOUND;
        if (element.isOpen(*id))
            return STG_E_ACCESSDENIED;
        const auto there = store->find(self, name);
        if (there && *there != *id)
            return STG_E_FILEALREADYEXISTS;
        iTouch();
        store->rename(self, *id, name);
        return S_OK;
    });
}

HRESULT StorageObject::SetElementTimes(LPCOLESTR name, const FILETIME* created, const FILETIME*, const FILETIME* modified) noexcept
{
    return iCall([&]() -> HRESULT {
        iCheckMayChange();
        const auto id = name ? store->find(self, nameArgument(name)) : std::optional(self);
        if (!id)
            return STG_E_FILENOTFOUND;
        if (!store->info(*id).isStorage)
            return S_OK; // streams have no times in this format
        ElementChange change;
        if (created)
            change.created = *created;
        if (modified)
            change.modified = *modified;
        store->change(*id, change);
        return S_OK;
    });
}

HRESULT StorageObject::SetClass(REFCLSID id) noexcept
{
    return iCall([&]() -> HRESULT {
        iCheckMayChange();
        ElementChange change;
        change.clsid = id;
        store->change(self, change);
        return S_OK;
    });
}

HRESULT StorageObject::SetStateBits(DWORD bits, DWORD mask) noexcept
{
    return iCall([&]() -> HRESULT {
        iCheckMayChange();
        ElementChange change;
        change.stateBits = (store->info(self).stateBits & ~mask) | (bits & mask);
        store->change(self, change);
        return S_OK;
    });
}

HRESULT StorageObject::CopyTo(DWORD excludedCount, const IID* excludedInterfaces, SNB excludedNames, IStorage* target) noexcept
{
    if (!target || (excludedCount != 0 && !excludedInterfaces))
        return STG_E_INVALIDPOINTER;
    return iCall([&]() -> HRESULT {
        const StorageCopy copy(*this, *target);
        bool streams = true, storages = true;
        for (DWORD i = 0; i < excludedCount; ++i) {
            streams = streams && excludedInterfaces[i] != IID_IStream;
            storages = storages && excludedInterfaces[i] != IID_IStorage;
        }
        return copy.all(streams, storages, excludedNames);
    });
}

HRESULT StorageObject::MoveElementTo(LPCOLESTR name, IStorage* target, LPCOLESTR newName, DWORD flags) noexcept
{
    if (!target)
        return STG_E_INVALIDPOINTER;
    if (flags != STGMOVE_MOVE && flags != STGMOVE_COPY)
        return STG_E_INVALIDFLAG;
    return iCall([&]() -> HRESULT {
        if (flags == STGMOVE_MOVE)
            iCheckMayChange();
        const auto id = store->find(self, nameArgument(name));
        const std::u16string goal(newNameArgument(newName ? newName : name));
        if (!id)
            return STG_E_FILENOTFOUND;
        if (element.isOpen(*id))
            return STG_E_ACCESSDENIED;
        const StorageCopy copy(*this, *target, StorageCopy::IntoItself::allowed);
        if (const HRESULT status = copy.one(*id, goal); FAILED(status) || flags == STGMOVE_COPY)
            return status;
        iTouch();
        store->destroy(self, *id);
        return S_OK;
    });
}

HRESULT StorageObject::createOddStream(const std::u16string& name, DWORD wanted, IStream** out) noexcept
{
    return iCall([&]() -> HRESULT {
        *out = iOpenStream(iMakeRoom(name, wanted, false), wanted).detach();
        return S_OK;
    });
}

HRESULT StorageObject::createOddStorage(const std::u16string& name, DWORD wanted, IStorage** out) noexcept
{
    return iCall([&]() -> HRESULT {
        *out = iOpenStorage(iMakeRoom(name, wanted, true), wanted).detach();
        return S_OK;
    });
}

StorageObject* StorageObject::ownObjectOf(IStorage& storage) noexcept
{
    void* own = nullptr;
    if (FAILED(storage.QueryInterface(ownObject, &own)) || !own)
        return nullptr;
    storage.Release(); // the caller's reference lasts
    return static_cast<StorageObject*>(own);
}

} // namespace kvdm
