#include "platform/compoundfile/pagedChain.h"

#include "common/exceptions.h"
#include "platform/compoundfile/sectorAllocator.h"

#include <algorithm>
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

void PagedChain::touchAll()
{
    for (std::uint32_t i = 0; i < count(); ++i)
        edit(i);
}

void PagedChain::removeLast()
{
    const std::uint32_t left = count() - 1;
    if (pages.size() > left)
        pages.resize(left);
    total = left;
    changed = true;
}

// Pages at the far end of the file that did not change otherwise, a few with each commit.
void PagedChain::iMoveDown(SectorAllocator& allocator)
{
    unsigned left = 8;
    const std::uint32_t from = allocator.moveDownFrom();
    for (std::uint32_t i = 0; i < std::max<std::size_t>(pages.size(), left) && left != 0; ++i) {
        if (total && i >= *total)
            return;
        if (i < pages.size() && pages[i].isChanged)
            continue;
        try {
            const SectorChain::Run there = chain.at(i);
            if (there.count == 0)
                return;
            if (there.sector >= from && edit(i))
                --left;
        } catch (const suOleException&) {
            return; // a damaged table stays where it is
        }
    }
}

void PagedChain::place(SectorAllocator& allocator, std::vector<SectorChain::Run>& dropped)
{
    iMoveDown(allocator);
    if (!changed)
        return;
    for (std::uint32_t i = 0; i < pages.size(); ++i) {
        if (!pages[i].isChanged)
            continue;
        const SectorChain::Run there = chain.at(i);
        if (there.count != 0 && there.fresh)
            continue;
        const SectorRun fresh = allocator.take(1);
        try {
            chain.put(i, fresh, dropped);
        } catch (...) {
            allocator.giveBack(fresh, allocator.epoch());
            throw;
        }
    }
    if (total && chain.length() > *total)
        chain.truncate(*total, dropped);
}

void PagedChain::changedPages(std::vector<Piece>& pieces)
{
    for (std::uint32_t i = 0; i < pages.size(); ++i) {
        if (pages[i].isChanged)
            pieces.push_back({chain.at(i).sector, pages[i].bytes.get()});
    }
}

void PagedChain::settle() noexcept
{
    for (Page& page : pages)
        page.isChanged = false;
    chain.settle();
    changed = false;
}

} // namespace kvdm
