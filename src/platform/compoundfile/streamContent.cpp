#include "platform/compoundfile/streamContent.h"

#include "common/exceptions.h"
#include "platform/compoundfile/miniStore.h"
#include "platform/compoundfile/sectorAllocator.h"

#include <algorithm>
#include <cstring>

namespace kvdm {

StreamContent::StreamContent(const ContentHome& contentHome, std::uint32_t startSector, std::uint64_t bytes, Form form)
    : home(contentHome), epoch(contentHome.allocator.epoch()), byteCount(bytes), miniStart(startSector), alwaysInSectors(form == Form::inSectors),
      inSectors(alwaysInSectors || bytes >= miniCutoff), chain(contentHome.table, inSectors && bytes != 0 ? startSector : endOfChain)
{}

StreamContent::~StreamContent() = default;

HRESULT StreamContent::iLoadSmall()
{
    if (!isLoaded) {
        std::vector<std::uint8_t> bytes;
        loadStatus = home.mini.load(miniStart, static_cast<std::uint32_t>(byteCount), bytes);
        small = std::move(bytes);
        isLoaded = true;
    }
    return loadStatus;
}

StreamContent::Transfer StreamContent::read(std::uint64_t position, void* buffer, std::size_t count)
{
    if (position >= byteCount || count == 0)
        return {};
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, byteCount - position));
    if (!gathered.empty() && position < gatheredAt + gathered.size() && position + count > gatheredAt) {
        try {
            flush();
        } catch (const suOleException& failure) {
            return {0, failure.status};
        }
    }
    if (inSectors)
        return iReadSectors(position, static_cast<std::uint8_t*>(buffer), count);
    const HRESULT status = iLoadSmall();
    const std::size_t there = position < small.size() ? std::min<std::size_t>(count, small.size() - position) : 0;
    if (there != 0)
        std::memcpy(buffer, small.data() + position, there);
    return {there, there < count ? status : S_OK};
}

StreamContent::Transfer StreamContent::iReadSectors(std::uint64_t position, std::uint8_t* out, std::size_t count)
{
    const std::uint32_t sectorBytes = home.table.sectorBytes();
    Transfer done;
    try {
        while (done.count < count) {
            const std::uint64_t at = position + done.count;
            const std::uint64_t index = at / sectorBytes;
            const std::uint64_t behind = at % sectorBytes;
            if (index > largestSector)
                throw suOleException(STG_E_DOCFILECORRUPT);
            // A good piece of the chain at once, but nothing behind the stream's end.
            const std::uint64_t wanted = (behind + (count - done.count) + sectorBytes - 1) / sectorBytes;
            const std::uint64_t left = (byteCount + sectorBytes - 1) / sectorBytes - index;
            const auto ahead = static_cast<std::uint32_t>(std::min<std::uint64_t>(std::max<std::uint64_t>(wanted, 256), left));
            const SectorChain::Run run = chain.at(static_cast<std::uint32_t>(index), ahead);
            if (run.count == 0)
                throw suOleException(STG_E_DOCFILECORRUPT);
            const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(count - done.count, std::uint64_t{run.count} * sectorBytes - behind));
            const std::size_t got = home.file.read(home.table.offsetOf(run.sector) + behind, out + done.count, piece);
            done.count += got;
            if (got < piece)
                throw suOleException(STG_E_DOCFILECORRUPT); // the file ends inside the stream
        }
    } catch (const suOleException& failure) {
        done.status = failure.status;
    }
    return done;
}

} // namespace kvdm
