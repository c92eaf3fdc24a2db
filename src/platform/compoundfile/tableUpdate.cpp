#include "platform/compoundfile/tableUpdate.h"

#include "common/exceptions.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kvdm {
namespace {

constexpr std::uint32_t nowhere = freeSector;
constexpr std::size_t mostBytesMoved = 16384;
constexpr std::size_t sparePages = 8; // that may stay when it costs much to drop them

} // namespace

TableUpdate::TableUpdate(AllocationTable& allocation, SectorAllocator& sectorAllocator, bool anew)
    : table(allocation), allocator(sectorAllocator), perSector(allocation.linksPerSector()), startsAnew(anew), epoch(sectorAllocator.epoch())
{
    if (startsAnew)
        return;
    places = allocation.allPlaces();
    difat = allocation.difatPlaces();
}

TableUpdate::~TableUpdate()
{
    for (const SectorRun& run : taken) {
        try {
            allocator.giveBack(run, epoch);
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
    if (startsAnew || sector / perSector >= places.size())
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
    replaced.push_back({sector, 1});
    iSet(sector, freeSector);
    freed.add(sector, 1);
}

// Places for a table sector, or for the index sector that begins to tell with it. Those that change with the
// new data will do so with the next save as well, and stay close to it. The others go elsewhere: they leave that room to it, and
// when they change, table sectors far behind do so anyway.
SectorRun TableUpdate::iTake(std::uint32_t mark, std::uint32_t ofPage, std::uint32_t count)
{
    taken.emplace_back();
    const bool moves = mark == fatSectorMark && moving.contains(ofPage);
    const SectorRun run = moves ? allocator.take(1) : allocator.takeNear(editedNumbers, border, ofPage > border, count);
    taken.back() = run;
    for (std::uint32_t i = 0; i < run.count; ++i)
        iSet(run.sector + i, mark);
    published.add(run.sector, run.count);
    return run;
}

// So many index sectors tell of the table sectors up to this one.
std::uint32_t TableUpdate::iIndexUpTo(std::uint32_t tableSector) const noexcept
{
    return tableSector < headerFatSlots ? 0 : (tableSector - headerFatSlots) / (perSector - 1) + 1;
}

// Table sectors for all sectors of the file, and hardly any behind them.
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
    // A table sector that is not needed any more goes when it is in the header, or its place in the index is written anyway.
    const std::uint32_t last = static_cast<std::uint32_t>(places.size()) - 1;
    if (places.size() > needed && needed != 0 && (iIndexUpTo(last) <= difatChanged || places.size() > needed + sparePages)) {
        const std::uint32_t place = places[last];
        places.pop_back();
        edited.erase(last);
        editedNumbers.erase(last);
        unplaced.erase(last);
        difatChanged = std::max(difatChanged, iIndexUpTo(last));
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
    const std::uint32_t from = allocator.moveDownFrom();
    for (std::uint32_t page = 0; page < places.size() && from != nowhere && most != 0; ++page) {
        if (places[page] < from || places[page] == nowhere || edited.contains(page))
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
    places[page] = iTake(fatSectorMark, page, 1).sector;
    unplaced.erase(page);
    difatChanged = std::max(difatChanged, iIndexUpTo(page));
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
    const std::uint32_t ofPage = headerFatSlots + difatPlaced * static_cast<std::uint32_t>(slots);
    const std::uint32_t alike = ofPage > border ? difatChanged : std::min(difatChanged, iIndexUpTo(border));
    const SectorRun run = iTake(difatSectorMark, ofPage, alike - difatPlaced);
    for (std::uint32_t i = 0; i < run.count; ++i) {
        if (difatPlaced < difat.size())
            iFreeTable(std::exchange(difat[difatPlaced], run.sector + i));
        else
            difat.push_back(run.sector + i);
        ++difatPlaced;
    }
    return true;
}

void TableUpdate::iMakeDifat()
{
    const std::size_t slots = perSector - 1;
    difatPlaced = std::min(difatPlaced, static_cast<std::uint32_t>(difat.size()));
    difatPages.assign(std::size_t{difatPlaced} * perSector * 4, 0xFF);
    for (std::uint32_t i = 0; i < difatPlaced; ++i) {
        std::uint8_t* page = difatPages.data() + std::size_t{i} * perSector * 4;
        const std::size_t first = headerFatSlots + i * slots, count = std::min(slots, places.size() - first);
        for (std::size_t k = 0; k < count; ++k)
            writeLe32(page + 4 * k, places[first + k]);
        writeLe32(page + 4 * slots, i + 1 < difat.size() ? difat[i + 1] : endOfChain);
    }
}

void TableUpdate::finish(CompoundHeader& header)
{
    const std::uint32_t dataUpTo = published.empty() ? 0 : (published.last()->sector + published.last()->count - 1) / perSector;
    border = headerFatSlots + iIndexUpTo(dataUpTo) * (perSector - 1) - 1;
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

bool TableUpdate::isDisjointFrom(std::vector<SectorRun> others) const
{
    others.insert(others.end(), replaced.begin(), replaced.end());
    const auto add = [&](std::uint32_t sector) {
        if (!others.empty() && others.back().sector + others.back().count == sector)
            ++others.back().count;
        else if (sector < table.sectorCount() || sector < allocator.end())
            others.push_back({sector, 1});
    };
    for (const std::uint32_t sector : difat)
        add(sector);
    for (const auto& [page, bytes] : edited)
        add(places[page]);
    std::sort(others.begin(), others.end(), [](const SectorRun& a, const SectorRun& b) { return a.sector < b.sector; });
    for (std::size_t i = 1; i < others.size(); ++i) {
        if (others[i - 1].sector + others[i - 1].count > others[i].sector)
            return false;
    }
    // The other table sectors are many, but mostly lie together: a whole row of them is asked for at once.
    const auto touches = [&](std::uint32_t first, std::uint32_t last) {
        const auto behind =
            std::upper_bound(others.begin(), others.end(), last, [](std::uint32_t s, const SectorRun& run) { return s < run.sector; });
        return behind != others.begin() && std::prev(behind)->sector + std::prev(behind)->count > first;
    };
    constexpr std::size_t row = 64;
    for (std::size_t from = 0; from < places.size(); from += row) {
        const std::size_t end = std::min(from + row, places.size());
        std::uint32_t lowest = places[from], highest = places[from];
        for (std::size_t i = from; i < end; ++i) {
            lowest = std::min(lowest, places[i]);
            highest = std::max(highest, places[i]);
        }
        if (!touches(lowest, highest))
            continue;
        for (std::size_t i = from; i < end; ++i) {
            if (touches(places[i], places[i]) && !edited.contains(static_cast<std::uint32_t>(i)))
                return false;
        }
    }
    return true;
}

void TableUpdate::pieces(std::vector<PagedChain::Piece>& out) const
{
    for (const auto& [number, page] : edited)
        out.push_back({places[number], page.data()});
    for (std::uint32_t i = 0; i < difatPlaced; ++i)
        out.push_back({difat[i], difatPages.data() + std::size_t{i} * perSector * 4});
}

} // namespace kvdm
