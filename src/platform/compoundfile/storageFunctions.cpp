// The public functions of structured storage.
#include "common/exceptions.h"
#include "common/statusOfException.h"
#include "platform/compoundfile/compoundFile.h"
#include "platform/compoundfile/lockBytes.h"
#include "platform/compoundfile/storageObject.h"

#include <string_view>

namespace kvdm {
namespace {

constexpr DWORD accessMask = 0x3, shareMask = 0x70;
constexpr DWORD knownFlags = STGM_TRANSACTED | STGM_SIMPLE | accessMask | shareMask | STGM_PRIORITY | STGM_DELETEONRELEASE | STGM_NOSCRATCH |
                             STGM_CREATE | STGM_CONVERT | STGM_NOSNAPSHOT | STGM_DIRECT_SWMR;

// The mode of a root that is to be opened. A byte array may be opened directly in any share mode, a file only in one that
// keeps others from changing it.
HRESULT checkOpenMode(DWORD mode, bool byPath) noexcept
{
    const DWORD access = mode & accessMask, share = mode & shareMask;
    if ((mode & ~knownFlags) != 0 || access == accessMask || share > STGM_SHARE_DENY_NONE)
        return STG_E_INVALIDFLAG;
    if ((mode & (STGM_CREATE | STGM_CONVERT | STGM_DELETEONRELEASE)) != 0)
        return STG_E_INVALIDFLAG;
    if ((mode & (STGM_SIMPLE | STGM_PRIORITY | STGM_DIRECT_SWMR)) != 0)
        return STG_E_UNIMPLEMENTEDFUNCTION;
    const bool transacted = (mode & STGM_TRANSACTED) != 0;
    if ((mode & STGM_NOSNAPSHOT) != 0 && (!transacted || share == STGM_SHARE_EXCLUSIVE || share == STGM_SHARE_DENY_WRITE))
        return STG_E_INVALIDFLAG;
    if (byPath && !transacted && share != STGM_SHARE_EXCLUSIVE && !(access == STGM_READ && share == STGM_SHARE_DENY_WRITE))
        return STG_E_INVALIDFLAG;
    return S_OK;
}

// The mode of a root that is to be made.
HRESULT checkCreateMode(DWORD mode, bool byPath) noexcept
{
    const DWORD access = mode & accessMask, share = mode & shareMask;
    if ((mode & ~knownFlags) != 0 || access == accessMask || access == STGM_READ || share > STGM_SHARE_DENY_NONE)
        return STG_E_INVALIDFLAG;
    if ((mode & (STGM_NOSNAPSHOT | STGM_PRIORITY)) != 0)
        return STG_E_INVALIDFLAG;
    if ((mode & (STGM_SIMPLE | STGM_DIRECT_SWMR | STGM_CONVERT)) != 0)
        return STG_E_UNIMPLEMENTEDFUNCTION;
    if (byPath && (mode & STGM_TRANSACTED) == 0 && share != STGM_SHARE_EXCLUSIVE)
        return STG_E_INVALIDFLAG;
    return S_OK;
}

HRESULT createOn(ComPtr<ILockBytes> bytes, DWORD mode, std::u16string deleteOnRelease, IStorage** out)
{
    auto file = std::make_shared<CompoundFile>(std::move(bytes));
    file->create(mode);
    *out = StorageObject::makeRoot(std::move(file), mode & ~(STGM_CREATE | STGM_DELETEONRELEASE), std::move(deleteOnRelease)).detach();
    return S_OK;
}

HRESULT openOn(ComPtr<ILockBytes> bytes, DWORD mode, IStorage** out)
{
    auto file = std::make_shared<CompoundFile>(std::move(bytes));
    file->open(mode);
    *out = StorageObject::makeRoot(std::move(file), mode).detach();
    return S_OK;
}

std::u16string_view textOf(LPCOLESTR text) noexcept
{
    return std::u16string_view(text);
}

} // namespace
} // namespace kvdm

