// The allocation table of the state that a commit is about to make: the links that differ, and where the changed table sectors
// and their index go.
#pragma once

#include "platform/compoundfile/pagedChain.h"
#include "platform/compoundfile/sectorAllocator.h"

#include <map>
#include <set>
#include <vector>

namespace kvdm {

// Lives for one commit. Until finish() nothing but sectors is taken; when the commit does not come about the destructor gives
// those back.
class TableUpdate
{
public:
    // `anew`: the state has nothing in common with the one before it.
    TableUpdate(AllocationTable& allocation, SectorAllocator& sectorAllocator, bool anew);
    ~TableUpdate();
    TableUpdate(const TableUpdate&) = delete;
    TableUpdate& operator=(const TableUpdate&) = delete;

    // The links of a chain whose fresh sectors become part of the state.
    void link(SectorChain& chain);
    void free(const SectorRun& run);

    // Gives every changed table sector a fresh place and writes what the header tells of them into it. Places of table sectors
    // change the table again: this goes on until all of it has a place.
    void finish(CompoundHeader& header);

    // After finish(): table sectors and index sectors to be written. The bytes live as long as this.
    void pieces(std::vector<PagedChain::Piece>& out) const;
    const SectorSet& publishedSectors() const noexcept { return published; }
    const SectorSet& freedSectors() const noexcept { return freed; }
    // False when a sector that this commit gives away or sets free serves the table or its index as well: only in a damaged
    // file. `others` are those that the rest of the state uses or does not use any more.
    bool isDisjointFrom(std::vector<SectorRun> others) const;
    std::vector<std::uint32_t> takePlaces() noexcept { return std::move(places); }
    std::vector<std::uint32_t> takeDifat() noexcept { return std::move(difat); }
    // The commit came about.
    void keep() noexcept { taken.clear(); }

private:
    using Page = std::vector<std::uint8_t>;

    std::uint32_t iGet(std::uint32_t sector);
    void iSet(std::uint32_t sector, std::uint32_t value);
    Page& iEdit(std::uint32_t tableSector);
    SectorRun iTake(std::uint32_t mark, std::uint32_t ofPage, std::uint32_t count);
    void iFreeTable(std::uint32_t sector);
    std::uint32_t iIndexUpTo(std::uint32_t tableSector) const noexcept;
    bool iCover();
    bool iPlacePage();
    void iMoveDown();
    bool iPlaceDifat();
    void iMakeDifat();

    AllocationTable& table;
    SectorAllocator& allocator;
    std::uint32_t perSector;
    bool startsAnew;
    std::map<std::uint32_t, Page> edited;
    std::set<std::uint32_t> editedNumbers;
    std::set<std::uint32_t> unplaced; // of the edited ones
    std::set<std::uint32_t> moving;   // of those, the ones that changed in nothing but their place
    std::vector<std::uint32_t> places, difat;
    std::uint32_t border = 0;       // the last table sector that costs no more index sectors than the new data does anyway
    std::uint32_t difatPlaced = 0;  // so many of the index sectors, from the first on, have fresh places
    std::uint32_t difatChanged = 0; // so many must have
    Page difatPages;                // those that have fresh places, in a row
    SectorSet published, freed;
    std::vector<SectorRun> replaced; // sectors of the table and the index that are free now
    std::vector<SectorRun> taken;
    unsigned epoch;
};

} // namespace kvdm
