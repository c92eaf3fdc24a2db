// The writing side of a stream's content.
#include "common/exceptions.h"
#include "platform/compoundfile/miniStore.h"
#include "platform/compoundfile/sectorAllocator.h"
#include "platform/compoundfile/streamContent.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace kvdm {
namespace {

constexpr std::size_t largestSectorBytes = 4096;

} // namespace

const std::vector<std::uint8_t>& StreamContent::smallBytes()
{
    if (const HRESULT status = iLoadSmall(); FAILED(status))
        throw suOleException(status);
    return small;
}

void StreamContent::write(std::uint64_t position, const void* buffer, std::size_t count)
{
    if (count == 0)
        return;
    if (position + count < position)
        throw suOleException(STG_E_DOCFILETOOLARGE);
    if (position > byteCount)
        resize(position);
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    const std::uint64_t end = std::max(byteCount, position + count);
    if (!inSectors && end < miniCutoff) {
        smallBytes();
        small.resize(static_cast<std::size_t>(end));
        std::memcpy(small.data() + position, bytes, count);
        byteCount = end;
        changed = true;
        return;
    }
    if (!inSectors)
        iMoveToSectors();
    if (!gathered.empty() && position == gatheredAt + gathered.size() && gathered.size() + count <= gatherBytes)
        gathered.insert(gathered.end(), bytes, bytes + count);
    else {
        flush();
        if (count >= gatherBytes / 4)
            iWriteSectors(position, bytes, count);
        else {
            gathered.reserve(std::min<std::size_t>(gatherBytes, 8 * count)); // few growths for a row of small pieces
            gathered.assign(bytes, bytes + count);
            gatheredAt = position;
        }
    }
    byteCount = end;
    changed = true;
}

void StreamContent::flush()
{
    if (gathered.empty())
        return;
    iWriteSectors(gatheredAt, gathered.data(), gathered.size());
    gathered.clear();
}

void StreamContent::rewrite()
{
    flush();
    std::vector<std::uint8_t> block(static_cast<std::size_t>(std::min<std::uint64_t>(gatherBytes, byteCount)));
    for (std::uint64_t done = 0; done < byteCount;) {
        const Transfer got = read(done, block.data(), block.size());
        if (FAILED(got.status))
            throw suOleException(got.status);
        iWriteSectors(done, block.data(), got.count);
        changed = true;
        done += got.count;
    }
}

void StreamContent::moveDown(unsigned most)
{
    const std::uint32_t sectorBytes = home.table.sectorBytes();
    std::vector<std::uint8_t> bytes(sectorBytes);
    const std::uint32_t from = home.allocator.moveDownFrom();
    for (std::size_t i = 0; i < chain.knownRuns().size() && most != 0; ++i) {
        const SectorChain::Run run = chain.knownRuns()[i];
        const std::uint32_t last = run.index + run.count - 1; // runs are moved from their end, sector by sector
        if (run.fresh || run.sector + run.count - 1 < from)
            continue;
        const std::uint64_t position = std::uint64_t{last} * sectorBytes;
        if (position >= byteCount)
            continue;
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(sectorBytes, byteCount - position));
        if (read(position, bytes.data(), count).count < count)
            return;
        iWriteSectors(position, bytes.data(), count);
        changed = true;
        --most;
        i = static_cast<std::size_t>(-1); // the runs are others now
    }
}

// The bytes wait to be written like any others.
void StreamContent::iMoveToSectors()
{
    smallBytes();
    gathered = std::move(small);
    gatheredAt = 0;
    small.clear();
    inSectors = true;
    changed = true;
}

void StreamContent::resize(std::uint64_t bytes)
{
    if (bytes == byteCount)
        return;
    if (!alwaysInSectors && bytes < miniCutoff) {
        std::vector<std::uint8_t> kept(static_cast<std::size_t>(bytes));
        const auto there = static_cast<std::size_t>(std::min(bytes, byteCount));
        const Transfer got = read(0, kept.data(), there);
        if (got.count < there)
            throw suOleException(FAILED(got.status) ? got.status : STG_E_DOCFILECORRUPT);
        changed = true;
        if (inSectors)
            iCut(0);
        gathered.clear();
        small = std::move(kept);
        isLoaded = true;
        loadStatus = S_OK;
        inSectors = false;
        byteCount = bytes;
        return;
    }
    if (bytes < byteCount) {
        changed = true;
        const std::uint32_t sectorBytes = home.table.sectorBytes();
        if (!gathered.empty() && gatheredAt + gathered.size() > bytes)
            gathered.resize(gatheredAt < bytes ? static_cast<std::size_t>(bytes - gatheredAt) : 0);
        byteCount = bytes;
        iCut(static_cast<std::uint32_t>((bytes + sectorBytes - 1) / sectorBytes));
        return;
    }
    if (!inSectors)
        iMoveToSectors();
    flush();
    changed = true;
    home.allocator.expect(bytes / home.table.sectorBytes());
    const std::vector<std::uint8_t> zeros(static_cast<std::size_t>(std::min<std::uint64_t>(gatherBytes, bytes - byteCount)));
    while (byteCount < bytes) {
        const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(zeros.size(), bytes - byteCount));
        iWriteSectors(byteCount, zeros.data(), piece);
        byteCount += piece;
    }
}

