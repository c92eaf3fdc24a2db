// The sectors of one chain in order, kept as runs of neighbours. A chain is walked no further than it is asked for.
#pragma once

#include "platform/compoundfile/allocationTable.h"
#include "platform/compoundfile/sectorSet.h"

#include <cstdint>
#include <vector>

namespace kvdm {

class SectorChain
{
public:
    // One run of the chain. Fresh sectors belong to no committed state: they may be overwritten where they are.
    struct Run
    {
        std::uint32_t index; // of its first sector in the chain
        std::uint32_t sector;
        std::uint32_t count;
        bool fresh;
    };

    explicit SectorChain(AllocationTable& allocation, std::uint32_t startSector = endOfChain) : table(&allocation), frontier(startSector) {}

    std::uint32_t start() const noexcept;
    // The neighbours from a place of the chain on, or a count of 0 when the chain ends before it. Throws
    // STG_E_DOCFILECORRUPT when the chain is broken before it. The chain is walked up to `ahead` sectors further, so that
    // the neighbours come out many.
    Run at(std::uint32_t index, std::uint32_t ahead = 1);
    // Walks to the end. A chain cannot have more sectors than the file, so one that runs in a circle is corrupt.
    std::uint32_t length();

    // ---- for writing ----
    // All of the chain, in order; walks to the end.
    const std::vector<Run>& runs();
    // As far as it was walked, and the sector that follows there (endOfChain at the end of the chain).
    const std::vector<Run>& knownRuns() const noexcept { return known; }
    std::uint32_t afterKnown();

    // Puts fresh sectors in the place of those from index on, or behind the end; the chain must reach index. What they
    // replace is handed to `dropped`.
    void put(std::uint32_t index, SectorRun fresh, std::vector<Run>& dropped);
    // Cuts the chain to so many sectors. A broken rest is left to nobody.
    void truncate(std::uint32_t sectors, std::vector<Run>& dropped);
    // All sectors are part of the committed state now, or belong to somebody else.
    void settle() noexcept;
    // Those of the set are fresh besides the ones that are already.
    void markFresh(const SectorSet& sectors);

private:
    void iWalk(std::uint64_t sectors);
    std::uint32_t iKnownCount() const noexcept { return known.empty() ? 0 : known.back().index + known.back().count; }
    std::size_t iRunOf(std::uint32_t index) const noexcept;
    static void iAppend(std::vector<Run>& list, std::uint32_t sector, std::uint32_t count, bool fresh);

    AllocationTable* table;
    std::vector<Run> known;
    std::uint32_t frontier;   // the sector behind the known ones
    bool frontierRead = true; // false: it must be asked of the table
};

} // namespace kvdm
