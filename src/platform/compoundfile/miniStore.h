// The mini stream and its allocation table: where streams below the cutoff lie, in pieces of 64 bytes.
#pragma once

#include "platform/compoundfile/pagedChain.h"
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

private:
    ContentHome home;
    PagedChain table;
    std::unique_ptr<StreamContent> container;
};

} // namespace kvdm
