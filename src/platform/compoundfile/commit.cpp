// Shadow commit: how the working state becomes the committed one.
//
//   1. Everything new goes to sectors that the committed state does not use: data as it is written, and here, in this order,
//      small streams into the mini stream, then directory, mini allocation table, allocation table and its index, each of them
//      only where it changed. Sectors of the committed state are never written.
//   2. A flush.
//   3. The header alone, 512 bytes in one write: from here on the new state is the committed one.
//   4. A flush.
//
// A file that is cut off anywhere before 3 opens as before, anywhere after it as new; a header of 512 bytes is written whole or
// not at all. Sectors that the new state does not use any more become free with it, and are used again when no reader of an
// older state can have them (sectorAllocator.h).
#include "common/exceptions.h"
#include "platform/compoundfile/compoundFile.h"
#include "platform/compoundfile/tableUpdate.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kvdm {
namespace {

constexpr std::size_t mostInOneWrite = 1 << 18;
constexpr std::uint64_t mostMoved = 16 << 20; // bytes of a file that are written a second time to bring it down
constexpr std::uint32_t mostChecked = 4096;   // sectors of each chain that a commit looks at to see whether they are its own

} // namespace

bool CompoundFile::isChanged() const noexcept
{
    const bool contentChanged = std::any_of(toWrite.begin(), toWrite.end(), [](const auto& each) { return each.second->isChanged(); });
    return contentChanged || directory.isChanged() || mini.isChanged() || !retired.empty();
}

// Small streams, the mini stream and the directory get their places, down to the entries that tell of them.
void CompoundFile::iPlaceAll()
{
    for (auto& [id, content] : toWrite)
        iPlaceContent(id, *content);
    mini.trim();
    mini.stream().flush();
    mini.stream().moveDown(16);
    iRetire(mini.stream().droppedSectors());
    const EntryView root = directory.entry(rootId);
    const std::uint32_t start = mini.stream().size() == 0 ? endOfChain : mini.stream().sectors().start();
    if (root.start() != start || directory.sizeOf(rootId) != mini.stream().size()) {
        EntryEditor changed = directory.edit(rootId);
        changed.setStart(start);
        changed.setSize(mini.stream().size());
    }
    FILETIME now{};
    CoFileTimeNow(&now);
    directory.edit(rootId).setModified(now);
    directory.trim();

    std::vector<SectorChain::Run> dropped;
    directory.table().place(allocator, dropped);
    iRetire(dropped);
    mini.allocation().place(allocator, dropped);
    iRetire(dropped);
}

// In a damaged file one sector may belong to two chains. What this commit touches is looked at: it must not set free or link
// anew what is in use elsewhere. Better no save than one that loses what was there.
void CompoundFile::iCheckDisjoint(const TableUpdate& update)
{
    std::vector<SectorRun> all;
    const auto addChain = [&](SectorChain& chain) {
        try {
            chain.at(mostChecked);
        } catch (const suOleException&) {
            // As far as it can be walked.
        }
        for (const SectorChain::Run& run : chain.knownRuns())
            all.push_back({run.sector, run.count});
    };
    addChain(directory.table().sectors());
    addChain(mini.allocation().sectors());
    addChain(mini.stream().sectors());
    for (auto& [id, content] : toWrite) {
        if (content->isChanged())
            addChain(content->sectors());
    }
    for (const auto& [first, end] : retired.all()) {
        all.push_back({first, end - first});
        const auto start = largeStarts.lower_bound(first);
        if (start != largeStarts.end() && *start < end) // a stream that stays begins there
            throw suOleException(STG_E_DOCFILECORRUPT);
    }
    if (!update.isDisjointFrom(std::move(all)))
        throw suOleException(STG_E_DOCFILECORRUPT);
}

// Neighbouring sectors go out in one write.
void CompoundFile::iWriteSectors(std::vector<PagedChain::Piece>& pieces)
{
    std::sort(pieces.begin(), pieces.end(), [](const auto& a, const auto& b) { return a.sector < b.sector; });
    const std::size_t sectorBytes = table.sectorBytes();
    std::vector<std::uint8_t> together;
    for (std::size_t i = 0; i < pieces.size();) {
        std::size_t count = 1;
        while (i + count < pieces.size() && pieces[i + count].sector == pieces[i].sector + count && (count + 1) * sectorBytes <= mostInOneWrite)
            ++count;
        together.resize(count * sectorBytes);
        for (std::size_t k = 0; k < count; ++k)
            std::memcpy(together.data() + k * sectorBytes, pieces[i + k].bytes, sectorBytes);
        file.write(table.offsetOf(pieces[i].sector), together.data(), together.size());
        i += count;
    }
}

