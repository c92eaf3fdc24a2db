#include "platform/compoundfile/allocationTable.h"

#include "common/exceptions.h"

#include <algorithm>

namespace kvdm {
namespace {

constexpr std::size_t mostAhead = 65536;

} // namespace

void AllocationTable::start(const CompoundHeader& header)
{
    bytesPerSector = header.sectorBytes();
    places.clear();
    difat.clear();
    difatSeen.clear();
    difatRun = {};
    aheadCount = 0;
    // The count of the header is not asked: files whose count is wrong are many, and a free slot ends the list anyway.
    const auto end = std::find(header.fat.begin(), header.fat.end(), freeSector);
    places.assign(header.fat.begin(), end);
    nextDifat = end == header.fat.end() ? header.difatStart : endOfChain;
    difatTold = header.difatSectors;
}

void AllocationTable::adopt(const CompoundHeader& header, std::vector<std::uint32_t> newPlaces, std::vector<std::uint32_t> newDifat) noexcept
{
    bytesPerSector = header.sectorBytes();
    places = std::move(newPlaces);
    difat = std::move(newDifat);
    aheadCount = 0;
    nextDifat = endOfChain;
}

std::uint32_t AllocationTable::sectorCount() const noexcept
{
    const std::uint64_t size = file.size();
    if (size <= bytesPerSector)
        return 0;
    const std::uint64_t count = (size - 1) / bytesPerSector; // the header takes one
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, std::uint64_t{largestSector} + 1));
}

// An index that runs in a circle ends where it meets itself, so it is never larger than the file.
bool AllocationTable::iReadDifat()
{
    if (nextDifat >= sectorCount() || nextDifat - difatRun.sector < difatRun.count || difatSeen.contains(nextDifat))
        return false;
    if (difatRun.count != 0 && nextDifat == difatRun.sector + difatRun.count)
        ++difatRun.count;
    else {
        if (difatRun.count != 0)
            difatSeen.add(difatRun.sector, difatRun.count);
        difatRun = {nextDifat, 1};
    }
    // The index of a large file is many sectors that each lead to the next, mostly its neighbour: where that is so, many are read
    // at once.
    if (nextDifat < aheadFrom || nextDifat - aheadFrom >= aheadCount) {
        const bool goesOn = !difat.empty() && nextDifat == difat.back() + 1;
        const std::size_t left = difatTold > difat.size() ? difatTold - difat.size() : 1;
        const std::size_t wanted = goesOn ? std::min(left * bytesPerSector, mostAhead) : bytesPerSector;
        aheadCount = 0; // whatever happens
        ahead = std::make_unique_for_overwrite<std::uint8_t[]>(wanted);
        aheadCount = static_cast<std::uint32_t>(file.readFresh(offsetOf(nextDifat), ahead.get(), wanted) / bytesPerSector);
        aheadFrom = nextDifat;
        places.reserve(places.size() + std::size_t{aheadCount} * linksPerSector());
        if (aheadCount == 0)
            return false;
    }
    const std::uint8_t* sector = ahead.get() + std::size_t{nextDifat - aheadFrom} * bytesPerSector;
    difat.push_back(nextDifat);
    const std::uint32_t slots = linksPerSector() - 1;
    nextDifat = readLe32(sector + 4 * slots);
    const std::size_t before = places.size();
    places.resize(before + slots);
    copyLe32(places.data() + before, sector, slots);
    if (places.back() == freeSector) { // the last of the index: it ends with its first free slot
        nextDifat = endOfChain;
        places.erase(std::find(places.begin() + static_cast<std::ptrdiff_t>(before), places.end(), freeSector), places.end());
    }
    if (const std::size_t most = largestSector / linksPerSector() + 1; places.size() > most) { // more than sectors have numbers
        places.resize(most);
        nextDifat = endOfChain;
    }
    return true;
}

std::uint32_t AllocationTable::iPlace(std::uint32_t tableSector)
{
    while (tableSector >= places.size()) {
        if (!iReadDifat())
            throw suOleException(STG_E_DOCFILECORRUPT);
    }
    return places[tableSector];
}

const std::uint8_t* AllocationTable::links(std::uint32_t tableSector)
{
    const std::uint32_t place = iPlace(tableSector);
    if (place >= sectorCount())
        throw suOleException(STG_E_DOCFILECORRUPT);
    return file.view(offsetOf(place), bytesPerSector);
}

std::uint32_t AllocationTable::next(std::uint32_t sector)
{
    const std::uint32_t perSector = linksPerSector();
    return readLe32(links(sector / perSector) + 4 * (sector % perSector));
}

const std::vector<std::uint32_t>& AllocationTable::allPlaces()
{
    while (iReadDifat()) {
    }
    return places;
}

const std::vector<std::uint32_t>& AllocationTable::difatPlaces()
{
    allPlaces();
    return difat;
}

std::uint32_t AllocationTable::tableSectors()
{
    return static_cast<std::uint32_t>(allPlaces().size());
}

} // namespace kvdm