void StreamContent::iWriteSectors(std::uint64_t position, const std::uint8_t* bytes, std::size_t count)
{
    const std::uint32_t sectorBytes = home.table.sectorBytes();
    if ((position + count) / sectorBytes > largestSector)
        throw suOleException(STG_E_DOCFILETOOLARGE);
    while (count != 0) {
        const auto behind = static_cast<std::size_t>(position % sectorBytes);
        std::size_t piece;
        if (behind != 0 || count < sectorBytes) {
            piece = std::min(count, sectorBytes - behind);
            iWriteInsideSector(position, bytes, piece);
        } else {
            const auto index = static_cast<std::uint32_t>(position / sectorBytes);
            const auto wanted = static_cast<std::uint32_t>(std::min<std::size_t>(count / sectorBytes, 1u << 20));
            const SectorChain::Run there = chain.at(index, wanted);
            if (there.count != 0 && there.fresh) {
                const std::uint32_t sectors = std::min(there.count, wanted);
                piece = std::size_t{sectors} * sectorBytes;
                home.file.write(home.table.offsetOf(there.sector), bytes, piece);
            } else {
                const SectorRun fresh = home.allocator.take(there.count != 0 ? std::min(there.count, wanted) : wanted);
                piece = std::size_t{fresh.count} * sectorBytes;
                try {
                    home.file.write(home.table.offsetOf(fresh.sector), bytes, piece);
                    iPut(index, fresh);
                } catch (...) {
                    home.allocator.giveBack(fresh, epoch);
                    throw;
                }
            }
        }
        position += piece;
        bytes += piece;
        count -= piece;
    }
}

// A sector of the state below is copied with the change in it; what lies behind the stream's end becomes zeros.
void StreamContent::iWriteInsideSector(std::uint64_t position, const std::uint8_t* bytes, std::size_t count)
{
    const std::uint32_t sectorBytes = home.table.sectorBytes();
    const auto index = static_cast<std::uint32_t>(position / sectorBytes);
    const auto behind = static_cast<std::size_t>(position % sectorBytes);
    const SectorChain::Run there = chain.at(index);
    if (there.count != 0 && there.fresh) {
        home.file.write(home.table.offsetOf(there.sector) + behind, bytes, count);
        return;
    }
    std::array<std::uint8_t, largestSectorBytes> sector{};
    const std::uint64_t start = position - behind;
    if (there.count != 0 && byteCount > start) {
        const auto valid = static_cast<std::size_t>(std::min<std::uint64_t>(sectorBytes, byteCount - start));
        const std::size_t needed = behind + count >= valid ? std::min(behind, valid) : valid; // what is not written over
        const std::size_t got = home.file.read(home.table.offsetOf(there.sector), sector.data(), needed);
        if (got < needed)
            throw suOleException(STG_E_DOCFILECORRUPT);
    }
    std::memcpy(sector.data() + behind, bytes, count);
    const SectorRun fresh = home.allocator.take(1);
    try {
        home.file.write(home.table.offsetOf(fresh.sector), sector.data(), sectorBytes);
        iPut(index, fresh);
    } catch (...) {
        home.allocator.giveBack(fresh, epoch);
        throw;
    }
}

void StreamContent::iPut(std::uint32_t index, SectorRun fresh)
{
    chain.put(index, fresh, dropped);
    iSortDropped();
}

void StreamContent::iCut(std::uint32_t sectors)
{
    chain.truncate(sectors, dropped);
    iSortDropped();
}

// Fresh sectors go back at once. One that does not, for want of memory, is tried again the next time.
void StreamContent::iSortDropped()
{
    for (std::size_t i = dropped.size(); i-- > 0;) {
        if (!dropped[i].fresh)
            continue;
        try {
            home.allocator.giveBack({dropped[i].sector, dropped[i].count}, epoch);
        } catch (...) {
            return;
        }
        dropped.erase(dropped.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

void StreamContent::discard()
{
    gathered.clear();
    changed = true;
    if (inSectors)
        iCut(0);
}

void StreamContent::settle(std::uint32_t startOfSmall) noexcept
{
    if (!inSectors)
        miniStart = startOfSmall;
    chain.settle();
    dropped.clear();
    changed = false;
}

std::shared_ptr<StreamContent> StreamContent::fork()
{
    flush();
    if (!inSectors)
        iLoadSmall();
    auto copy = std::make_shared<StreamContent>(home, endOfChain, byteCount);
    copy->isLoaded = isLoaded;
    copy->loadStatus = loadStatus;
    copy->small = small;
    copy->chain = chain;
    copy->chain.settle();
    return copy;
}

void StreamContent::absorb(StreamContent& changedFork)
{
    changedFork.flush();
    if (!changedFork.changed)
        return;
    // Sectors that this content has got since the state below it stay its own, in whichever of the two chains they are.
    SectorSet own;
    for (const SectorChain::Run& run : chain.knownRuns()) {
        if (run.fresh)
            own.add(run.sector, run.count);
    }
    SectorChain nextChain = changedFork.chain;
    nextChain.markFresh(own);
    SectorChain forkChain = nextChain;
    forkChain.settle();
    std::vector<SectorChain::Run> nextDropped = dropped;
    for (const SectorChain::Run& run : changedFork.dropped) {
        for (std::uint32_t done = 0; done < run.count;) {
            bool isOwn = false;
            const SectorRun part = own.stretch(run.sector + done, run.count - done, isOwn);
            nextDropped.push_back({run.index + done, part.sector, part.count, isOwn});
            done += part.count;
        }
    }
    std::vector<std::uint8_t> nextSmall = changedFork.small;

    std::swap(chain, nextChain);
    std::swap(changedFork.chain, forkChain);
    std::swap(dropped, nextDropped);
    std::swap(small, nextSmall);
    changedFork.dropped.clear();
    changedFork.changed = false;
    gathered.clear();
    byteCount = changedFork.byteCount;
    inSectors = changedFork.inSectors;
    isLoaded = changedFork.isLoaded;
    loadStatus = changedFork.loadStatus;
    changed = true;
    iSortDropped();
}

} // namespace kvdm
