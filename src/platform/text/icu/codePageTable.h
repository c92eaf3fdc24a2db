// One single- or double-byte code page as two tables, bytes to units and units to bytes, as Windows has them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kvdm {

// Built once for each page at first need and never changed or freed, so that any thread may read it without a lock.
class CodePageTable
{
public:
    // Null when the page is unknown or is no single- or double-byte page.
    static const CodePageTable* of(unsigned codePage);

    std::u16string decode(std::string_view bytes) const;
    std::string encode(std::u16string_view text) const;

private:
    struct Source; // a code page as the tables of the library give it

    CodePageTable() = default;
    static std::unique_ptr<CodePageTable> iBuild(const Source& source);
    bool iLoad(const char* converterName);
    void iCorrect(unsigned codePage);
    void iAddBestFit(unsigned codePage);
    void iMap(std::uint16_t code, char16_t unit); // both ways
    void iDecodeTo(std::uint16_t code, char16_t unit);
    void iEncodeTo(char16_t unit, std::uint16_t code);
    void iEncodeMissing(char16_t unit, std::uint16_t code); // only where the page has nothing for the unit
    bool iHas(char16_t unit) const noexcept;

    using Trails = std::array<char16_t, 256>;
    using Codes = std::array<std::uint16_t, 256>; // 0: none, save for U+0000 itself

    bool asciiBelow128 = true; // false for EBCDIC and symbols
    char16_t unmapped = u'?';  // what bytes without a meaning decode to
    std::uint8_t defaultByte = '?';
    std::array<char16_t, 256> single{};
    std::array<std::unique_ptr<Trails>, 256> doubles; // by lead byte; null for a byte that stands alone
    std::array<std::unique_ptr<Codes>, 256> codes;    // by high byte of the unit; above 0xFF lead byte first
};

} // namespace kvdm
