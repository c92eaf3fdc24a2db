#include "platform/compoundfile/sectorAllocator.h"

#include "common/exceptions.h"

#include <algorithm>

namespace kvdm {
namespace {

constexpr std::uint32_t longRun = 32;         // large data goes to runs of this length at least, so that it stays together
constexpr std::uint64_t creditAtStart = 6;    // table sectors that any save may look at
constexpr std::uint32_t sectorsPerCredit = 8; // one more for so many sectors written

constexpr std::uint32_t tableSectorsAtEnd = 8; // that a save always looks at when it needs room
constexpr std::size_t mostLikely = 24;         // and of those that do not lie in a row
constexpr std::size_t shortRow = 8;
constexpr std::uint64_t littleRoom = 1 << 16; // bytes
constexpr std::uint32_t muchRoom = 1 << 19;   // bytes

} // namespace

void SectorAllocator::start(std::uint32_t signature, bool narrow, bool growOnly) noexcept
{
    seed = signature;
    isNarrow = narrow;
    onlyGrows = growOnly;
    started = looked = baseIsFree = held = distrusted = false;
    fresh.clear();
    reusable.clear();
    waiting.clear();
    ++currentEpoch;
}

// Only when the first sector is asked for: a file that is only read never comes here.
void SectorAllocator::iStart()
{
    if (started)
        return;
    const std::uint32_t inFile = table.sectorCount();
    endSector = inFile;
    committedBytes = file.size();
    searched.assign(table.tableSectors(), false);
    nextSearch = searched.empty() ? 0 : static_cast<std::uint32_t>(std::uint64_t{seed} * 2654435761u % searched.size());
    searchCredit = creditAtStart;
    iFindLikely();
    started = true;
    iLookForReaders();
    // What lies behind the table's reach is the rest of a save that did not come to its end.
    if (baseIsFree)
        endSector = static_cast<std::uint32_t>(std::min<std::uint64_t>(inFile, std::uint64_t{table.tableSectors()} * table.linksPerSector()));
}

// Rows of table sectors with one distance from each to the next. Other writers make long rows; a table sector that a save of
// ours has written stands beside them.
void SectorAllocator::iFindLikely()
{
    likely.clear();
    const std::vector<std::uint32_t>& places = table.allPlaces();
    for (std::size_t first = 0, end = 0; first < places.size() && likely.size() < mostLikely; first = end) {
        end = std::min(first + 2, places.size());
        const std::uint32_t step = places[end - 1] - places[first];
        while (end < places.size() && places[end] - places[end - 1] == step)
            ++end;
        for (std::size_t i = first; end - first <= shortRow && i < end; ++i)
            likely.push_back(static_cast<std::uint32_t>(i));
    }
    std::reverse(likely.begin(), likely.end());
}

void SectorAllocator::iLookForReaders()
{
    if (looked || held || onlyGrows || distrusted)
        return;
    looked = true;
    if (locks.readersPresent())
        return;
    baseIsFree = true;
    reusable.add(waiting);
    waiting.clear();
}

void SectorAllocator::iSearch(std::uint32_t tableSector)
{
    searched[tableSector] = true;
    const std::uint32_t perSector = table.linksPerSector();
    const std::uint8_t* links = table.links(tableSector);
    const std::uint32_t base = tableSector * perSector;
    for (std::uint32_t i = 0; i < perSector && base + i < endSector; ++i) {
        const std::uint32_t sector = base + i;
        if (readLe32(links + 4 * i) != freeSector || sector == table.lockSector() || fresh.contains(sector) || waiting.contains(sector))
            continue;
        reusable.add(sector, 1);
    }
}

// One more table sector: first the likely ones and the last few, then others while there is credit for them.
bool SectorAllocator::iSearchMore()
{
    if (!baseIsFree || searched.empty())
        return false;
    const auto tables = static_cast<std::uint32_t>(searched.size());
    while (!likely.empty()) {
        const std::uint32_t choice = likely.back();
        likely.pop_back();
        if (choice < tables && !searched[choice]) {
            iSearch(choice);
            return true;
        }
    }
    for (std::uint32_t choice = tables; choice-- > 0 && tables - choice <= tableSectorsAtEnd;) {
        if (!searched[choice]) {
            iSearch(choice);
            return true;
        }
    }
    if (searchCredit == 0)
        return false;
    std::uint32_t choice = tables - 1;
    for (std::size_t tries = 0; searched[choice] && tries < searched.size(); ++tries) {
        choice = nextSearch;
        nextSearch = (nextSearch + 1) % static_cast<std::uint32_t>(searched.size());
    }
    if (searched[choice])
        return false;
    --searchCredit;
    iSearch(choice);
    return true;
}

SectorRun SectorAllocator::iTakeReusable(SectorRun run, std::uint32_t count)
{
    const SectorRun taken{run.sector, std::min(run.count, count)};
    reusable.remove(taken.sector, taken.count); // this first: what is in neither set is only lost
    fresh.add(taken.sector, taken.count);
    return taken;
}

SectorRun SectorAllocator::take(std::uint32_t count)
{
    iStart();
    iLookForReaders();
    searchCredit += count / sectorsPerCredit;
    const std::uint32_t least = count >= longRun ? longRun : 1;
    do {
        if (const auto run = reusable.lowest(least))
            return iTakeReusable(*run, count);
    } while (iSearchMore());
    return iGrow(count);
}

// The lowest room that a table sector tells of, which is looked at for this.
std::optional<SectorRun> SectorAllocator::iRoomIn(std::uint32_t tableSector)
{
    if (baseIsFree && tableSector < searched.size() && !searched[tableSector])
        iSearch(tableSector);
    const std::uint32_t perSector = table.linksPerSector();
    return reusable.lowestBetween(tableSector * perSector, (tableSector + 1) * perSector);
}

SectorRun SectorAllocator::takeNear(const std::set<std::uint32_t>& tableSectors, std::uint32_t border, bool behind, std::uint32_t count)
{
    iStart();
    iLookForReaders();
    int looks = 16;
    if (!behind) {
        for (auto each = tableSectors.begin(); each != tableSectors.end() && *each <= border && looks-- != 0; ++each) {
            if (const auto run = iRoomIn(*each))
                return iTakeReusable(*run, count);
        }
        return take(std::min(count, longRun - 1));
    }
    for (auto each = tableSectors.rbegin(); each != tableSectors.rend() && *each > border && looks-- != 0; ++each) {
        if (const auto run = iRoomIn(*each))
            return iTakeReusable(*run, count);
    }
    do {
        if (const auto run = reusable.lowestBetween((border + 1) * table.linksPerSector(), endSector))
            return iTakeReusable(*run, count);
    } while (iSearchMore());
    return iGrow(count);
}

void SectorAllocator::expect(std::uint64_t sectors)
{
    if (sectors > (isNarrow ? table.lockSector() : std::uint64_t{largestSector} + 1))
        throw suOleException(STG_E_DOCFILETOOLARGE);
}

std::uint32_t SectorAllocator::moveDownFrom()
{
    iStart();
    std::uint32_t left = std::min(endSector / 8, muchRoom / table.sectorBytes());
    for (auto run = reusable.all().begin(); run != reusable.all().end() && run->first < endSector / 2; ++run) {
        if (run->second - run->first >= left)
            return endSector - endSector / 4;
        left -= run->second - run->first;
    }
    return ~std::uint32_t{0};
}

SectorRun SectorAllocator::iGrow(std::uint32_t count)
{
    const std::uint64_t reach = std::uint64_t{table.tableSectors()} * table.linksPerSector();
    const std::uint64_t limit = isNarrow ? table.lockSector() : std::uint64_t{largestSector} + 1;
    SectorRun run{endSector, 0};
    while (run.count < count) {
        const std::uint64_t sector = std::uint64_t{run.sector} + run.count;
        // In a damaged file the table may call sectors used that the file does not have.
        const bool usable =
            sector < limit && sector != table.lockSector() && (sector >= reach || table.next(static_cast<std::uint32_t>(sector)) == freeSector);
        if (usable)
            ++run.count;
        else if (run.count != 0)
            break;
        else if (sector >= limit)
            throw suOleException(STG_E_DOCFILETOOLARGE);
        else
            ++run.sector;
    }
    fresh.add(run.sector, run.count);
    endSector = run.sector + run.count;
    return run;
}

void SectorAllocator::giveBack(SectorRun run, unsigned ofEpoch)
{
    if (ofEpoch != currentEpoch)
        return;
    fresh.remove(run.sector, run.count);
    reusable.add(run.sector, run.count);
}

std::uint32_t SectorAllocator::end()
{
    iStart();
    return endSector;
}

void SectorAllocator::prepareCommit(const SectorSet& published, const SectorSet& freed, std::uint32_t tableSectors)
{
    iStart();
    nextFresh = fresh;
    nextFresh.remove(published);
    nextWaiting = waiting;
    nextWaiting.add(freed);
    nextDistrusted = distrusted;
    searched.reserve(tableSectors);
}

void SectorAllocator::prepareReplacement(const SectorSet& published, std::uint32_t tableSectors)
{
    SectorSet others;
    others.add(0, endSector);
    others.remove(reusable);
    others.remove(fresh);
    others.remove(waiting);
    others.remove(table.lockSector(), 1);
    prepareCommit(published, others, tableSectors);
    nextDistrusted = false; // of the tables that come now nothing is unknown
}

bool SectorAllocator::hasRoomBelow(std::uint32_t sector)
{
    const auto room = reusable.lowest(1);
    return room && room->sector < sector;
}

void SectorAllocator::adoptCommit(std::uint32_t signature, std::uint32_t tableSectors, bool isSafe) noexcept
{
    std::swap(fresh, nextFresh);
    std::swap(waiting, nextWaiting);
    seed = signature;
    looked = false;
    held = !isSafe;
    distrusted = nextDistrusted;
    committedBytes = file.size();
    searched.resize(tableSectors, true); // new ones hold nothing that is not known
    if (!searched.empty())
        nextSearch %= static_cast<std::uint32_t>(searched.size());
    searchCredit = creditAtStart;
}

void SectorAllocator::revert()
{
    ++currentEpoch;
    const SectorSet given = std::move(fresh);
    fresh.clear();
    reusable.add(given);
    if (started)
        dropGrowth();
}

void SectorAllocator::trim()
{
    iLookForReaders();
    if (!baseIsFree || held || onlyGrows || !waiting.empty())
        return;
    const auto last = reusable.last();
    std::uint32_t end = last && last->sector + last->count == endSector ? last->sector : endSector;
    if (end == table.lockSector() + 1)
        --end;
    // A large file would change its length to and fro with every save.
    if (file.size() - table.offsetOf(end) < std::min<std::uint64_t>(file.size() / 64, littleRoom))
        return;
    reusable.remove(end, endSector - end);
    endSector = end;
    const std::uint64_t bytes = table.offsetOf(end);
    if (file.size() > bytes)
        file.setSize(bytes);
    committedBytes = file.size();
}

void SectorAllocator::dropGrowth() noexcept
{
    if (!started || onlyGrows || file.size() <= committedBytes)
        return;
    try {
        file.setSize(committedBytes);
        const std::uint32_t inFile = table.sectorCount();
        if (endSector > inFile) {
            reusable.remove(inFile, endSector - inFile);
            endSector = inFile;
        }
    } catch (...) {
        // A tail that nothing leads to does no harm.
    }
}

} // namespace kvdm
