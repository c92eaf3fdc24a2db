#include "platform/compoundfile/miniStore.h"

#include "common/exceptions.h"

#include <algorithm>

namespace kvdm {
namespace {

constexpr std::uint64_t creditAtStart = 64;    // table pages that any save may look at for free sectors
constexpr std::uint32_t sectorsPerCredit = 16; // one more for so many sectors written

} // namespace

MiniStore::MiniStore(const ContentHome& contentHome) : home(contentHome), table(contentHome.file, contentHome.table) {}

void MiniStore::start(std::uint32_t miniFatStart, std::uint32_t streamStart, std::uint64_t streamBytes)
{
    table.start(miniFatStart);
    container = std::make_unique<StreamContent>(home, streamStart, streamBytes, StreamContent::Form::inSectors);
    freeSectors.clear();
    searchedPages = 0;
    searchCredit = creditAtStart;
}

std::uint32_t MiniStore::next(std::uint32_t sector)
{
    const std::uint32_t perPage = table.pageBytes() / 4;
    const std::uint8_t* page = table.page(sector / perPage);
    if (!page)
        throw suOleException(STG_E_DOCFILECORRUPT);
    return readLe32(page + 4 * (sector % perPage));
}

HRESULT MiniStore::load(std::uint32_t startSector, std::uint32_t bytes, std::vector<std::uint8_t>& out)
{
    out.clear();
    try {
        std::uint32_t sector = startSector;
        while (out.size() < bytes) {
            const std::uint32_t first = sector;
            std::uint32_t count = 0;
            const auto needed = static_cast<std::uint32_t>((bytes - out.size() + miniSectorBytes - 1) / miniSectorBytes);
            do { // neighbours are read together
                if (sector > largestSector)
                    throw suOleException(STG_E_DOCFILECORRUPT);
                ++count;
                if (count == needed)
                    break;
                sector = next(sector);
            } while (sector == first + count);
            const std::size_t had = out.size();
            const std::size_t piece = std::min<std::size_t>(bytes - had, std::size_t{count} * miniSectorBytes);
            out.resize(had + piece);
            const StreamContent::Transfer got = container->read(std::uint64_t{first} * miniSectorBytes, out.data() + had, piece);
            if (got.count < piece) {
                out.resize(had + got.count);
                return FAILED(got.status) ? got.status : STG_E_DOCFILECORRUPT;
            }
        }
    } catch (const suOleException& failure) {
        return failure.status;
    }
    return S_OK;
}

std::uint32_t MiniStore::iSectorCount() const noexcept
{
    const std::uint64_t sectors = (container->size() + miniSectorBytes - 1) / miniSectorBytes;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(sectors, largestSector)); // the size is what a file tells
}

void MiniStore::iSetLink(std::uint32_t sector, std::uint32_t value)
{
    const std::uint32_t perPage = table.pageBytes() / 4;
    while (table.count() <= sector / perPage)
        table.append(0xFF);
    writeLe32(table.edit(sector / perPage) + 4 * (sector % perPage), value);
}

bool MiniStore::claim(std::uint32_t startSector, std::uint64_t bytes, std::vector<bool>& claimed)
{
    const std::uint32_t sectors = iSectorCount();
    std::uint32_t sector = startSector;
    for (std::uint64_t left = (bytes + miniSectorBytes - 1) / miniSectorBytes; left > 0 && sector <= largestSector; --left) {
        if (sector >= sectors)
            return false; // the mini stream may grow up to there
        std::uint32_t following;
        try {
            following = next(sector);
        } catch (const suOleException&) {
            return true; // nothing is ever placed where the table cannot be read
        }
        if (claimed.size() <= sector)
            claimed.resize(sector + 1);
        if (following == freeSector || claimed[sector])
            return false;
        claimed[sector] = true;
        sector = following;
    }
    return true;
}

// Pages of the table in turn, as far as the credit goes.
void MiniStore::iSearch(std::uint32_t sectorsWanted)
{
    const std::uint32_t perPage = table.pageBytes() / 4;
    const std::uint32_t sectors = iSectorCount();
    searchCredit += sectorsWanted / sectorsPerCredit;
    while (searchCredit != 0 && searchedPages < table.count() && !freeSectors.lowest(sectorsWanted)) {
        const std::uint8_t* page = table.page(searchedPages);
        const std::uint32_t base = searchedPages * perPage;
        for (std::uint32_t i = 0; page && i < perPage && base + i < sectors; ++i) {
            if (readLe32(page + 4 * i) == freeSector)
                freeSectors.add(base + i, 1);
        }
        ++searchedPages;
        --searchCredit;
    }
}

