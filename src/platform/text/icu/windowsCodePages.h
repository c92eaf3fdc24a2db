// What Windows has in its code pages and the tables of the library have not.
#pragma once

#include <cstdint>
#include <span>

namespace kvdm {

// A number of Windows and the converter that comes nearest.
struct CodePageName
{
    unsigned number;
    const char* converter;
};

// One byte or pair that decodes otherwise than the converter says.
struct CodePageCorrection
{
    unsigned number;
    std::uint16_t code;
    char16_t unit;
};

// Consecutive units from first and the bytes that Windows-1252 puts for what resembles them; '\0' where it has nothing.
struct BestFitRun
{
    char16_t first;
    const char* bytes;
};

std::span<const CodePageName> tableCodePages() noexcept;    // single- and double-byte pages, in rising order
std::span<const CodePageName> statefulCodePages() noexcept; // pages that only a converter can follow, in rising order
std::span<const CodePageCorrection> codePageCorrections() noexcept;
std::span<const BestFitRun> westernBestFit() noexcept;

} // namespace kvdm
