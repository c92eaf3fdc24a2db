// The bytes of one stream, wherever they lie: in the mini stream, in sectors of their own, or still in memory.
#pragma once

#include "platform/compoundfile/sectorChain.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kvdm {

class MiniStore;

// What a stream's bytes live in: the open file with its tables. Outlives the contents.
struct ContentHome
{
    BlockFile& file;
    AllocationTable& table;
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

private:
    bool iIsSmall() const noexcept { return alwaysInSectors ? false : byteCount < miniCutoff; }
    HRESULT iLoadSmall();
    Transfer iReadSectors(std::uint64_t position, std::uint8_t* out, std::size_t count);

    ContentHome home;
    std::uint64_t byteCount;
    std::uint32_t miniStart; // of a small stream of the committed state
    bool alwaysInSectors;
    bool isLoaded = false;
    HRESULT loadStatus = S_OK;
    std::vector<std::uint8_t> small;
    SectorChain chain;
};

} // namespace kvdm
