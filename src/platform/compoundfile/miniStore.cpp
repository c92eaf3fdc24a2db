#include "platform/compoundfile/miniStore.h"

#include "common/exceptions.h"

#include <algorithm>

namespace kvdm {

MiniStore::MiniStore(const ContentHome& contentHome) : home(contentHome), table(contentHome.file, contentHome.table) {}

void MiniStore::start(std::uint32_t miniFatStart, std::uint32_t streamStart, std::uint64_t streamBytes)
{
    table.start(miniFatStart);
    container = std::make_unique<StreamContent>(home, streamStart, streamBytes, StreamContent::Form::inSectors);
}

std::uint32_t MiniStore::next(std::uint32_t sector)
{
    const std::uint32_t perPage = table.pageBytes() / 4;
    const std::uint8_t* page = table.page(sector / perPage);
    if (!page)
        throw suOleException(STG_E_DOCFILECORRUPT);
    return readLe32(page + 4 * (sector % perPage));
}

HRESULT MiniStore::load(std::uint32_t startSector, std::uint32_t bytes, std::vector<std::uint8_t>& out)
{
    out.clear();
    try {
        std::uint32_t sector = startSector;
        while (out.size() < bytes) {
            const std::uint32_t first = sector;
            std::uint32_t count = 0;
            const auto needed = static_cast<std::uint32_t>((bytes - out.size() + miniSectorBytes - 1) / miniSectorBytes);
            do { // neighbours are read together
                if (sector > largestSector)
                    throw suOleException(STG_E_DOCFILECORRUPT);
                ++count;
                if (count == needed)
                    break;
                sector = next(sector);
            } while (sector == first + count);
            const std::size_t had = out.size();
            const std::size_t piece = std::min<std::size_t>(bytes - had, std::size_t{count} * miniSectorBytes);
            out.resize(had + piece);
            const StreamContent::Transfer got = container->read(std::uint64_t{first} * miniSectorBytes, out.data() + had, piece);
            if (got.count < piece) {
                out.resize(had + got.count);
                return FAILED(got.status) ? got.status : STG_E_DOCFILECORRUPT;
            }
        }
    } catch (const suOleException& failure) {
        return failure.status;
    }
    return S_OK;
}

} // namespace kvdm
