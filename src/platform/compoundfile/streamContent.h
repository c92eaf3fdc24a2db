// The bytes of one stream, wherever they lie: in the mini stream, in sectors of their own, or still in memory.
#pragma once

#include "platform/compoundfile/sectorChain.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kvdm {

class MiniStore;
class SectorAllocator;

// What a stream's bytes live in: the open file with its tables. Outlives the contents.
struct ContentHome
{
    BlockFile& file;
    AllocationTable& table;
    SectorAllocator& allocator;
    MiniStore& mini;
};

// Small streams are read whole at first need and stay in memory while they are open. Large ones are read by position. Changes
// never touch a sector of the committed state: changed sectors are written to fresh ones as the changes come (small pieces
// are gathered first), small streams wait in memory for the commit. Two contents never write one sector.
class StreamContent
{
public:
    struct Transfer
    {
        std::size_t count = 0;
        HRESULT status = S_OK; // why it is fewer than asked, when that is not the end of the stream
    };
    enum class Form
    {
        bySize,   // small below the cutoff
        inSectors // the mini stream itself
    };

    StreamContent(const ContentHome& contentHome, std::uint32_t startSector, std::uint64_t bytes, Form form = Form::bySize);
    ~StreamContent();
    StreamContent(const StreamContent&) = delete;
    StreamContent& operator=(const StreamContent&) = delete;

    std::uint64_t size() const noexcept { return byteCount; }
    Transfer read(std::uint64_t position, void* buffer, std::size_t count);

    // ---- writing (streamContentWrite.cpp); these throw ----
    // A gap between the end and the position becomes zeros.
    void write(std::uint64_t position, const void* buffer, std::size_t count);
    // Bytes that are added are zeros.
    void resize(std::uint64_t bytes);
    // Everything gathered goes to its sectors.
    void flush();
    // Writes all of a large stream to fresh sectors.
    void rewrite();
    // Moves up to so many of the sectors that are known and keep the file long (SectorAllocator::moveDownFrom).
    void moveDown(unsigned most);
    bool isChanged() const noexcept { return changed; }
    bool isSmall() const noexcept { return !inSectors; }
    // The bytes of a small stream; throws when they cannot be read.
    const std::vector<std::uint8_t>& smallBytes();
    SectorChain& sectors() noexcept { return chain; }
    // Sectors of the state below (the committed one, or the content that this one was forked from) that are not used any more.
    std::vector<SectorChain::Run>& droppedSectors() noexcept { return dropped; }
    // The stream is no more: its fresh sectors are given back, all others are dropped.
    void discard();
    // Everything is part of the committed state now.
    void settle(std::uint32_t startOfSmall) noexcept;

    // A content with the same bytes for a transaction over this one. While it is in use, this one does not change.
    std::shared_ptr<StreamContent> fork();
    // Takes over what was done to a fork, which goes on as a fork of the result.
    void absorb(StreamContent& changedFork);

private:
    static constexpr std::size_t gatherBytes = 1 << 18;

    HRESULT iLoadSmall();
    Transfer iReadSectors(std::uint64_t position, std::uint8_t* out, std::size_t count);
    void iMoveToSectors();
    void iWriteSectors(std::uint64_t position, const std::uint8_t* bytes, std::size_t count);
    void iWriteInsideSector(std::uint64_t position, const std::uint8_t* bytes, std::size_t count);
    void iPut(std::uint32_t index, SectorRun fresh);
    void iCut(std::uint32_t sectors);
    void iSortDropped();

    ContentHome home;
    unsigned epoch; // of the allocator
    std::uint64_t byteCount;
    std::uint32_t miniStart; // of a small stream of the committed state
    bool alwaysInSectors;
    bool inSectors;
    bool isLoaded = false;
    bool changed = false;
    HRESULT loadStatus = S_OK;
    std::vector<std::uint8_t> small;
    std::vector<std::uint8_t> gathered; // written but not yet in sectors
    std::uint64_t gatheredAt = 0;
    SectorChain chain;
    std::vector<SectorChain::Run> dropped;
};

} // namespace kvdm
