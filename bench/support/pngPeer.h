// A PNG decoded with plain libpng, as its manual has it.
#pragma once

#include <cstdint>
#include <vector>

namespace kvdm::bench::png {

struct Pixels
{
    std::uint32_t width = 0;
    std::vector<std::uint32_t> argb; // the top row first
    bool operator==(const Pixels&) const = default;
};

// Throws when it does not decode.
Pixels decode(const std::vector<std::uint8_t>& file);

} // namespace kvdm::bench::png