// The size of a damaged mini stream may tell less than the table has in use: what grows there would be written over streams.
void MiniStore::iDemandFree(std::uint32_t sector, std::uint32_t count)
{
    const std::uint32_t perPage = table.pageBytes() / 4;
    for (std::uint32_t i = sector; i < sector + count && i / perPage < table.count(); ++i) {
        if (next(i) != freeSector)
            throw suOleException(STG_E_DOCFILECORRUPT);
    }
}

std::uint32_t MiniStore::place(const std::vector<std::uint8_t>& bytes)
{
    if (bytes.empty())
        return endOfChain;
    const auto needed = static_cast<std::uint32_t>((bytes.size() + miniSectorBytes - 1) / miniSectorBytes);
    iSearch(needed);
    std::vector<SectorRun> runs; // chosen but not yet taken
    std::uint32_t found = 0;
    if (const auto whole = freeSectors.lowest(needed)) {
        runs.push_back({whole->sector, needed});
        found = needed;
    }
    for (auto run = freeSectors.all().begin(); found < needed && run != freeSectors.all().end(); ++run) {
        const std::uint32_t count = std::min(run->second - run->first, needed - found);
        runs.push_back({run->first, count});
        found += count;
    }
    if (found < needed) {
        const std::uint32_t behind = iSectorCount();
        if (std::uint64_t{behind} + needed > largestSector)
            throw suOleException(STG_E_DOCFILETOOLARGE);
        iDemandFree(behind, needed - found);
        runs.push_back({behind, needed - found});
    }

    // The bytes first: a medium that is full leaves the table as it was.
    std::size_t done = 0;
    std::vector<std::uint8_t> padded;
    for (const SectorRun& run : runs) {
        const std::size_t room = std::size_t{run.count} * miniSectorBytes;
        const std::size_t piece = std::min(room, bytes.size() - done);
        padded.assign(bytes.begin() + static_cast<std::ptrdiff_t>(done), bytes.begin() + static_cast<std::ptrdiff_t>(done + piece));
        padded.resize(room);
        container->write(std::uint64_t{run.sector} * miniSectorBytes, padded.data(), padded.size());
        done += piece;
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        freeSectors.remove(runs[i].sector, runs[i].count);
        for (std::uint32_t k = 0; k + 1 < runs[i].count; ++k)
            iSetLink(runs[i].sector + k, runs[i].sector + k + 1);
        iSetLink(runs[i].sector + runs[i].count - 1, i + 1 < runs.size() ? runs[i + 1].sector : endOfChain);
    }
    return runs.front().sector;
}

void MiniStore::release(std::uint32_t startSector, std::uint64_t bytes)
{
    std::uint32_t sector = startSector;
    for (std::uint64_t left = (bytes + miniSectorBytes - 1) / miniSectorBytes; left > 0 && sector <= largestSector; --left) {
        std::uint32_t following;
        try {
            following = next(sector);
        } catch (const suOleException&) {
            return;
        }
        if (following == freeSector || sector >= iSectorCount())
            return;
        iSetLink(sector, freeSector);
        freeSectors.add(sector, 1);
        sector = following;
    }
}

void MiniStore::settle() noexcept
{
    table.settle();
    container->settle(endOfChain);
    searchCredit = creditAtStart;
}

void MiniStore::trim()
{
    const std::uint32_t sectors = iSectorCount();
    const auto last = freeSectors.last();
    if (!last || last->sector + last->count != sectors)
        return;
    freeSectors.remove(last->sector, last->count);
    container->resize(std::uint64_t{last->sector} * miniSectorBytes);
    // Pages behind the last sector hold nothing.
    const std::uint32_t perPage = table.pageBytes() / 4;
    while (table.count() > 0 && std::uint64_t{table.count() - 1} * perPage >= last->sector)
        table.removeLast();
    searchedPages = std::min(searchedPages, table.count());
}

} // namespace kvdm