// Throws while the file still has the old header. S_OK when the new one is safe on the medium; the status of what failed when
// it is in the file but nobody knows how safe.
HRESULT CompoundFile::iPutHeader(const HeaderBytes& next, DWORD flags)
{
    const bool flushes = (flags & STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE) == 0;
    if (flushes)
        file.flush();
    try {
        file.write(0, next.data(), next.size());
        if (flushes)
            file.flush();
        return S_OK;
    } catch (const suOleException& failure) {
        // Which of the two headers is in the file now decides what the state is.
        HeaderBytes now{};
        if (file.readFresh(0, now.data(), now.size()) == now.size() && now == next)
            return failure.status;
        if (now != headerOnDisk)
            file.write(0, headerOnDisk.data(), headerOnDisk.size());
        throw;
    }
}

void CompoundFile::iAdopt(const CompoundHeader& next, const HeaderBytes& nextBytes, TableUpdate& update, bool isSafe) noexcept
{
    update.keep();
    header = next;
    headerOnDisk = nextBytes;
    table.adopt(next, update.takePlaces(), update.takeDifat());
    allocator.adoptCommit(next.transactionSignature, static_cast<std::uint32_t>(next.fatSectors), isSafe);
    for (auto& [id, content] : toWrite) {
        if (!content->isSmall()) // small ones were settled when they were placed
            content->settle(endOfChain);
    }
    std::erase_if(toWrite, [](const auto& each) { return each.second.use_count() == 1; }); // others may be written on
    retired.clear();
    mini.settle();
    directory.table().settle();
}

void CompoundFile::commit(DWORD flags)
{
    if (!mayWrite)
        throw suOleException(STG_E_ACCESSDENIED);
    iCheckWhole();
    if (!isChanged())
        return;
    HeaderBytes now{};
    if (file.readFresh(0, now.data(), now.size()) < now.size() || now != headerOnDisk)
        throw suOleException(STG_E_NOTCURRENT); // another writer, where there are no locks: nothing of his is touched
    if (file.isCutShort())
        throw suOleException(STG_E_DOCFILECORRUPT);

    iPlaceAll();
    CompoundHeader next = header;
    ++next.transactionSignature;
    next.directoryStart = directory.table().sectors().start();
    next.directorySectors = next.majorVersion >= 4 ? directory.table().count() : 0;
    next.miniFatSectors = mini.allocation().count();
    next.miniFatStart = next.miniFatSectors == 0 ? endOfChain : mini.allocation().sectors().start();

    TableUpdate update(table, allocator, isReplacing);
    for (auto& [id, content] : toWrite) {
        if (content->isChanged())
            update.link(content->sectors());
    }
    if (mini.stream().isChanged())
        update.link(mini.stream().sectors());
    if (mini.allocation().isChanged())
        update.link(mini.allocation().sectors());
    update.link(directory.table().sectors());
    for (const auto& [first, end] : retired.all())
        update.free({first, end - first});
    update.finish(next);
    iCheckDisjoint(update);

    std::vector<PagedChain::Piece> pieces;
    directory.table().changedPages(pieces);
    mini.allocation().changedPages(pieces);
    update.pieces(pieces);
    iWriteSectors(pieces);
    if (isReplacing)
        allocator.prepareReplacement(update.publishedSectors(), next.fatSectors);
    else
        allocator.prepareCommit(update.publishedSectors(), update.freedSectors(), next.fatSectors);
    const HeaderBytes nextBytes = next.encode();
    const HRESULT status = iPutHeader(nextBytes, flags);
    iAdopt(next, nextBytes, update, SUCCEEDED(status));
    if (std::exchange(isReplacing, false)) {
        leavesGap = true;
        gapFlags = flags;
    }
    if (FAILED(status))
        throw suOleException(status);
    try {
        allocator.trim();
    } catch (...) {
        // The commit is done; a longer file than needed is not worth a failure.
    }
}

// A file that took the place of another one lies behind it. When it is not large it moves down in the end, in a commit of its
// own: nobody has anything of it open any more that could lead to the sectors that it leaves.
void CompoundFile::iCloseGap()
{
    if (isChanged() || torn)
        revert();
    std::vector<ElementId> all{rootId};
    std::uint64_t bytes = mini.stream().size() + std::uint64_t{directory.table().count() + mini.allocation().count()} * table.sectorBytes();
    for (std::size_t i = 0; i < all.size() && bytes <= mostMoved; ++i) {
        if (directory.entry(all[i]).type() == EntryType::stream) {
            bytes += directory.sizeOf(all[i]);
            continue;
        }
        const std::vector<ElementId> below = directory.children(all[i]);
        all.insert(all.end(), below.begin(), below.end());
    }
    if (bytes > mostMoved || !allocator.hasRoomBelow(allocator.end() / 2))
        return;
    for (const ElementId id : all) {
        if (directory.entry(id).type() == EntryType::stream && directory.sizeOf(id) >= miniCutoff)
            content(id, true)->rewrite();
    }
    mini.stream().rewrite();
    directory.table().touchAll();
    mini.allocation().touchAll();
    commit(gapFlags);
}

void CompoundFile::revert()
{
    allocator.revert();
    file.measure();
    if (isReplacing)
        return iStartReplacement();
    iReadHeader();
    iStart();
}

} // namespace kvdm
