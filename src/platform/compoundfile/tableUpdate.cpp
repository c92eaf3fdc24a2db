#include "platform/compoundfile/tableUpdate.h"

#include "common/exceptions.h"

#include <algorithm>
#include <cstring>

namespace kvdm {
namespace {

constexpr std::uint32_t nowhere = freeSector;
constexpr std::size_t mostBytesMoved = 16384;

} // namespace

TableUpdate::TableUpdate(AllocationTable& allocation, SectorAllocator& sectorAllocator)
    : table(allocation), allocator(sectorAllocator), perSector(allocation.linksPerSector()), places(allocation.allPlaces()),
      difat(allocation.difatPlaces()), epoch(sectorAllocator.epoch())
{}

TableUpdate::~TableUpdate()
{
    for (const std::uint32_t sector : taken) {
        try {
            allocator.giveBack({sector, 1}, epoch);
        } catch (...) {
            // It stays out of use until the file is opened anew.
        }
    }
}

std::uint32_t TableUpdate::iGet(std::uint32_t sector)
{
    const auto page = edited.find(sector / perSector);
    if (page != edited.end())
        return readLe32(page->second.data() + 4 * (sector % perSector));
    if (sector / perSector >= places.size())
        return freeSector;
    return table.next(sector);
}

TableUpdate::Page& TableUpdate::iEdit(std::uint32_t tableSector)
{
    const auto known = edited.find(tableSector);
    if (known != edited.end())
        return known->second;
    while (tableSector > places.size()) // those between hold nothing yet
        iEdit(static_cast<std::uint32_t>(places.size()));
    if (tableSector == places.size())
        places.push_back(nowhere);
    Page page(std::size_t{perSector} * 4, 0xFF);
    if (places[tableSector] != nowhere)
        std::memcpy(page.data(), table.links(tableSector), page.size());
    editedNumbers.insert(tableSector);
    unplaced.insert(tableSector);
    return edited.emplace(tableSector, std::move(page)).first->second;
}

void TableUpdate::iSet(std::uint32_t sector, std::uint32_t value)
{
    writeLe32(iEdit(sector / perSector).data() + 4 * (sector % perSector), value);
}

void TableUpdate::link(SectorChain& chain)
{
    const std::vector<SectorChain::Run>& runs = chain.knownRuns();
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const SectorChain::Run& run = runs[i];
        if (run.fresh) {
            for (std::uint32_t k = 0; k + 1 < run.count; ++k)
                iSet(run.sector + k, run.sector + k + 1);
            published.add(run.sector, run.count);
        }
        const std::uint32_t last = run.sector + run.count - 1;
        const std::uint32_t following = i + 1 < runs.size() ? runs[i + 1].sector : chain.afterKnown();
        if (run.fresh || iGet(last) != following)
            iSet(last, following);
    }
}

void TableUpdate::free(const SectorRun& run)
{
    for (std::uint32_t sector = run.sector; sector < run.sector + run.count; ++sector) {
        // In a damaged file two chains may share sectors, and a chain may run into the tables: those stay what they are.
        const std::uint32_t now = iGet(sector);
        if (now == freeSector || now == fatSectorMark || now == difatSectorMark || published.contains(sector))
            continue;
        iSet(sector, freeSector);
        freed.add(sector, 1);
    }
}

void TableUpdate::iFreeTable(std::uint32_t sector)
{
    if (sector >= table.sectorCount())
        return; // a damaged file told of a place that it does not have
    iSet(sector, freeSector);
    freed.add(sector, 1);
}

std::uint32_t TableUpdate::iTake(std::uint32_t mark, bool low)
{
    taken.reserve(taken.size() + 1);
    const std::uint32_t sector = low ? allocator.take(1).sector : allocator.takeNear(editedNumbers);
    taken.push_back(sector);
    iSet(sector, mark);
    published.add(sector, 1);
    return sector;
}

