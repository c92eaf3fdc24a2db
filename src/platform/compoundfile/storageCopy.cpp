#include "platform/compoundfile/storageCopy.h"

#include "common/exceptions.h"
#include "platform/compoundfile/names.h"

#include <algorithm>

namespace kvdm {
namespace {

constexpr DWORD writeElement = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr unsigned deepestCopy = 500; // storages inside each other; each takes a piece of the stack
constexpr std::size_t blockBytes = 1 << 18;

bool isExcluded(SNB names, const std::u16string& name)
{
    for (; names && *names; ++names) {
        if (compareNames(std::u16string_view(*names), name) == 0)
            return true;
    }
    return false;
}

} // namespace

StorageCopy::StorageCopy(StorageObject& from, IStorage& to, IntoItself intoItself) : source(from), target(to)
{
    const StorageObject* own = StorageObject::ownObjectOf(to);
    if (own && intoItself == IntoItself::refused && own->file == source.file && source.element.contains(own->element))
        throw suOleException(STG_E_ACCESSDENIED);
}

HRESULT StorageCopy::all(bool streams, bool storages, SNB excludedNames) const
{
    return iCopyAll(source.self, target, streams, storages, excludedNames, 0);
}

HRESULT StorageCopy::one(ElementId element, const std::u16string& name) const
{
    return source.store->info(element).isStorage ? iCopyStorage(element, target, name, false, 0) : iCopyStream(element, target, name, 0);
}

HRESULT StorageCopy::iCopyAll(ElementId storage, IStorage& to, bool streams, bool storages, SNB excludedNames, unsigned depth) const
{
    if (depth > deepestCopy)
        return STG_E_INSUFFICIENTMEMORY;
    const ElementInfo info = source.store->info(storage);
    HRESULT status = to.SetClass(info.clsid);
    if (SUCCEEDED(status))
        status = to.SetStateBits(info.stateBits, 0xFFFFFFFF);
    for (const ElementId id : source.store->children(storage)) {
        if (FAILED(status))
            break;
        const ElementInfo child = source.store->info(id);
        if (!(child.isStorage ? storages : streams) || isExcluded(excludedNames, child.name))
            continue;
        status = child.isStorage ? iCopyStorage(id, to, child.name, true, depth) : iCopyStream(id, to, child.name, STGM_CREATE);
    }
    return SUCCEEDED(status) ? S_OK : status;
}

HRESULT StorageCopy::iCopyStream(ElementId stream, IStorage& to, const std::u16string& name, DWORD createMode) const
{
    ComPtr<IStream> copy;
    StorageObject* own = StorageObject::ownObjectOf(to);
    HRESULT status = own ? own->createOddStream(name, writeElement | createMode, copy.put())
                         : to.CreateStream(name.c_str(), writeElement | createMode, 0, 0, copy.put());
    if (FAILED(status))
        return status;
    const std::shared_ptr<StreamContent> bytes = source.store->content(stream, false);
    const std::uint64_t size = bytes->size();
    std::vector<std::uint8_t> block(static_cast<std::size_t>(std::min<std::uint64_t>(size, blockBytes)));
    for (std::uint64_t done = 0; done < size;) {
        const StreamContent::Transfer got = bytes->read(done, block.data(), block.size());
        if (FAILED(got.status))
            return got.status;
        for (std::size_t put = 0; put < got.count;) {
            ULONG piece = 0;
            status = copy->Write(block.data() + put, static_cast<ULONG>(got.count - put), &piece);
            if (FAILED(status) || piece == 0 || piece > got.count - put)
                return FAILED(status) ? status : STG_E_MEDIUMFULL;
            put += piece;
        }
        done += got.count;
    }
    return S_OK;
}

HRESULT StorageCopy::iCopyStorage(ElementId storage, IStorage& to, const std::u16string& name, bool merge, unsigned depth) const
{
    ComPtr<IStorage> copy;
    HRESULT status = merge ? to.OpenStorage(name.c_str(), nullptr, writeElement, nullptr, 0, copy.put()) : STG_E_FILENOTFOUND;
    if (status == STG_E_FILENOTFOUND || status == STG_E_INVALIDNAME) {
        const DWORD mode = writeElement | (merge ? STGM_CREATE : 0);
        StorageObject* own = StorageObject::ownObjectOf(to);
        status = own ? own->createOddStorage(name, mode, copy.put()) : to.CreateStorage(name.c_str(), mode, 0, 0, copy.put());
    }
    if (FAILED(status))
        return status;
    status = iCopyAll(storage, *copy, true, true, nullptr, depth + 1);
    if (FAILED(status))
        return status;
    copy.reset();
    const ElementInfo info = source.store->info(storage);
    (void)to.SetElementTimes(name.c_str(), &info.created, nullptr, &info.modified); // a stranger need not keep times
    return S_OK;
}

} // namespace kvdm