extern "C"
{

    HRESULT StgIsStorageILockBytes(ILockBytes* bytes) noexcept
    {
        return bytes ? kvdm::isCompoundFile(*bytes) : STG_E_INVALIDPOINTER;
    }

    HRESULT StgIsStorageFile(LPCOLESTR path) noexcept
    {
        if (!path)
            return STG_E_INVALIDNAME;
        return kvdm::automationCall([&]() -> HRESULT {
            HRESULT status = S_OK;
            const auto bytes = kvdm::openFileLockBytes(kvdm::textOf(path), kvdm::FileAccess::read, kvdm::FileCreation::openExisting, status);
            return bytes ? kvdm::isCompoundFile(*bytes) : status;
        });
    }

    HRESULT StgOpenStorageOnILockBytes(ILockBytes* bytes, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved, IStorage** out) noexcept
    {
        if (!out)
            return STG_E_INVALIDPOINTER;
        *out = nullptr;
        if (!bytes)
            return STG_E_INVALIDPOINTER;
        if (priority || exclude || reserved != 0)
            return STG_E_INVALIDPARAMETER;
        return kvdm::automationCall([&]() -> HRESULT {
            const HRESULT status = kvdm::checkOpenMode(mode, false);
            return FAILED(status) ? status : kvdm::openOn(kvdm::ComPtr<ILockBytes>::share(bytes), mode, out);
        });
    }

    HRESULT StgOpenStorage(LPCOLESTR path, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved, IStorage** out) noexcept
    {
        if (!out)
            return STG_E_INVALIDPOINTER;
        *out = nullptr;
        if (!path)
            return STG_E_INVALIDNAME;
        if (priority || exclude || reserved != 0)
            return STG_E_INVALIDPARAMETER;
        return kvdm::automationCall([&]() -> HRESULT {
            HRESULT status = kvdm::checkOpenMode(mode, true);
            if (FAILED(status))
                return status;
            const auto access = (mode & kvdm::accessMask) == STGM_READ ? kvdm::FileAccess::read : kvdm::FileAccess::readWrite;
            auto bytes = kvdm::openFileLockBytes(kvdm::textOf(path), access, kvdm::FileCreation::openExisting, status);
            if (!bytes)
                return status;
            status = kvdm::automationCall([&] { return kvdm::openOn(std::move(bytes), mode, out); });
            // An empty file is there: it is no storage, but it is not missing either.
            return status == STG_E_FILENOTFOUND ? STG_E_FILEALREADYEXISTS : status;
        });
    }

    HRESULT StgCreateDocfileOnILockBytes(ILockBytes* bytes, DWORD mode, DWORD reserved, IStorage** out) noexcept
    {
        if (!out)
            return STG_E_INVALIDPOINTER;
        *out = nullptr;
        if (!bytes)
            return STG_E_INVALIDPOINTER;
        if (reserved != 0)
            return STG_E_INVALIDPARAMETER;
        return kvdm::automationCall([&]() -> HRESULT {
            const HRESULT status = kvdm::checkCreateMode(mode, false);
            // A byte array cannot be deleted: that flag says nothing here.
            return FAILED(status) ? status : kvdm::createOn(kvdm::ComPtr<ILockBytes>::share(bytes), mode, {}, out);
        });
    }

    HRESULT StgCreateDocfile(LPCOLESTR path, DWORD mode, DWORD reserved, IStorage** out) noexcept
    {
        if (!out)
            return STG_E_INVALIDPOINTER;
        *out = nullptr;
        if (reserved != 0)
            return STG_E_INVALIDPARAMETER;
        return kvdm::automationCall([&]() -> HRESULT {
            HRESULT status = kvdm::checkCreateMode(mode, true);
            if (FAILED(status))
                return status;
            struct NewFile
            {
                std::u16string name; // empty when it stays
                ~NewFile()
                {
                    try {
                        if (!name.empty())
                            kvdm::deleteFile(name);
                    } catch (...) {
                        // It stays, then.
                    }
                }
            } unfinished;
            std::u16string name;
            auto creation = (mode & STGM_CREATE) != 0 ? kvdm::FileCreation::openAlways : kvdm::FileCreation::createNew;
            if (path)
                name = kvdm::textOf(path);
            else { // a new name in the folder for such files
                const auto made = kvdm::temporaryFile(kvdm::temporaryFolder(), u"kvd");
                if (!made)
                    return STG_E_ACCESSDENIED;
                name = unfinished.name = *made;
                creation = kvdm::FileCreation::openAlways;
            }
            auto bytes = kvdm::openFileLockBytes(name, kvdm::FileAccess::readWrite, creation, status);
            if (!bytes)
                return status;
            if (creation == kvdm::FileCreation::createNew)
                unfinished.name = name;
            status = kvdm::createOn(std::move(bytes), mode, (mode & STGM_DELETEONRELEASE) != 0 ? name : std::u16string(), out);
            if (SUCCEEDED(status))
                unfinished.name.clear();
            return status;
        });
    }

    HRESULT ReadClassStg(IStorage* storage, CLSID* id) noexcept
    {
        if (!id)
            return STG_E_INVALIDPOINTER;
        *id = CLSID_NULL;
        if (!storage)
            return STG_E_INVALIDPOINTER;
        STATSTG statistics{};
        const HRESULT status = storage->Stat(&statistics, STATFLAG_NONAME);
        if (SUCCEEDED(status))
            *id = statistics.clsid;
        return status;
    }

    HRESULT WriteClassStg(IStorage* storage, REFCLSID id) noexcept
    {
        return storage ? storage->SetClass(id) : STG_E_INVALIDPOINTER;
    }

    HRESULT CreateStreamOnHGlobal(void* memory, BOOL, IStream** out) noexcept
    {
        if (!out)
            return E_INVALIDARG;
        *out = nullptr;
        if (memory)
            return E_INVALIDARG;
        return kvdm::automationCall([&]() -> HRESULT {
            *out = kvdm::makeMemoryStream().detach();
            return S_OK;
        });
    }

    HRESULT CreateILockBytesOnHGlobal(void* memory, BOOL, ILockBytes** out) noexcept
    {
        if (!out)
            return E_INVALIDARG;
        *out = nullptr;
        if (memory)
            return E_INVALIDARG;
        return kvdm::automationCall([&]() -> HRESULT {
            *out = kvdm::makeMemoryLockBytes().detach();
            return S_OK;
        });
    }

} // extern "C"
