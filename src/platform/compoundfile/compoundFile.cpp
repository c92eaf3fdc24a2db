#include "platform/compoundfile/compoundFile.h"

#include "common/exceptions.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace kvdm {
namespace {

constexpr DWORD accessMask = 0x3;
constexpr std::size_t mostStreamsChecked = 4096;
constexpr std::size_t smallStreamsInMemory = 4096; // 16 MiB of them at most, besides those that are open
constexpr std::uint64_t mostReplaced = 1u << 30;   // a version 3 file needs room behind the one that it replaces

FILETIME timeNow() noexcept
{
    FILETIME now{};
    CoFileTimeNow(&now);
    return now;
}

void makeRoot(EntryEditor root)
{
    root.setName(u"Root Entry");
    root.setType(EntryType::root);
    root.setBlack(true);
    root.setStart(endOfChain);
    root.setModified(timeNow());
}

} // namespace

CompoundFile::CompoundFile(ComPtr<ILockBytes> lockBytes)
    : file(lockBytes), locks(lockBytes), table(file), allocator(file, table, locks), directory(file, table),
      mini(ContentHome{file, table, allocator, mini})
{}

CompoundFile::~CompoundFile() = default;

void CompoundFile::open(DWORD mode)
{
    if (const HRESULT status = locks.acquire(mode); FAILED(status))
        throw suOleException(status);
    try {
        mayWrite = (mode & accessMask) != STGM_READ;
        iReadHeader();
        file.measure(); // after the header: what it tells of was there before it
        iStart();
    } catch (...) {
        locks.release();
        throw;
    }
}

void CompoundFile::create(DWORD mode)
{
    if (const HRESULT status = locks.acquire(mode); FAILED(status))
        throw suOleException(status);
    try {
        mayWrite = true;
        file.measure();
        if (file.size() != 0 && (mode & STGM_CREATE) == 0)
            throw suOleException(STG_E_FILEALREADYEXISTS);
        if (file.size() != 0 && locks.readersPresent())
            throw suOleException(STG_E_SHAREVIOLATION); // what somebody reads is not pulled away
        if (file.size() >= headerBytes && file.size() < mostReplaced) {
            iStartReplacement();
            return;
        }
        // There is nothing worth keeping, or no room beside it.
        if (file.size() != 0)
            file.setSize(0);
        header = CompoundHeader();
        header.fatSectors = 1;
        header.fat[0] = 0;
        header.directoryStart = 1;
        std::vector<std::uint8_t> image(3 * header.sectorBytes(), 0xFF);
        headerOnDisk = header.encode();
        std::copy(headerOnDisk.begin(), headerOnDisk.end(), image.begin());
        std::uint8_t* fat = image.data() + header.sectorBytes();
        writeLe32(fat, fatSectorMark);
        writeLe32(fat + 4, endOfChain);
        std::uint8_t* entries = fat + header.sectorBytes();
        for (std::uint32_t i = 0; i < header.sectorBytes() / entryBytes; ++i)
            EntryEditor(entries + i * entryBytes).clear();
        makeRoot(EntryEditor(entries));
        file.write(0, image.data(), image.size());
        iStart();
    } catch (...) {
        locks.release();
        throw;
    }
}

// What was known and done on top of the committed state. First sectors that only the given up work had go as well: found again
// as others' sectors they would look like damage.
void CompoundFile::iForgetWork() noexcept
{
    contents.clear();
    toWrite.clear();
    retired.clear();
    largeStarts.clear();
    mostContents = leastContents;
    streamsChecked = false;
    torn = false;
}

// What the byte array holds stays the committed state until the first commit, so that a new file takes the place of another
// one as a whole. Sectors that a sound file of the same kind does not use may be used; behind any other bytes there is room.
void CompoundFile::iStartReplacement()
{
    isReplacing = true;
    iForgetWork();
    const HRESULT status =
        file.readFirst(headerOnDisk.data(), headerBytes) == headerBytes ? CompoundHeader::decode(headerOnDisk, header) : STG_E_READFAULT;
    bool isKnown = SUCCEEDED(status) && header.sectorShift == CompoundHeader().sectorShift;
    if (isKnown) {
        try {
            iStart();
        } catch (const suOleException&) {
            isKnown = false;
        }
    }
    CompoundHeader empty;
    empty.transactionSignature = SUCCEEDED(status) ? header.transactionSignature : 0;
    header = empty;
    if (!isKnown) {
        table.start(header);
        allocator.start(header.transactionSignature, true, false);
        allocator.distrustTables();
    }
    directory.start(endOfChain, false);
    directory.table().append(0);
    for (std::uint32_t i = 0; i < header.sectorBytes() / entryBytes; ++i)
        directory.edit(i).clear();
    makeRoot(directory.edit(rootId));
    mini.start(endOfChain, endOfChain, 0);
}

