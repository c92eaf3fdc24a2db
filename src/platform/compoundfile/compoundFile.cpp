#include "platform/compoundfile/compoundFile.h"

#include "common/exceptions.h"

namespace kvdm {

CompoundFile::CompoundFile(ComPtr<ILockBytes> lockBytes)
    : file(lockBytes), locks(lockBytes), table(file), directory(file, table), mini(ContentHome{file, table, mini})
{}

CompoundFile::~CompoundFile() = default;

void CompoundFile::open(DWORD mode)
{
    if (const HRESULT status = locks.acquire(mode); FAILED(status))
        throw suOleException(status);
    try {
        iReadHeader();
        file.measure(); // after the header: what it tells of was there before it
        iStart();
        const EntryView root = directory.entry(rootId);
        if (root.type() != EntryType::root)
            throw suOleException(STG_E_DOCFILECORRUPT);
    } catch (...) {
        locks.release();
        throw;
    }
}

void CompoundFile::close() noexcept
{
    locks.release();
}

// A writer in another process may be putting down a new header at this moment: it is read until two readings agree.
void CompoundFile::iReadHeader()
{
    std::size_t got = file.readFresh(0, headerOnDisk.data(), headerBytes);
    if (got == 0)
        throw suOleException(STG_E_FILENOTFOUND);
    if (got < headerBytes)
        throw suOleException(STG_E_FILEALREADYEXISTS);
    HeaderBytes again;
    for (int attempt = 0; attempt < 100; ++attempt) {
        got = file.readFresh(0, again.data(), headerBytes);
        if (got == headerBytes && again == headerOnDisk)
            break;
        headerOnDisk = again;
    }
    if (const HRESULT status = CompoundHeader::decode(headerOnDisk, header); FAILED(status))
        throw suOleException(status);
}

void CompoundFile::iStart()
{
    const bool wide = header.majorVersion >= 4;
    table.start(header);
    directory.start(header.directoryStart, wide);
    contents.clear();
    const EntryView root = directory.entry(rootId);
    mini.start(header.miniFatStart, root.start(), root.size(wide));
}

std::optional<ElementId> CompoundFile::find(ElementId storage, std::u16string_view name)
{
    return directory.find(storage, name);
}

ElementInfo CompoundFile::info(ElementId element)
{
    const EntryView entry = directory.entry(element);
    ElementInfo result;
    result.name = entry.name();
    result.isStorage = entry.type() != EntryType::stream;
    if (result.isStorage) {
        result.clsid = entry.clsid();
        result.stateBits = entry.stateBits();
        result.created = entry.created();
        result.modified = entry.modified();
        return result;
    }
    const auto open = contents.find(element);
    const std::shared_ptr<StreamContent> content = open == contents.end() ? nullptr : open->second.lock();
    result.size = content ? content->size() : directory.sizeOf(element);
    return result;
}

std::u16string CompoundFile::storedName(ElementId element)
{
    return directory.entry(element).storedName();
}

std::vector<ElementId> CompoundFile::children(ElementId storage)
{
    return directory.children(storage);
}

std::shared_ptr<StreamContent> CompoundFile::content(ElementId stream)
{
    std::weak_ptr<StreamContent>& known = contents[stream];
    if (auto open = known.lock())
        return open;
    const EntryView entry = directory.entry(stream);
    auto result = std::make_shared<StreamContent>(ContentHome{file, table, mini}, entry.start(), directory.sizeOf(stream));
    known = result;
    return result;
}

HRESULT isCompoundFile(ILockBytes& bytes) noexcept
{
    std::uint8_t header[headerBytes];
    std::size_t got = 0;
    while (got < sizeof header) {
        ULARGE_INTEGER offset;
        offset.QuadPart = got;
        ULONG piece = 0;
        const HRESULT status = bytes.ReadAt(offset, header + got, static_cast<ULONG>(sizeof header - got), &piece);
        if (FAILED(status))
            return status;
        if (piece == 0 || piece > sizeof header - got)
            return S_FALSE;
        got += piece;
    }
    return hasSignature(header) ? S_OK : S_FALSE;
}

} // namespace kvdm
