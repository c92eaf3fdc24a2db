// A set of sectors, kept as runs of neighbours.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

namespace kvdm {

// A piece of a file: neighbouring sectors.
struct SectorRun
{
    std::uint32_t sector = 0;
    std::uint32_t count = 0;
};

class SectorSet
{
public:
    bool empty() const noexcept { return runs.empty(); }
    void clear() noexcept { runs.clear(); }
    void add(std::uint32_t first, std::uint32_t count);
    void add(const SectorSet& other);
    void remove(std::uint32_t first, std::uint32_t count);
    void remove(const SectorSet& other);
    bool contains(std::uint32_t sector) const noexcept;
    // The neighbours from `first` on that are in the set, or not in it, as many as `count` at most; the flag tells which.
    SectorRun stretch(std::uint32_t first, std::uint32_t count, bool& inside) const noexcept;

    // The lowest run of so many sectors at least; only the first few hundred runs are looked at.
    std::optional<SectorRun> lowest(std::uint32_t least) const noexcept;
    std::optional<SectorRun> lowestBetween(std::uint32_t first, std::uint32_t end) const noexcept;
    std::optional<SectorRun> last() const noexcept;

    // first, end
    const std::map<std::uint32_t, std::uint32_t>& all() const noexcept { return runs; }

private:
    std::map<std::uint32_t, std::uint32_t> runs;
};

} // namespace kvdm
