#include "platform/compoundfile/sectorChain.h"

#include "common/exceptions.h"

#include <algorithm>

namespace kvdm {

std::uint32_t SectorChain::start() const noexcept
{
    return known.empty() ? frontier : known.front().sector;
}

void SectorChain::iAppend(std::vector<Run>& list, std::uint32_t sector, std::uint32_t count, bool fresh)
{
    if (!list.empty() && list.back().sector + list.back().count == sector && list.back().fresh == fresh)
        list.back().count += count;
    else
        list.push_back({list.empty() ? 0 : list.back().index + list.back().count, sector, count, fresh});
}

std::uint32_t SectorChain::afterKnown()
{
    if (!frontierRead) {
        const Run& last = known.back();
        frontier = table->next(last.sector + last.count - 1);
        frontierRead = true;
    }
    return frontier;
}

// Until so many sectors are known or the chain ends.
void SectorChain::iWalk(std::uint64_t sectors)
{
    std::uint32_t count = iKnownCount();
    const std::uint32_t perTable = table->linksPerSector();
    const std::uint32_t inFile = table->sectorCount();
    while (count < sectors) {
        if (afterKnown() == endOfChain)
            return;
        if (frontier >= inFile || count >= inFile)
            throw suOleException(STG_E_DOCFILECORRUPT);
        // Neighbours that one table sector links are taken in one go; nothing else reads the file meanwhile.
        iAppend(known, frontier, 1, false);
        ++count;
        std::uint32_t sector = frontier;
        frontierRead = false;
        if (count == sectors)
            return;
        const std::uint32_t tableSector = sector / perTable;
        const std::uint8_t* links = table->links(tableSector);
        Run& run = known.back();
        for (;;) {
            frontier = readLe32(links + 4 * (sector % perTable));
            frontierRead = true;
            if (frontier != sector + 1 || frontier / perTable != tableSector || frontier >= inFile || count >= sectors || count >= inFile)
                break;
            ++run.count;
            ++count;
            sector = frontier;
        }
    }
}

std::size_t SectorChain::iRunOf(std::uint32_t index) const noexcept
{
    const auto after = std::upper_bound(known.begin(), known.end(), index, [](std::uint32_t i, const Run& run) { return i < run.index; });
    return static_cast<std::size_t>(after - known.begin()) - 1;
}

SectorChain::Run SectorChain::at(std::uint32_t index, std::uint32_t ahead)
{
    if (index >= iKnownCount()) {
        try {
            iWalk(std::uint64_t{index} + std::max<std::uint32_t>(ahead, 1));
        } catch (const suOleException&) {
            if (index >= iKnownCount())
                throw;
        }
    }
    if (index >= iKnownCount())
        return {index, endOfChain, 0, false};
    const Run& run = known[iRunOf(index)];
    const std::uint32_t skipped = index - run.index;
    return {index, run.sector + skipped, run.count - skipped, run.fresh};
}

std::uint32_t SectorChain::length()
{
    iWalk(~std::uint64_t{0});
    return iKnownCount();
}

const std::vector<SectorChain::Run>& SectorChain::runs()
{
    length();
    return known;
}

void SectorChain::put(std::uint32_t index, SectorRun fresh, std::vector<Run>& dropped)
{
    const std::uint32_t end = index + fresh.count;
    if (index < iKnownCount() || afterKnown() != endOfChain)
        iWalk(end);
    if (!known.empty())
        afterKnown(); // a replaced last sector can no longer be asked for the one behind it
    const std::uint32_t count = iKnownCount();
    if (index > count)
        throw suOleException(STG_E_DOCFILECORRUPT);
    if (index == count) {
        iAppend(known, fresh.sector, fresh.count, true);
        return;
    }

    std::vector<Run> pieces, replaced; // what comes in, what goes out; nothing is touched before all memory is there
    const auto add = [&](std::uint32_t at, std::uint32_t sector, std::uint32_t sectors, bool isFresh) {
        if (!pieces.empty() && pieces.back().sector + pieces.back().count == sector && pieces.back().fresh == isFresh)
            pieces.back().count += sectors;
        else
            pieces.push_back({at, sector, sectors, isFresh});
    };
    const std::size_t first = iRunOf(index);
    std::size_t last = first;
    if (known[first].index < index)
        add(known[first].index, known[first].sector, index - known[first].index, known[first].fresh);
    add(index, fresh.sector, fresh.count, true);
    for (; last < known.size() && known[last].index < end; ++last) {
        const Run& run = known[last];
        const std::uint32_t from = std::max(run.index, index), to = std::min(run.index + run.count, end);
        replaced.push_back({from, run.sector + (from - run.index), to - from, run.fresh});
        if (run.index + run.count > end)
            add(end, run.sector + (end - run.index), run.index + run.count - end, run.fresh);
    }
    dropped.reserve(dropped.size() + replaced.size());
    known.reserve(known.size() + pieces.size());
    dropped.insert(dropped.end(), replaced.begin(), replaced.end());
    const auto at = known.erase(known.begin() + static_cast<std::ptrdiff_t>(first), known.begin() + static_cast<std::ptrdiff_t>(last));
    known.insert(at, pieces.begin(), pieces.end());
}

void SectorChain::truncate(std::uint32_t sectors, std::vector<Run>& dropped)
{
    try {
        length();
    } catch (const suOleException&) {
        // What cannot be followed stays marked as used in the file: lost room, but nobody else's data.
    }
    dropped.reserve(dropped.size() + known.size());
    while (!known.empty() && iKnownCount() > sectors) {
        Run& last = known.back();
        const std::uint32_t keep = last.index >= sectors ? 0 : sectors - last.index;
        dropped.push_back({last.index + keep, last.sector + keep, last.count - keep, last.fresh});
        last.count = keep;
        if (keep == 0)
            known.pop_back();
    }
    frontier = endOfChain;
    frontierRead = true;
}

void SectorChain::settle() noexcept
{
    for (Run& run : known)
        run.fresh = false;
}

void SectorChain::markFresh(const SectorSet& sectors)
{
    std::vector<Run> marked;
    for (const Run& run : known) {
        for (std::uint32_t done = 0; done < run.count;) {
            bool isIn = false;
            const SectorRun part = sectors.stretch(run.sector + done, run.count - done, isIn);
            iAppend(marked, part.sector, part.count, run.fresh || isIn);
            done += part.count;
        }
    }
    known = std::move(marked);
}

} // namespace kvdm
