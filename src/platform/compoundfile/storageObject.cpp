#include "platform/compoundfile/storageObject.h"

#include "common/exceptions.h"
#include "common/statusOfException.h"
#include "platform/compoundfile/elementEnumerator.h"
#include "platform/compoundfile/names.h"
#include "platform/compoundfile/streamObject.h"

namespace kvdm {
namespace {

constexpr DWORD accessMask = 0x3, shareMask = 0x70;
// Everything that a mode word can hold.
constexpr DWORD knownFlags = STGM_TRANSACTED | STGM_SIMPLE | accessMask | shareMask | STGM_PRIORITY | STGM_DELETEONRELEASE | STGM_NOSCRATCH |
                             STGM_CREATE | STGM_CONVERT | STGM_NOSNAPSHOT | STGM_DIRECT_SWMR;

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

ComPtr<IStorage> StorageObject::makeRoot(std::shared_ptr<CompoundFile> file, DWORD mode)
{
    return ComPtr<IStorage>::adopt(new StorageObject(file, file, CompoundFile::rootId, nullptr, mode));
}

StorageObject::StorageObject(std::shared_ptr<CompoundFile> ownerFile, std::shared_ptr<ElementStore> elements, ElementId id, OpenElement* parent,
                             DWORD openMode)
    : file(std::move(ownerFile)), store(std::move(elements)), element(id, parent), mode(openMode)
{}

StorageObject::~StorageObject()
{
    const std::shared_ptr<CompoundFile> keep = file; // the mutex outlives the lock
    const std::lock_guard lock(keep->mutex);
    element.revertChildren();
    if (iIsRoot())
        file->close();
    store.reset();
    file.reset();
}

template <class Body> HRESULT StorageObject::iCall(Body&& body) noexcept
{
    return automationCall([&]() -> HRESULT {
        const std::lock_guard lock(file->mutex);
        return element.isReverted() ? STG_E_REVERTED : body();
    });
}

// The element of that name if this mode may have it. Throws the status that says why not.
ElementId StorageObject::iFindToOpen(LPCOLESTR name, DWORD wanted, bool wantStorage)
{
    // A transacted storage lends out more than it has itself: what is done with it stays in the transaction.
    if ((mode & STGM_TRANSACTED) == 0 && (wanted & accessMask) > (mode & accessMask))
        throw suOleException(STG_E_ACCESSDENIED);
    const std::u16string_view text = nameArgument(name);
    const auto id = store->find(element.id, text);
    if (!id && text.empty())
        throw suOleException(STG_E_INVALIDNAME);
    if (!id || store->info(*id).isStorage != wantStorage)
        throw suOleException(STG_E_FILENOTFOUND);
    if (element.isOpen(*id))
        throw suOleException(STG_E_ACCESSDENIED);
    return *id;
}

HRESULT StorageObject::OpenStream(LPCOLESTR name, void* reserved1, DWORD wanted, DWORD reserved2, IStream** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    if (reserved1 || reserved2 != 0)
        return STG_E_INVALIDPARAMETER;
    return iCall([&]() -> HRESULT {
        if (const HRESULT status = checkElementMode(wanted, false); FAILED(status))
            return status;
        if ((wanted & STGM_TRANSACTED) != 0)
            return STG_E_INVALIDFUNCTION;
        const ElementId id = iFindToOpen(name, wanted, false);
        auto opened = std::make_shared<::kvdm::OpenStream>(file, id, &element, store->content(id), store->info(id).name, wanted);
        *out = new StreamObject(std::move(opened), 0);
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
    return iCall([&]() -> HRESULT {
        if (const HRESULT status = checkElementMode(wanted, false); FAILED(status))
            return status;
        const ElementId id = iFindToOpen(name, wanted, true);
        *out = new StorageObject(file, store, id, &element, wanted);
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
        for (const ElementId id : store->children(element.id))
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
        const ElementInfo info = store->info(element.id);
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

HRESULT StorageObject::CreateStream(LPCOLESTR, DWORD, DWORD, DWORD, IStream** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    return iCall([]() -> HRESULT { return STG_E_ACCESSDENIED; });
}

HRESULT StorageObject::CreateStorage(LPCOLESTR, DWORD, DWORD, DWORD, IStorage** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    return iCall([]() -> HRESULT { return STG_E_ACCESSDENIED; });
}

HRESULT StorageObject::CopyTo(DWORD, const IID*, SNB, IStorage*) noexcept
{
    return iCall([]() -> HRESULT { return STG_E_UNIMPLEMENTEDFUNCTION; });
}

HRESULT StorageObject::MoveElementTo(LPCOLESTR, IStorage*, LPCOLESTR, DWORD) noexcept
{
    return iCall([]() -> HRESULT { return STG_E_UNIMPLEMENTEDFUNCTION; });
}

HRESULT StorageObject::Commit(DWORD) noexcept
{
    return iCall([]() -> HRESULT { return S_OK; });
}

HRESULT StorageObject::Revert() noexcept
{
    return iCall([&]() -> HRESULT { return S_OK; });
}

HRESULT StorageObject::DestroyElement(LPCOLESTR) noexcept
{
    return iCall([]() -> HRESULT { return STG_E_ACCESSDENIED; });
}

HRESULT StorageObject::RenameElement(LPCOLESTR, LPCOLESTR) noexcept
{
    return iCall([]() -> HRESULT { return STG_E_ACCESSDENIED; });
}

HRESULT StorageObject::SetElementTimes(LPCOLESTR, const FILETIME*, const FILETIME*, const FILETIME*) noexcept
{
    return iCall([]() -> HRESULT { return STG_E_ACCESSDENIED; });
}

HRESULT StorageObject::SetClass(REFCLSID) noexcept
{
    return iCall([]() -> HRESULT { return STG_E_ACCESSDENIED; });
}

HRESULT StorageObject::SetStateBits(DWORD, DWORD) noexcept
{
    return iCall([]() -> HRESULT { return STG_E_ACCESSDENIED; });
}

} // namespace kvdm