void CompoundFile::close() noexcept
{
    try {
        if (std::exchange(leavesGap, false))
            iCloseGap();
    } catch (...) {
        // A longer file than needed is not worth a failure.
    }
    if (mayWrite)
        allocator.dropGrowth();
    locks.release();
}

// A writer in another process may be putting down a new header at this moment: it is read until two readings agree.
void CompoundFile::iReadHeader()
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::size_t got = file.readFirst(headerOnDisk.data(), headerBytes);
        if (got == 0)
            throw suOleException(STG_E_FILENOTFOUND);
        if (got < headerBytes)
            throw suOleException(STG_E_FILEALREADYEXISTS);
        HeaderBytes again;
        if (file.readFresh(0, again.data(), headerBytes) == headerBytes && again == headerOnDisk) {
            if (const HRESULT status = CompoundHeader::decode(headerOnDisk, header); FAILED(status))
                throw suOleException(status);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    throw suOleException(STG_E_LOCKVIOLATION);
}

void CompoundFile::iStart()
{
    const bool wide = header.majorVersion >= 4;
    table.start(header);
    allocator.start(header.transactionSignature, !wide, !mayWrite);
    directory.start(header.directoryStart, wide);
    iForgetWork();
    if (!mayWrite)
        file.keepWritesInMemory(table.offsetOf(table.sectorCount()));
    const EntryView root = directory.entry(rootId);
    if (root.type() != EntryType::root)
        throw suOleException(STG_E_DOCFILECORRUPT);
    mini.start(header.miniFatStart, root.start(), root.size(wide));
    if (mayWrite && !iTablesAgree())
        allocator.distrustTables();
}

// Whether the first sectors of every table are marked as what they are. A file where they are not is damaged.
bool CompoundFile::iTablesAgree()
{
    constexpr std::uint32_t mostChecked = 4096;
    try {
        const std::vector<std::uint32_t>& places = table.allPlaces();
        for (std::size_t i = 0; i < places.size() && i < mostChecked / 16; ++i) {
            if (places[i] >= table.sectorCount() || table.next(places[i]) != fatSectorMark)
                return false;
        }
        for (const std::uint32_t place : table.difatPlaces()) {
            if (table.next(place) != difatSectorMark)
                return false;
        }
        for (SectorChain* chain : {&directory.table().sectors(), &mini.allocation().sectors(), &mini.stream().sectors()})
            chain->at(mostChecked);
        return true;
    } catch (const suOleException&) {
        return false;
    }
}

std::optional<ElementId> CompoundFile::find(ElementId storage, std::u16string_view name)
{
    return directory.find(storage, name);
}

ElementInfo CompoundFile::info(ElementId element)
{
    const EntryView entry = directory.entry(element);
    ElementInfo result;
    result.name = entry.storedName();
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

std::vector<ElementId> CompoundFile::children(ElementId storage)
{
    return directory.children(storage);
}

std::shared_ptr<StreamContent> CompoundFile::content(ElementId stream, bool isToWrite)
{
    if (isToWrite)
        iRelieveMemory();
    if (contents.size() >= mostContents) { // those that nobody has any more take memory too
        std::erase_if(contents, [](const auto& each) { return each.second.expired(); });
        mostContents = std::max(leastContents, 2 * contents.size());
    }
    std::weak_ptr<StreamContent>& known = contents[stream];
    std::shared_ptr<StreamContent> result = known.lock();
    if (!result) {
        const EntryView entry = directory.entry(stream);
        result = std::make_shared<StreamContent>(ContentHome{file, table, allocator, mini}, entry.start(), directory.sizeOf(stream));
        known = result;
    }
    if (isToWrite)
        toWrite.insert_or_assign(stream, result);
    return result;
}

std::shared_ptr<StreamContent> CompoundFile::emptyContent()
{
    return std::make_shared<StreamContent>(ContentHome{file, table, allocator, mini}, endOfChain, 0);
}

// Nothing more may be built on a state that was left in pieces; only Revert helps.
void CompoundFile::iCheckWhole() const
{
    if (torn || directory.isTorn())
        throw suOleException(STG_E_CANTSAVE);
}

// In a damaged file streams may share sectors, and small ones lie where none are in use: what is placed there would not stay.
// Looked at once, before the first of them goes or comes; of a file with very many streams, the first ones in the tree.
void CompoundFile::iCheckStreams()
{
    if (streamsChecked)
        return;
    largeStarts.clear();
    std::vector<bool> claimed;
    std::vector<ElementId> storages{rootId};
    std::size_t seen = 0;
    for (std::size_t i = 0; i < storages.size() && seen < mostStreamsChecked; ++i) {
        for (const ElementId id : directory.children(storages[i])) {
            if (++seen > mostStreamsChecked)
                break;
            const EntryView entry = directory.entry(id);
            const std::uint64_t size = directory.sizeOf(id);
            if (entry.type() != EntryType::stream)
                storages.push_back(id);
            else if (size < miniCutoff ? !mini.claim(entry.start(), size, claimed) : !largeStarts.insert(entry.start()).second)
                throw suOleException(STG_E_DOCFILECORRUPT);
        }
    }
    streamsChecked = true;
}

ElementId CompoundFile::create(ElementId storage, std::u16string_view name, bool isStorage)
{
    iCheckWhole();
    const ElementId id = directory.insert(storage, name);
    EntryEditor entry = directory.edit(id);
    entry.setType(isStorage ? EntryType::storage : EntryType::stream);
    entry.setStart(isStorage ? 0 : endOfChain);
    if (isStorage) {
        const FILETIME now = timeNow();
        entry.setCreated(now);
        entry.setModified(now);
    }
    contents.erase(id);
    return id;
}

void CompoundFile::destroy(ElementId storage, ElementId element)
{
    iCheckWhole();
    std::vector<ElementId> all{element}; // with everything below it; no recursion, since a hostile tree may be deep
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (directory.entry(all[i]).type() == EntryType::stream)
            continue;
        const std::vector<ElementId> below = directory.children(all[i]);
        all.insert(all.end(), below.begin(), below.end());
    }
    iCheckStreams();
    directory.unlink(storage, element);
    torn = true;
    for (const ElementId id : all) {
        if (directory.entry(id).type() == EntryType::stream)
            iDropContent(id);
        directory.release(id);
    }
    torn = false;
}

