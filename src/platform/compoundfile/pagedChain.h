// A chain that is used sector by sector as a table: the directory, the mini allocation table. Pages that were touched stay in
// memory; changed ones wait there for the commit, which gives them new sectors.
#pragma once

#include "platform/compoundfile/sectorChain.h"

#include <memory>
#include <optional>
#include <vector>

namespace kvdm {

class SectorAllocator;

class PagedChain
{
public:
    PagedChain(BlockFile& blockFile, AllocationTable& allocation) : file(blockFile), table(allocation), chain(allocation) {}

    // Takes up a committed state; everything in memory is dropped.
    void start(std::uint32_t startSector);

    std::uint32_t pageBytes() const noexcept { return table.sectorBytes(); }
    // Pages that there are, added ones included. Walks the chain.
    std::uint32_t count();
    // Null when the table ends before the page; throws STG_E_DOCFILECORRUPT when it cannot be read.
    const std::uint8_t* page(std::uint32_t index);

    // ---- for writing ----
    std::uint8_t* edit(std::uint32_t index); // the page must be there
    std::uint32_t append(std::uint8_t fill);
    void removeLast();
    void touchAll(); // every page counts as changed

    bool isChanged() const noexcept { return changed; }
    // Gives every changed page a fresh sector, where it has none yet. Sectors that were replaced are handed to `dropped`.
    void place(SectorAllocator& allocator, std::vector<SectorChain::Run>& dropped);
    SectorChain& sectors() noexcept { return chain; }
    // What is to be written where, once every page has its sector.
    struct Piece
    {
        std::uint32_t sector;
        const std::uint8_t* bytes;
    };
    void changedPages(std::vector<Piece>& pieces);
    // Everything is in the committed state now.
    void settle() noexcept;

private:
    struct Page
    {
        std::unique_ptr<std::uint8_t[]> bytes;
        bool isChanged = false;
    };

    void iMoveDown(SectorAllocator& allocator);

    BlockFile& file;
    AllocationTable& table;
    SectorChain chain;
    std::vector<Page> pages;            // by index; empty where never touched
    std::optional<std::uint32_t> total; // pages, once it was asked
    bool changed = false;
};

} // namespace kvdm
