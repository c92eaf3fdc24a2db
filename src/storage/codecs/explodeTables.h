// The codes of imploded data as look-up tables, made at compile time from their published run-length form.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kvdm {

// Code lengths in symbol order: the low four bits are a length, the high four the number of further symbols that share it.
constexpr std::array<std::uint8_t, 98> literalCodeRuns = {
    11, 124, 8,  7, 28, 7,  188, 13, 76, 4, 10, 8,  12, 10, 12, 10,  8,   23,  8,   9,   7,   6,  7,  8,  7,  6,  55, 8,  23, 24, 12, 11, 7,
    9,  11,  12, 6, 7,  22, 5,   7,  24, 6, 11, 9,  6,  7,  22, 7,   11,  38,  7,   9,   8,   25, 11, 8,  11, 9,  12, 8,  12, 5,  38, 5,  38,
    5,  11,  7,  5, 6,  21, 6,   10, 53, 8, 7,  24, 10, 27, 44, 253, 253, 253, 252, 252, 252, 13, 12, 45, 12, 45, 12, 61, 12, 45, 44, 173};
constexpr std::array<std::uint8_t, 6> lengthCodeRuns = {2, 35, 36, 53, 38, 23};
constexpr std::array<std::uint8_t, 7> distanceCodeRuns = {2, 20, 53, 230, 247, 151, 248};

// The smallest length of each length symbol, and how many bits follow to be added.
constexpr std::array<std::uint16_t, 16> lengthBase = {3, 2, 4, 5, 6, 7, 8, 9, 10, 12, 16, 24, 40, 72, 136, 264};
constexpr std::array<std::uint8_t, 16> lengthExtraBits = {0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8};

struct ExplodeCode
{
    std::uint8_t symbol = 0;
    std::uint8_t bits = 0;
};

// The codes are canonical and stored with all bits inverted, first bit lowest. Entry i tells the symbol whose code the low
// bits of i begin with; every entry is set, since the codes are complete (a static_assert in explode.cpp holds them to it).
template <unsigned Width, std::size_t Symbols, std::size_t Runs>
constexpr std::array<ExplodeCode, std::size_t{1} << Width> makeExplodeTable(const std::array<std::uint8_t, Runs>& runs)
{
    std::array<std::uint8_t, Symbols> lengths{};
    std::size_t symbols = 0;
    for (const std::uint8_t run : runs) {
        for (unsigned i = 0; i <= run >> 4U; ++i)
            lengths[symbols++] = run & 15U;
    }
    std::array<ExplodeCode, std::size_t{1} << Width> table{};
    std::uint32_t code = 0;
    for (unsigned bits = 1; bits <= Width; ++bits, code <<= 1U) {
        for (std::size_t symbol = 0; symbol < symbols; ++symbol) {
            if (lengths[symbol] != bits)
                continue;
            std::uint32_t stored = 0;
            for (unsigned bit = 0; bit < bits; ++bit)
                stored |= (~code >> (bits - 1 - bit) & 1U) << bit;
            for (std::size_t entry = stored; entry < table.size(); entry += std::size_t{1} << bits)
                table[entry] = {static_cast<std::uint8_t>(symbol), static_cast<std::uint8_t>(bits)};
            ++code;
        }
    }
    return table;
}

template <std::size_t Entries> constexpr bool isComplete(const std::array<ExplodeCode, Entries>& table)
{
    for (const ExplodeCode& entry : table) {
        if (entry.bits == 0)
            return false;
    }
    return true;
}

} // namespace kvdm
