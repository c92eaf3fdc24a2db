#include "platform/compoundfile/sectorSet.h"

#include <algorithm>
#include <iterator>

namespace kvdm {

void SectorSet::add(std::uint32_t first, std::uint32_t count)
{
    if (count == 0)
        return;
    std::uint32_t end = first + count;
    auto next = runs.upper_bound(first);
    if (next != runs.begin() && std::prev(next)->second >= first) { // grow the run before: no memory is needed
        auto run = std::prev(next);
        run->second = std::max(run->second, end);
        while (next != runs.end() && next->first <= run->second) {
            run->second = std::max(run->second, next->second);
            next = runs.erase(next);
        }
        return;
    }
    const auto run = runs.emplace_hint(next, first, end);
    while (next != runs.end() && next->first <= run->second) {
        run->second = std::max(run->second, next->second);
        next = runs.erase(next);
    }
}

void SectorSet::add(const SectorSet& other)
{
    for (const auto& [first, end] : other.runs)
        add(first, end - first);
}

void SectorSet::remove(std::uint32_t first, std::uint32_t count)
{
    const std::uint32_t end = first + count;
    auto run = runs.upper_bound(first);
    if (run != runs.begin())
        --run;
    while (run != runs.end() && run->first < end) {
        const std::uint32_t runFirst = run->first, runEnd = run->second;
        if (runEnd <= first) {
            ++run;
            continue;
        }
        if (runEnd > end)
            runs.emplace_hint(std::next(run), end, runEnd); // before anything is lost
        if (runFirst < first) {
            run->second = first;
            ++run;
        } else
            run = runs.erase(run);
        if (runEnd > end)
            break;
    }
}

void SectorSet::remove(const SectorSet& other)
{
    for (const auto& [first, end] : other.runs)
        remove(first, end - first);
}

bool SectorSet::contains(std::uint32_t sector) const noexcept
{
    const auto next = runs.upper_bound(sector);
    return next != runs.begin() && std::prev(next)->second > sector;
}

SectorRun SectorSet::stretch(std::uint32_t first, std::uint32_t count, bool& inside) const noexcept
{
    const auto next = runs.upper_bound(first);
    inside = next != runs.begin() && std::prev(next)->second > first;
    std::uint32_t end = first + count;
    if (inside)
        end = std::min(end, std::prev(next)->second);
    else if (next != runs.end())
        end = std::min(end, next->first);
    return {first, end - first};
}

std::optional<SectorRun> SectorSet::lowest(std::uint32_t least) const noexcept
{
    int looks = 400;
    for (const auto& [first, end] : runs) {
        if (end - first >= least)
            return SectorRun{first, end - first};
        if (--looks == 0)
            break;
    }
    return std::nullopt;
}

std::optional<SectorRun> SectorSet::lowestBetween(std::uint32_t first, std::uint32_t end) const noexcept
{
    auto run = runs.upper_bound(first);
    if (run != runs.begin() && std::prev(run)->second > first)
        --run;
    if (run == runs.end() || run->first >= end)
        return std::nullopt;
    const std::uint32_t from = std::max(first, run->first);
    return SectorRun{from, std::min(end, run->second) - from};
}

std::optional<SectorRun> SectorSet::last() const noexcept
{
    if (runs.empty())
        return std::nullopt;
    const auto& [first, end] = *runs.rbegin();
    return SectorRun{first, end - first};
}

} // namespace kvdm
