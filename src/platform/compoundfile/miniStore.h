// The mini stream and its allocation table: where streams below the cutoff lie, in pieces of 64 bytes.
#pragma once

#include "platform/compoundfile/pagedChain.h"
#include "platform/compoundfile/sectorSet.h"
#include "platform/compoundfile/streamContent.h"

namespace kvdm {

class MiniStore
{
public:
    explicit MiniStore(const ContentHome& contentHome);

    // Takes up a committed state: the table's first sector, and start and size of the mini stream as the root entry has them.
    void start(std::uint32_t miniFatStart, std::uint32_t streamStart, std::uint64_t streamBytes);

    // The bytes of a small stream, as far as they can be read; the status tells what is in the way of the others.
    HRESULT load(std::uint32_t startSector, std::uint32_t bytes, std::vector<std::uint8_t>& out);

    std::uint32_t next(std::uint32_t sector);
    // Marks the sectors of a small stream. False when one of them is marked already, is free by the table or behind the end.
    bool claim(std::uint32_t startSector, std::uint64_t bytes, std::vector<bool>& claimed);

    // ---- writing; both throw ----
    // Puts the bytes of a small stream down and gives its first sector. Free sectors are used before the mini stream grows;
    // they may be used at once, since what holds them is written to a fresh place anyway.
    std::uint32_t place(const std::vector<std::uint8_t>& bytes);
    // Gives back the sectors of a small stream, as far as its chain can be followed.
    void release(std::uint32_t startSector, std::uint64_t bytes);
    // Cuts free sectors off the end.
    void trim();

    bool isChanged() const noexcept { return table.isChanged() || (container && container->isChanged()); }
    // Everything is part of the committed state now.
    void settle() noexcept;

    PagedChain& allocation() noexcept { return table; }
    StreamContent& stream() noexcept { return *container; }

private:
    void iSearch(std::uint32_t sectorsWanted);
    std::uint32_t iSectorCount() const noexcept;
    void iDemandFree(std::uint32_t sector, std::uint32_t count);
    void iSetLink(std::uint32_t sector, std::uint32_t value);

    ContentHome home;
    PagedChain table;
    std::unique_ptr<StreamContent> container;
    SectorSet freeSectors; // those that were seen
    std::uint32_t searchedPages = 0;
    std::uint64_t searchCredit = 0;
};

} // namespace kvdm
