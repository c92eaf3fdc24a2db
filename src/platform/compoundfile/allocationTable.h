// The allocation table of the committed state: which sector follows which. Read when walked, one table sector at a time.
#pragma once

#include "platform/compoundfile/blockFile.h"
#include "platform/compoundfile/format.h"
#include "platform/compoundfile/sectorSet.h"

#include <memory>
#include <vector>

namespace kvdm {

class AllocationTable
{
public:
    explicit AllocationTable(BlockFile& blockFile) : file(blockFile) {}

    // Takes up the state that a header tells; nothing is read yet.
    void start(const CompoundHeader& header);
    // The state after a commit, whose places are known.
    void adopt(const CompoundHeader& header, std::vector<std::uint32_t> places, std::vector<std::uint32_t> difat) noexcept;

    std::uint32_t sectorBytes() const noexcept { return bytesPerSector; }
    std::uint32_t linksPerSector() const noexcept { return bytesPerSector / 4; }
    std::uint64_t offsetOf(std::uint32_t sector) const noexcept { return (std::uint64_t{sector} + 1) * bytesPerSector; }
    // Sectors that the file has bytes for; the last one may be cut short.
    std::uint32_t sectorCount() const noexcept;
    std::uint32_t lockSector() const noexcept { return static_cast<std::uint32_t>(lockRegionOffset / bytesPerSector - 1); }

    // What the table holds for a sector: the next one or a mark. Throws STG_E_DOCFILECORRUPT when the table does not reach it.
    std::uint32_t next(std::uint32_t sector);
    // The links of one table sector, little-endian, good until the next read of the file.
    const std::uint8_t* links(std::uint32_t tableSector);

    // Where the table and its index lie. All of the index is read for these.
    std::uint32_t tableSectors();
    std::uint32_t placeOf(std::uint32_t tableSector) { return iPlace(tableSector); }
    const std::vector<std::uint32_t>& allPlaces();
    const std::vector<std::uint32_t>& difatPlaces();

private:
    std::uint32_t iPlace(std::uint32_t tableSector);
    bool iReadDifat(); // one more sector of the index; false at its end

    BlockFile& file;
    std::uint32_t bytesPerSector = 512;
    std::vector<std::uint32_t> places; // of table sectors, as far as they are known
    std::vector<std::uint32_t> difat;  // sectors of the index that were read
    SectorRun difatRun{};              // the neighbours that were met last; they are not yet in difatSeen
    SectorSet difatSeen;
    std::unique_ptr<std::uint8_t[]> ahead; // sectors of the index that were read
    std::uint32_t aheadFrom = 0, aheadCount = 0;
    std::uint32_t nextDifat = endOfChain;
    std::uint32_t difatTold = 0; // how many there are if the header is right
};

} // namespace kvdm