void CompoundFile::rename(ElementId storage, ElementId element, std::u16string_view name)
{
    iCheckWhole();
    directory.unlink(storage, element);
    torn = true; // until it is linked again
    directory.link(storage, element, name);
    torn = false;
}

void CompoundFile::change(ElementId element, const ElementChange& change)
{
    iCheckWhole();
    EntryEditor entry = directory.edit(element);
    if (change.clsid)
        entry.setClsid(*change.clsid);
    if (change.stateBits)
        entry.setStateBits(*change.stateBits);
    if (change.created)
        entry.setCreated(*change.created);
    if (change.modified)
        entry.setModified(*change.modified);
}

// The bytes of a stream that is destroyed: gone from the working state.
void CompoundFile::iDropContent(ElementId stream)
{
    const std::shared_ptr<StreamContent> bytes = content(stream, false);
    const EntryView entry = directory.entry(stream);
    const std::uint64_t size = directory.sizeOf(stream);
    if (size >= miniCutoff)
        largeStarts.erase(entry.start());
    else if (size != 0)
        mini.release(entry.start(), size);
    bytes->discard();
    iRetire(bytes->droppedSectors());
    toWrite.erase(stream);
    contents.erase(stream);
}

// Sectors that the working state does not use any more: the commit sets them free.
void CompoundFile::iRetire(std::vector<SectorChain::Run>& dropped)
{
    while (!dropped.empty()) {
        const SectorChain::Run run = dropped.back();
        if (run.fresh)
            allocator.giveBack({run.sector, run.count}, allocator.epoch());
        else
            retired.add(run.sector, run.count);
        dropped.pop_back();
    }
}

// Small streams that nobody has open any more need not wait in memory for the commit.
void CompoundFile::iRelieveMemory()
{
    if (toWrite.size() < smallStreamsInMemory)
        return;
    for (auto each = toWrite.begin(); each != toWrite.end();) {
        if (each->second.use_count() == 1 && each->second->isSmall()) {
            iPlaceContent(each->first, *each->second);
            contents.erase(each->first);
            each = toWrite.erase(each);
        } else
            ++each;
    }
}

// Puts down what is new and tells the entry where it is. Only then what was there before goes.
void CompoundFile::iPlaceContent(ElementId stream, StreamContent& content)
{
    content.flush();
    if (!content.isChanged())
        return;
    iCheckStreams();
    const EntryView before = directory.entry(stream);
    const std::uint64_t sizeBefore = directory.sizeOf(stream);
    const std::uint32_t startBefore = before.start();
    const std::uint32_t start = content.isSmall() ? mini.place(content.smallBytes()) : content.sectors().start();
    torn = true;
    EntryEditor entry = directory.edit(stream);
    entry.setStart(start);
    entry.setSize(content.size());
    if (sizeBefore >= miniCutoff)
        largeStarts.erase(startBefore);
    else if (sizeBefore != 0)
        mini.release(startBefore, sizeBefore);
    if (!content.isSmall())
        largeStarts.insert(start);
    iRetire(content.droppedSectors());
    if (content.isSmall())
        content.settle(start);
    torn = false;
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