// Table sectors for all sectors of the file, and none behind them.
bool TableUpdate::iCover()
{
    const std::uint32_t end = allocator.end();
    const std::uint64_t needed = (std::uint64_t{end} + perSector - 1) / perSector;
    const std::uint32_t lock = table.lockSector();
    if (end > lock && iGet(lock) != endOfChain) {
        iSet(lock, endOfChain);
        return true;
    }
    if (places.size() < needed) {
        iEdit(static_cast<std::uint32_t>(needed - 1));
        return true;
    }
    if (places.size() > needed && needed != 0) {
        const std::uint32_t last = static_cast<std::uint32_t>(places.size()) - 1;
        const std::uint32_t place = places[last];
        places.pop_back();
        edited.erase(last);
        editedNumbers.erase(last);
        unplaced.erase(last);
        if (last >= headerFatSlots)
            difatChanged = std::max(difatChanged, (last - headerFatSlots) / (perSector - 1) + 1);
        if (place != nowhere)
            iFreeTable(place);
        return true;
    }
    return false;
}

// Table sectors at the far end that did not change otherwise, a few with each commit.
void TableUpdate::iMoveDown()
{
    std::size_t most = mostBytesMoved / (std::size_t{perSector} * 4);
    for (std::uint32_t page = 0; page < places.size() && most != 0; ++page) {
        if (places[page] == nowhere || edited.contains(page) || !allocator.shouldMoveDown(places[page]))
            continue;
        iEdit(page);
        moving.insert(page);
        --most;
    }
}

bool TableUpdate::iPlacePage()
{
    if (unplaced.empty())
        return false;
    const std::uint32_t page = *unplaced.begin();
    const std::uint32_t old = places[page];
    places[page] = iTake(fatSectorMark, moving.contains(page));
    unplaced.erase(page);
    if (page >= headerFatSlots)
        difatChanged = std::max(difatChanged, (page - headerFatSlots) / (perSector - 1) + 1);
    if (old != nowhere)
        iFreeTable(old);
    return true;
}

// Each index sector tells where the next one is, so a changed one changes all before it.
bool TableUpdate::iPlaceDifat()
{
    const std::size_t slots = perSector - 1;
    const auto needed = static_cast<std::uint32_t>(places.size() <= headerFatSlots ? 0 : (places.size() - headerFatSlots + slots - 1) / slots);
    if (difat.size() > needed) {
        const std::uint32_t old = difat.back();
        difat.pop_back();
        difatChanged = std::max(difatChanged, needed);
        iFreeTable(old);
        return true;
    }
    difatChanged = std::min(difatChanged, needed);
    if (difat.size() < needed)
        difatChanged = needed;
    if (difatPlaced >= difatChanged)
        return false;
    const std::uint32_t old = difatPlaced < difat.size() ? difat[difatPlaced] : nowhere;
    const std::uint32_t place = iTake(difatSectorMark);
    if (difatPlaced < difat.size())
        difat[difatPlaced] = place;
    else
        difat.push_back(place);
    ++difatPlaced;
    if (old != nowhere)
        iFreeTable(old);
    return true;
}

void TableUpdate::iMakeDifat()
{
    const std::size_t slots = perSector - 1;
    for (std::uint32_t i = 0; i < difatPlaced && i < difat.size(); ++i) {
        Page page(std::size_t{perSector} * 4, 0xFF);
        for (std::size_t k = 0; k < slots && headerFatSlots + i * slots + k < places.size(); ++k)
            writeLe32(page.data() + 4 * k, places[headerFatSlots + i * slots + k]);
        writeLe32(page.data() + 4 * slots, i + 1 < difat.size() ? difat[i + 1] : endOfChain);
        difatPages.emplace(i, std::move(page));
    }
}

void TableUpdate::finish(CompoundHeader& header)
{
    iMoveDown();
    while (iCover() || iPlacePage() || iPlaceDifat()) {
    }
    iMakeDifat();
    header.fatSectors = static_cast<std::uint32_t>(places.size());
    header.fat.fill(freeSector);
    std::copy_n(places.begin(), std::min<std::size_t>(places.size(), headerFatSlots), header.fat.begin());
    header.difatSectors = static_cast<std::uint32_t>(difat.size());
    header.difatStart = difat.empty() ? endOfChain : difat.front();
}

void TableUpdate::pieces(std::vector<PagedChain::Piece>& out) const
{
    for (const auto& [number, page] : edited)
        out.push_back({places[number], page.data()});
    for (const auto& [number, page] : difatPages)
        out.push_back({difat[number], page.data()});
}

} // namespace kvdm
