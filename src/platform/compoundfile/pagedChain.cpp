#include "platform/compoundfile/pagedChain.h"

#include "common/exceptions.h"

#include <cstring>

namespace kvdm {

void PagedChain::start(std::uint32_t startSector)
{
    chain = SectorChain(table, startSector);
    pages.clear();
    total.reset();
    changed = false;
}

std::uint32_t PagedChain::count()
{
    if (!total)
        total = chain.length();
    return *total;
}

const std::uint8_t* PagedChain::page(std::uint32_t index)
{
    if (index < pages.size() && pages[index].bytes)
        return pages[index].bytes.get();
    if (total && index >= *total)
        return nullptr;
    const SectorChain::Run run = chain.at(index);
    if (run.count == 0)
        return nullptr;
    const std::uint32_t bytes = pageBytes();
    auto copy = std::make_unique<std::uint8_t[]>(bytes);
    std::memcpy(copy.get(), file.view(table.offsetOf(run.sector), bytes), bytes);
    if (index >= pages.size())
        pages.resize(index + 1);
    pages[index].bytes = std::move(copy);
    return pages[index].bytes.get();
}

std::uint8_t* PagedChain::edit(std::uint32_t index)
{
    if (!page(index))
        throw suOleException(STG_E_DOCFILECORRUPT);
    pages[index].isChanged = true;
    changed = true;
    return pages[index].bytes.get();
}

std::uint32_t PagedChain::append(std::uint8_t fill)
{
    const std::uint32_t index = count();
    auto bytes = std::make_unique<std::uint8_t[]>(pageBytes());
    std::memset(bytes.get(), fill, pageBytes());
    if (index >= pages.size())
        pages.resize(index + 1);
    pages[index] = {std::move(bytes), true};
    total = index + 1;
    changed = true;
    return index;
}

void PagedChain::removeLast()
{
    const std::uint32_t left = count() - 1;
    if (pages.size() > left)
        pages.resize(left);
    total = left;
    changed = true;
}

std::vector<std::uint32_t> PagedChain::changedPages() const
{
    std::vector<std::uint32_t> list;
    for (std::uint32_t i = 0; i < pages.size(); ++i) {
        if (pages[i].isChanged)
            list.push_back(i);
    }
    return list;
}

void PagedChain::settle() noexcept
{
    for (Page& page : pages)
        page.isChanged = false;
    chain.settle();
    changed = false;
}

} // namespace kvdm
