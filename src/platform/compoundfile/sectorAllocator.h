// Gives out sectors to write to.
#pragma once

#include "platform/compoundfile/allocationTable.h"
#include "platform/compoundfile/sectorSet.h"
#include "platform/compoundfile/shareLocks.h"

#include <set>
#include <vector>

namespace kvdm {

// Which sectors may be written, so that nothing committed is ever lost and no reader loses the state that it opened:
//
//   used      the committed state has them. Never written.
//   fresh     given out since the last commit. No committed state has them; their owner may write them again.
//   reusable  free in the committed state, and no reader of an older state can have them.
//   waiting   free in the committed state, but a reader may still look at an older one that has them.
//
// A reader registers before it reads the header (ShareLocks) and keeps to the state that it found there. So when a look at
// the registered readers finds nobody, every reader to come starts at the current state or a later one, and all that is free
// in the current state becomes reusable. While somebody is there, sectors that a commit sets free wait and the file grows.
//
// The table is not searched as a whole. A save looks where former saves have left room: at table sectors that do not lie in one
// row with their neighbours, since whoever sets something free writes that table sector anew; at the last ones, where the file
// grows; at those that it changes anyway; and at as many others as it writes data, from a place that differs from commit to
// commit. So in the long run all free room is found, and each save costs what it changes. Low room is taken first: the less
// far the changed table sectors reach, the less of the index is written.
class SectorAllocator
{
public:
    SectorAllocator(BlockFile& blockFile, AllocationTable& allocation, ShareLocks& shareLocks) : file(blockFile), table(allocation), locks(shareLocks)
    {}

    // Takes up a committed state. `growOnly`: the file is never written, what is given out lies behind it.
    void start(std::uint32_t signature, bool narrow, bool growOnly) noexcept;

    // The tables contradict each other: what they call free may be in use, so nothing but new sectors is given out.
    void distrustTables() noexcept { distrusted = true; }

    // One run of up to so many sectors. Throws STG_E_DOCFILETOOLARGE when the format has no more numbers.
    SectorRun take(std::uint32_t count);
    // The same for the tables: at best in a part of the file whose table sector changes anyway, the lowest of those up to the
    // table sector `border`, or the highest of those behind it, so that the room before it is left to what changes often.
    SectorRun takeNear(const std::set<std::uint32_t>& tableSectors, std::uint32_t border, bool behind, std::uint32_t count);
    // Throws STG_E_DOCFILETOOLARGE when a file of this version can never have so many sectors.
    void expect(std::uint64_t sectors);
    // While there is much room lower down: what lies from this sector on, if it is cheap to move, keeps the file from becoming
    // shorter.
    std::uint32_t moveDownFrom();
    // Fresh sectors that are not needed after all. Those of a transaction that was reverted meanwhile are passed over.
    void giveBack(SectorRun fresh, unsigned ofEpoch);
    unsigned epoch() const noexcept { return currentEpoch; }

    // The sectors that the file has when everything fresh counts.
    std::uint32_t end();

    // A commit after which `published` are part of the committed state and `freed` no longer: the first reserves what is
    // needed for that, the second makes it so. When it is not safe on the medium, what it set free waits for the next one.
    void prepareCommit(const SectorSet& published, const SectorSet& freed, std::uint32_t tableSectors);
    // The same for a state that has nothing in common with the one before it: all that was used is set free.
    void prepareReplacement(const SectorSet& published, std::uint32_t tableSectors);
    // True when there is room below a sector.
    bool hasRoomBelow(std::uint32_t sector);
    void adoptCommit(std::uint32_t signature, std::uint32_t tableSectors, bool isSafe) noexcept;
    // Everything fresh is free again.
    void revert();
    // Cuts off free sectors at the end of the file, when nobody can need them.
    void trim();
    // Takes back what the file has grown by since the last commit.
    void dropGrowth() noexcept;

private:
    void iStart();
    void iLookForReaders();
    bool iSearchMore();
    void iSearch(std::uint32_t tableSector);
    void iFindLikely();
    SectorRun iTakeReusable(SectorRun run, std::uint32_t count);
    std::optional<SectorRun> iRoomIn(std::uint32_t tableSector);
    SectorRun iGrow(std::uint32_t count);

    BlockFile& file;
    AllocationTable& table;
    ShareLocks& locks;
    SectorSet fresh, reusable, waiting;
    SectorSet nextFresh, nextWaiting; // of a commit under way
    std::uint32_t endSector = 0;
    std::uint64_t committedBytes = 0; // of the file, when the transaction began
    std::uint32_t seed = 0;
    bool isNarrow = true; // version 3: no sector behind 2 GiB
    bool onlyGrows = false;
    bool started = false;
    bool looked = false;     // for readers, since the last commit
    bool baseIsFree = false; // what was free at the start is reusable
    bool held = false;
    bool distrusted = false;
    bool nextDistrusted = false; // after the commit under way
    unsigned currentEpoch = 0;
    std::vector<bool> searched;        // table sectors
    std::vector<std::uint32_t> likely; // table sectors that probably tell of free room, the highest first
    std::uint32_t nextSearch = 0;
    std::uint64_t searchCredit = 0;
};

} // namespace kvdm
